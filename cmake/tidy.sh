#!/bin/bash
# clang-tidy over every source of the compile commands of build folders: tidy.sh JOBS BUILD... Prints the findings only.
set -euo pipefail

jobs=$1
shift

status=0
for build in "$@"; do
  # Options that only gcc knows stand in the compile commands too.
  output=$(run-clang-tidy -quiet -p "$build" -j "$jobs" -extra-arg=-Wno-unknown-warning-option 2>/dev/null) || status=$?
  grep -v -e '^clang-tidy' -e '^/usr/bin/clang-tidy' -e '^[0-9]* warnings' -e '^$' <<<"$output" || true
done
if [ "$status" -eq 0 ]; then echo "clang-tidy has nothing to say."; fi
exit "$status"
