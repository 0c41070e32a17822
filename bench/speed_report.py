"""The tables of bench.py, for the terminal and for docs/performance.md, and what of it is wanted."""

import statistics

# job: (title, [(peer, title, wanted)]); `wanted` is the greatest ratio that is good enough, None when there is none.
JOBS = {
    "export": ("Export", [("floor export", "the floor", 1.3), ("tar create", "tar c, cp", 1.0)]),
    "export across": ("Export to another file system", [("tar create", "tar c, cp", 1.0)]),
    "import": ("Import", [("floor import", "the floor", 1.3), ("tar extract", "tar x", 1.0)]),
    "all": (
        "Export and import",
        [("cp", "cp -a", None), ("rsync", "rsync -a", None), ("unison", "unison -batch", None)],
    ),
    "unchanged export": (
        "Export, nothing changed",
        [("floor unchanged", "the floor", None), ("rsync again", "rsync -a", 0.5),
         ("unison again", "unison -batch", None)],
    ),
    "identical import": (
        "Import, all identical",
        [("floor identical", "the floor", None), ("rsync again", "rsync -a", 0.5),
         ("unison again", "unison -batch", None)],
    ),
}
PEAK_WANTED_MIB = 32


def flushes_itself(peer):
    return peer.startswith("floor")


def table(benches, markdown):
    """Rows of text: job, beside, then for each set the ratio as it is and with sync, and what is wanted."""
    head = ["Zelkor's time for", "divided by that of"]
    for bench in benches:
        head += [bench.set[2], "with sync"]
    head.append("wanted")
    rows = []
    for job, (title, peers) in JOBS.items():
        for peer, peer_title, wanted in peers:
            row = [title, peer_title]
            for bench in benches:
                plain, flushed = bench.ratios(job, peer)
                row += [f"{plain:.2f}", "" if flushes_itself(peer) else f"{flushed:.2f}"]
            row.append("" if wanted is None else f"≤ {wanted:.2f}")
            rows.append(row)
    return lay_out(head, rows, markdown)


def peak_table(benches, markdown):
    head = ["Peak memory, MiB", *[bench.set[2] for bench in benches], "wanted"]
    rows = []
    for name, title in (("export", "Zelkor, export"), ("import", "Zelkor, import"),
                        ("unchanged export", "Zelkor, export, nothing changed"),
                        ("identical import", "Zelkor, import, all identical"), ("tar create", "tar c, cp"),
                        ("tar extract", "tar x"), ("cp", "cp -a"), ("rsync", "rsync -a"), ("unison", "unison -batch")):
        row = [title, *[f"{bench.peak(name):.1f}" for bench in benches]]
        rows.append([*row, f"< {PEAK_WANTED_MIB}" if title.startswith("Zelkor") else ""])
    return lay_out(head, rows, markdown)


def lay_out(head, rows, markdown):
    if markdown:
        numbers = [any(row[i][:1].isdigit() for row in rows) for i in range(len(head))]
        rule = "|".join("---:" if is_number else "---" for is_number in numbers)
        lines = ["| " + " | ".join(head) + " |", f"|{rule}|"]
        return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])
    widths = [max(len(row[i]) for row in [head, *rows]) for i in range(len(head))]
    return "\n".join("  ".join(cell.ljust(width) if i < 2 else cell.rjust(width)
                               for i, (cell, width) in enumerate(zip(row, widths))) for row in [head, *rows])


def seconds_table(benches):
    """Absolute medians, for the terminal only: they mean nothing on another machine."""
    head = ["Median seconds", "", *[title for bench in benches for title in (bench.set[2], "with sync", "spread")]]
    rows = []
    for name in benches[0].seconds:
        row = [name, ""]
        for bench in benches:
            times = bench.seconds[name]
            row += [f"{statistics.median(times):.3f}", f"{statistics.median(bench.flushed[name]):.3f}",
                    f"{min(times):.3f}-{max(times):.3f}"]
        rows.append(row)
    return lay_out(head, rows, False)


def report(benches, rounds, places):
    place = "; ".join(f"{bench.set[2]} on {place}" for bench, place in zip(benches, places))
    if len(set(places)) == 1:
        place = places[0]
    return f"""# Performance

`make bench` measures Zelkor beside tar, cp, rsync and unison on the same files in the same run and writes the tables of
this page. Each ratio is Zelkor's median time divided by the other program's, of {rounds} interleaved rounds, each on
{place}; below 1 Zelkor is faster. Every file of the small sets is an item of its own.

- Zelkor brings what it finishes to the medium: the exported file before it takes its name, and everything imported
  before the import is recorded. The others leave that to the system, so they are measured as they are and, in the column
  beside that, with a `sync -f` of their destination at their end.
- The floor (bench/floor.c) makes the system calls of the same job on the same data with next to no work between them,
  and flushes as Zelkor does. Its export writes a temporary file and moves it to its destination, as Zelkor's does where
  both are on one file system. Between two, Zelkor copies; tar is given a cp either way.
- cp, rsync and unison copy from place to place, which is what export and import do together.
- An import deletes the sync file it has collected; with few large files and nothing to take, that is nearly all it does.
- A medium in memory takes a flush at the speed of memory; on a disk the flush is a larger part of everything that
  flushes, and `make bench MEDIUM=FOLDER` measures there.
- A virtual machine that gives free memory back to its host (Linux's page reporting) pays for memory that is new to it
  several times what a copy costs, and whoever writes at that moment is the one who waits: the same program takes twice
  its time, and a minute later does not. Measure where nothing is given back.

{table(benches, True)}

{peak_table(benches, True)}

## What is not met, and why

{chr(10).join("- " + line for line in missed(benches)) or "Everything is as fast and small as wanted."}

Peers count with their sync here. What a small file costs in calls to the system:

| | tar | Zelkor |
|---|---|---|
| Export | fstatat, open, fstat, read, fstat, close | open, statx, fgetxattr, read, statx, close on a second thread as far as it comes; \
one write to the log, one to standard output |
| Import | open, write, utimensat, fchown, fchmod, close | statx, 2 stats of the directory, write of the item, linkat, stat of \
the directory, close; one write to the log, one to standard output; and on a second thread as far as it comes: statx, open \
without a name, write, fsetxattr, utimensat; on a third the flush |

- An import makes each file whole before it takes its name, records its item in between, keeps its creation time and
  flushes each line of the log: tar does none of these, and the floor, which does them all, takes longer than tar too.
- With four large files that are all there, an import deletes the sync file of 2 GiB that it has collected, and letting go
  of so much takes the system longer than rsync takes to look at eight files.
"""


def missed(benches):
    """What is slower or larger than wanted, as lines."""
    lines = []
    for bench in benches:
        for job, (title, peers) in JOBS.items():
            for peer, peer_title, wanted in peers:
                if wanted is None:
                    continue
                # A peer counts as it would have to be to do the same job: with its sync.
                ratio = bench.ratios(job, peer)[0 if flushes_itself(peer) else 1]
                if ratio > wanted:
                    lines.append(f"{bench.set[2]}: {title} takes {ratio:.2f} times {peer_title}, wanted {wanted:.2f}")
        for name in ("export", "import", "unchanged export", "identical import"):
            if bench.peak(name) >= PEAK_WANTED_MIB:
                lines.append(f"{bench.set[2]}: {name} takes {bench.peak(name):.1f} MiB")
    return lines
