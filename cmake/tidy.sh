#!/bin/bash
# clang-tidy over every source of a build folder's compile commands: tidy.sh BUILD JOBS. Prints the findings only.
set -euo pipefail

build=$1
jobs=$2

status=0
# Options that only gcc knows stand in the compile commands too.
output=$(run-clang-tidy -quiet -p "$build" -j "$jobs" -extra-arg=-Wno-unknown-warning-option 2>/dev/null) || status=$?
grep -v -e '^clang-tidy' -e '^/usr/bin/clang-tidy' -e '^[0-9]* warnings' -e '^$' <<<"$output" || true
if [ "$status" -eq 0 ]; then echo "clang-tidy has nothing to say."; fi
exit "$status"
