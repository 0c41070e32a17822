#!/usr/bin/env python3
"""clang-tidy over every source of the compile commands of build folders: tidy.py JOBS BUILD...

Findings are printed as they are found. What passed is not looked at again until it changes, or a header of the project
that it includes, or the settings: ninja keeps that, so an interrupted run goes on where it stopped. The status is 0 only
when clang-tidy has nothing to say of any source.
"""

import json
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# The compiler of the build lists the headers; clang-tidy does not.
RULE = """rule tidy
  command = $list -MM -MF $out.d -MT $out && clang-tidy -quiet -p $build $in 2>/dev/null && touch $out
  depfile = $out.d
  deps = gcc
  description = $name
"""


def escaped(text):
    return str(text).replace("$", "$$").replace(" ", "$ ").replace(":", "$:")


def listing(command):
    """A compile command without its output, for the headers to be listed in its place."""
    words = shlex.split(command)
    if "-o" in words:
        at = words.index("-o")
        del words[at : at + 2]
    return shlex.join(words).replace("$", "$$")


def steps(build):
    """The plan's lines for a build folder: a stamp for each source that passed, below its folder "passed"."""
    folder = pathlib.Path(build).resolve()
    commands = json.loads((folder / "compile_commands.json").read_text())
    # clang-tidy looks at a source once for each of its commands by itself.
    for source, command in {pathlib.Path(each["directory"], each["file"]): each["command"] for each in commands}.items():
        name = source.relative_to(ROOT)
        stamp = folder / "passed" / name
        settings = [each / ".clang-tidy" for each in source.parents if each.is_relative_to(ROOT)]
        known = " ".join(escaped(each) for each in settings if each.exists())
        yield f"build {escaped(stamp)}: tidy {escaped(source)} | {known}"
        yield f"  list = {listing(command)}"
        yield f"  build = {escaped(folder)}"
        yield f"  name = {escaped(name)}"


def main():
    jobs, *builds = sys.argv[1:]
    plan = pathlib.Path(builds[0]).resolve() / "passed" / "plan.ninja"
    plan.parent.mkdir(exist_ok=True)
    lines = [f"builddir = {escaped(plan.parent)}", RULE]
    for build in builds:
        lines += steps(build)
    plan.write_text("\n".join(lines) + "\n")
    status = subprocess.run(["ninja", "-C", ROOT, "-f", plan, "-j", jobs, "-k", "0"]).returncode
    if status == 0:
        print("clang-tidy has nothing to say.")
    return status


if __name__ == "__main__":
    sys.exit(main())
