#!/usr/bin/env python3
"""Zelkor's speed beside tar, cp, rsync and unison on the same files in the same run.

    bench.py --build build/release [--report docs/performance.md] [--rounds 5] [--sets 4k,200,large] [--medium DIR]
    bench.py --build build/release --quick        a smoke test: tiny sets, one round, nothing mounted, no report

Two computers, office and laptop, share one machine: each has its own home directory, settings and program directory.
Office exports to a stick (a folder), laptop imports from it. In each round every contender works once on the same
files, in an order that turns from round to round, each into directories never used before: a file system that has just
seen thousands of files deleted makes new ones many times more slowly. As root, each round has a fresh ext4 in a loop
file, in memory when there is plenty, since many disks are fast for some seconds only. All changes are on the medium
before a stopwatch starts.

Zelkor flushes what it finishes (the sync file it exports; everything it imports) to the medium; the others do not. So
each of them is measured twice in one go: when it ends, and when a `sync -f` of its destination has ended after it.

What every contender leaves behind is compared with the original files in the first round.
"""

import argparse
import filecmp
import os
import pathlib
import platform
import random
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from running import Failed, program_form, run
from speed_report import missed, peak_table, report, seconds_table, table

SETS = {
    # name: (files, bytes each, title)
    "4k": (9000, 4096, "9,000 files of 4 KiB"),
    "200": (9000, 200, "9,000 files of 200 bytes"),
    "large": (4, 511 << 20, "4 files of 511 MiB"),
}
QUICK_SETS = {
    "4k": (120, 4096, "120 files of 4 KiB"),
    "200": (120, 200, "120 files of 200 bytes"),
    "large": (2, 3 << 20, "2 files of 3 MiB"),
}
FILES_PER_DIRECTORY = 100
FEW_FILES = 10
CHUNK = 1 << 20


class Medium:
    """A fresh place for each round: an ext4 of its own in a loop file, or else a new directory."""

    def __init__(self, folder, size, mounts, bytes_per_inode=4096):
        self.folder = folder
        self.size = size
        self.bytes_per_inode = bytes_per_inode
        self.mounts = mounts
        self.count = 0

    def __enter__(self):
        self.count += 1
        # Always of the same name, since the catalogues hold full paths.
        self.root = self.folder / "medium"
        self.root.mkdir()
        if self.mounts:
            self.image = self.folder / "image"
            with open(self.image, "wb") as image:
                image.truncate(self.size)
            run(["mkfs.ext4", "-q", "-F", "-m", "0", "-i", self.bytes_per_inode, "-E",
                 "lazy_itable_init=0,lazy_journal_init=0", self.image])
            run(["mount", "-o", "loop,noatime,discard", self.image, self.root])
        return self.root

    def __exit__(self, *_):
        if self.mounts:
            run(["umount", self.root])
            self.image.unlink()
            self.root.rmdir()
        else:
            # Not deleted before the end: mass deletions would disturb the rounds that follow.
            self.root.rename(self.folder / f"used-{self.count}")


def needed_bytes(chosen):
    """What a round of a set takes at its fullest: of few large files only some copies are there at once."""
    count, size, _ = chosen
    copies = 6 if count <= FEW_FILES else 13
    return (512 << 20) + count * 65536 + count * size * copies


def medium_parent(options, chosen):
    """Where the medium of a set goes, and that in words: in memory when there is plenty of it."""
    if options.medium is not None:
        return options.medium, f"in {options.medium}"
    memory = pathlib.Path("/dev/shm")
    if not options.quick and os.geteuid() == 0 and memory.is_dir():
        available = int(re.search(r"MemAvailable:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text())[1]) * 1024
        # Beside the loop file the system's cache of what is in it needs room.
        if needed_bytes(chosen) * 1.3 < available:
            return memory, "in memory"
    return None, "on disk"


def can_mount(folder):
    if os.geteuid() != 0:
        return False
    try:
        with Medium(folder, 64 << 20, True):
            pass
        return True
    except (Failed, OSError):
        (folder / "image").unlink(missing_ok=True)
        shutil.rmtree(folder / "medium", ignore_errors=True)
        return False


class Computer:
    """Home, settings and program directory of one of the two computers."""

    def __init__(self, root, name):
        self.root = root / name
        self.name = name
        self.home = self.root / "home"
        self.program = self.root / "program"

    def create(self, template=None):
        for part in ("home", "config", "program", "tmp"):
            (self.root / part).mkdir(parents=True)
        (self.root / "config" / "orlim.ini").write_text(f"[Orlim]\r\nuser={self.name}\r\n")
        if template is not None:
            for file in template.iterdir():
                shutil.copy(file, self.program)

    def environment(self):
        return dict(
            os.environ,
            HOME=str(self.home),
            XDG_CONFIG_HOME=str(self.root / "config"),
            ZELKOR_DIR=str(self.program),
            TMPDIR=str(self.root / "tmp"),
            LC_ALL="C",
            TZ="UTC",
        )


def names(count):
    for i in range(count):
        yield f"d{i // FILES_PER_DIRECTORY:03}/f{i:05}.dat"


def make_files(data, count, size, now):
    """`count` files of `size` bytes that no compression could shrink, changed in the past year, always the same."""
    source = random.Random(count * 1000003 + size)
    for i, name in enumerate(names(count)):
        path = data / name
        if i % FILES_PER_DIRECTORY == 0:
            path.parent.mkdir(parents=True)
        with open(path, "wb") as file:
            left = size
            while left > 0:
                piece = source.randbytes(min(left, CHUNK))
                file.write(piece)
                left -= len(piece)
        changed = now - 3600 - source.randrange(365 * 86400)
        os.utime(path, (changed, changed))


def make_templates(folder, seeder, count):
    """The two computers' catalogues: an item for each file of office, and each the other's target."""
    result = {}
    for name, other in (("office", "laptop"), ("laptop", "office")):
        computer = Computer(folder / "template", name)
        computer.create()
        lines = [f"target\t{other}"]
        if name == "office":
            for i, path in enumerate(names(count)):
                windows = path.replace("/", "\\")
                lines.append(f"item\tFile {i}\tAuto\tAll\t\tc:\\data\\{windows}")
        run([seeder], input="\n".join(lines).encode() + b"\n", env=computer.environment())
        result[name] = computer.program
    return result


class Round:
    """One round: every contender once."""

    def __init__(self, bench, root, number):
        self.bench = bench
        self.root = root
        self.number = number
        self.office = Computer(root, "office")
        self.laptop = Computer(root, "laptop")
        self.data = self.office.home / "data"
        self.stick = root / "stick"
        self.peers = root / "peers"
        self.report = bench.folder / "measured"

    def measure(self, name, command, env=None, destination=None):
        """Runs the command under the stopwatch, then brings everything it wrote to the medium under another."""
        with open(os.devnull, "wb") as nothing, open(self.bench.folder / "errors", "wb+") as errors:
            words = [str(word) for word in command]
            subprocess.run([self.bench.tool("measure"), self.report, *words], env=env, stdin=subprocess.DEVNULL,
                           stdout=nothing, stderr=errors, check=True)
            errors.seek(0)
            said = errors.read().decode(errors="replace")
        seconds, peak, status = self.report.read_text().split()
        if int(status) != 0:
            for log in self.root.glob("*/program/ZELKOR.log"):
                said += log.read_text(errors="replace")[-1000:]
            raise Failed(f"{name}: {words[:6]} ended with status {status}\n{said}")
        started = time.monotonic()
        run(["sync", "-f", destination or self.root])
        flushed = float(seconds) + time.monotonic() - started
        self.bench.record(name, float(seconds), flushed, int(peak))

    def turned(self, jobs):
        by = self.number % len(jobs)
        for job in jobs[by:] + jobs[:by]:
            job()

    def work(self):
        count, size, _ = self.bench.set
        for computer in (self.office, self.laptop):
            computer.create(self.bench.templates[computer.name])
        self.stick.mkdir()
        self.peers.mkdir()
        make_files(self.data, count, size, self.bench.now)
        run(["sync", "-f", self.root])

        self.turned([self.zelkor_export, self.floor_export, self.tar_create])
        self.turned([self.zelkor_import, self.floor_import, self.tar_extract])
        self.drop(self.peers / "stick")
        self.turned([self.cp, self.rsync, self.unison])
        self.turned([self.zelkor_unchanged, self.floor_unchanged, self.rsync_again, self.unison_again])
        self.drop(self.peers / "rsync", self.peers / "unison")
        self.export_again()
        self.turned([self.zelkor_identical, self.floor_identical])

    def drop(self, *paths):
        """Removes what is done with when it is large, so that the medium need not hold it all; never many files."""
        if self.bench.set[0] > FEW_FILES:
            return
        for path in paths:
            if path.is_dir():
                shutil.rmtree(path)
            else:
                path.unlink()
        run(["sync", "-f", self.root])
        if self.bench.mounts:
            run(["fstrim", self.root])

    def compare(self, name, copied):
        if self.number != 0:
            return
        expected = sorted(names(self.bench.set[0]))
        present = sorted(str(path.relative_to(copied)) for path in copied.rglob("*") if path.is_file())
        if present != expected:
            raise Failed(f"{name}: {len(present)} files instead of {len(expected)}")
        for path in expected:
            if not filecmp.cmp(self.data / path, copied / path, shallow=False):
                raise Failed(f"{name}: {path} differs")
            if int((self.data / path).stat().st_mtime) != int((copied / path).stat().st_mtime):
                raise Failed(f"{name}: {path} has another time")

    # Zelkor

    def zelkor(self, name, computer, switch, other):
        self.measure(name, [self.bench.zelkor, self.bench.word(switch, other, self.stick)], computer.environment())

    def zelkor_export(self):
        self.zelkor("export", self.office, "/syncexp", "laptop")
        if self.number == 0 and not (self.stick / "laptop.cas").exists():
            raise Failed("export left no file")

    def zelkor_import(self):
        self.zelkor("import", self.laptop, "/syncimp", "office")
        self.compare("import", self.laptop.home / "data")
        if (self.stick / "laptop.cas").exists():
            raise Failed("import left a collected file")

    def zelkor_unchanged(self):
        self.zelkor("unchanged export", self.office, "/syncexp", "laptop")
        (self.stick / "laptop.cas").unlink()

    def export_again(self):
        """The whole export once more, as if office had never exported, with its temporary file on another file system
        than the stick, so that it is copied there."""
        shutil.copy(self.bench.templates["office"] / "zelkor.cfg", self.office.program)
        temporary = self.bench.folder / "tmp"
        temporary.mkdir(exist_ok=True)
        run(["sync", "-f", self.root])
        self.measure("export across", [self.bench.zelkor, self.bench.word("/syncexp", "laptop", self.stick)],
                     dict(self.office.environment(), TMPDIR=str(temporary)))
        shutil.copy(self.stick / "laptop.cas", self.peers / "again.cas")
        run(["sync", "-f", self.root])

    def zelkor_identical(self):
        self.zelkor("identical import", self.laptop, "/syncimp", "office")

    # The floor

    def floor(self, name, job, *words):
        self.measure(name, [self.bench.tool("floor"), job, *words], dict(os.environ, TZ="UTC"))

    def floor_export(self):
        temporary = self.peers / "floor-sync"
        self.floor("floor export", "export", self.bench.templates["office"] / "zelkor.ind", self.office.home, temporary,
                   self.peers / "floor.cas", self.peers / "floor.log", 0)

    def floor_import(self):
        home = self.peers / "floor"
        (home / "data").mkdir(parents=True)
        self.floor("floor import", "import", self.peers / "floor.cas", home, home / "zelkor.ind",
                   self.peers / "floor.log", self.bench.naming)
        self.compare("floor import", home / "data")
        self.drop(home)

    def floor_unchanged(self):
        self.floor("floor unchanged", "export", self.bench.templates["office"] / "zelkor.ind", self.office.home,
                   self.peers / "floor-sync", self.peers / "floor.cas", self.peers / "floor.log", self.bench.now)

    def floor_identical(self):
        self.floor("floor identical", "import", self.peers / "again.cas", self.laptop.home,
                   self.peers / "identical.ind", self.peers / "floor.log", self.bench.naming)

    # Peers

    def tar_create(self):
        (self.peers / "stick").mkdir()
        archive = self.peers / "archive.tar"
        self.measure("tar create", ["sh", "-c", 'tar -cf "$1" -C "$2" data && cp "$1" "$3"', "sh", archive,
                                    self.office.home, self.peers / "stick" / "archive.tar"])
        archive.unlink()

    def tar_extract(self):
        (self.peers / "tar").mkdir()
        self.measure("tar extract", ["tar", "-xf", self.peers / "stick" / "archive.tar", "-C", self.peers / "tar"])
        self.compare("tar", self.peers / "tar" / "data")
        self.drop(self.peers / "tar")

    def cp(self):
        self.measure("cp", ["cp", "-a", self.data, self.peers / "cp"])
        self.compare("cp", self.peers / "cp")
        self.drop(self.peers / "cp")

    def rsync(self):
        self.measure("rsync", ["rsync", "-a", f"{self.data}/", f"{self.peers / 'rsync'}/"])
        self.compare("rsync", self.peers / "rsync")

    def rsync_again(self):
        self.measure("rsync again", ["rsync", "-a", f"{self.data}/", f"{self.peers / 'rsync'}/"])

    def unison_run(self, name):
        home = self.root / "unison-home"
        home.mkdir(exist_ok=True)
        self.measure(name, ["unison", self.data, self.peers / "unison", "-batch", "-auto", "-times", "-silent",
                            "-ui", "text", "-confirmbigdel=false", "-log=false"],
                     dict(os.environ, HOME=str(home), UNISON=str(home / ".unison")))

    def unison(self):
        (self.peers / "unison").mkdir()
        self.unison_run("unison")
        self.compare("unison", self.peers / "unison")

    def unison_again(self):
        self.unison_run("unison again")


class Bench:
    def __init__(self, options, folder, chosen, mounts):
        self.options = options
        self.folder = folder
        self.set = chosen
        self.mounts = mounts
        self.naming = "link"
        self.now = int(time.time())
        self.zelkor = options.build / "app" / "zelkor"
        self.seconds = {}
        self.flushed = {}
        self.peaks = {}

    @staticmethod
    def word(switch, other, folder):
        return f'{switch}:{other}:"{program_form(folder)}"'

    def tool(self, name):
        return self.options.build / "bench" / name

    def record(self, name, seconds, flushed, peak):
        self.seconds.setdefault(name, []).append(seconds)
        self.flushed.setdefault(name, []).append(flushed)
        self.peaks.setdefault(name, []).append(peak)

    def run(self):
        count, size, title = self.set
        self.templates = make_templates(self.folder, self.options.build / "demo" / "zelkor_seed", count)
        medium = Medium(self.folder, needed_bytes(self.set), self.mounts, 1 << 20 if count <= FEW_FILES else 4096)
        for number in range(self.options.rounds):
            print(f"{title}: round {number + 1} of {self.options.rounds}", file=sys.stderr, flush=True)
            with medium as root:
                Round(self, root, number).work()

    def own(self, job):
        """Zelkor's time for a job; it has flushed already, so there is only one."""
        jobs = ("export", "import") if job == "all" else (job,)
        return sum(statistics.median(self.seconds[name]) for name in jobs)

    def ratios(self, job, peer):
        """Zelkor's time divided by the peer's: as the peer is, and with its sync."""
        own = self.own(job)
        return own / statistics.median(self.seconds[peer]), own / statistics.median(self.flushed[peer])

    def peak(self, name):
        return max(self.peaks[name]) / 1024


def main():
    parser = argparse.ArgumentParser(description="Zelkor's speed beside tar, cp, rsync and unison.")
    parser.add_argument("--build", type=lambda text: pathlib.Path(text).resolve(), required=True)
    parser.add_argument("--report", type=pathlib.Path, help="the page to write")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--sets", default="4k,200,large", help="which of 4k,200,large")
    parser.add_argument("--medium", type=pathlib.Path,
                        help="where the files go (default: memory, or else the temporary folder)")
    parser.add_argument("--quick", action="store_true", help="a smoke test")
    parser.add_argument("--seconds", action="store_true", help="show the times themselves too")
    options = parser.parse_args()
    if options.quick:
        options.rounds = 1
    sizes = QUICK_SETS if options.quick else SETS

    benches = []
    places = []
    for name in options.sets.split(","):
        parent, place = medium_parent(options, sizes[name])
        with tempfile.TemporaryDirectory(prefix="zelkor-bench-", dir=parent) as folder:
            folder = pathlib.Path(folder).resolve()
            mounts = not options.quick and can_mount(folder)
            bench = Bench(options, folder, sizes[name], mounts)
            bench.run()
        benches.append(bench)
        places.append(f"a fresh ext4 in a loop file {place}" if mounts else f"fresh directories {place}")

    print(table(benches, False), peak_table(benches, False), sep="\n\n")
    if options.seconds:
        print("", seconds_table(benches), sep="\n")
    if options.quick:
        print(f"\nA smoke test: everything ran and every copy is right; the numbers mean nothing ({platform.node()}).")
        return 0
    if options.report is not None:
        options.report.parent.mkdir(parents=True, exist_ok=True)
        options.report.write_text(report(benches, options.rounds, places))
        print(f"\nWritten to {options.report}.")
    slow = missed(benches)
    print("", *(slow or ["Everything is as fast and small as wanted."]), sep="\n")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (Failed, KeyboardInterrupt) as error:
        print(f"bench: {error}", file=sys.stderr)
        sys.exit(1)
