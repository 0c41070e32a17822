#!/bin/bash
# Builds the tests of the programs for Windows and runs them under Wine, and the installers: test.sh JOBS. Of the 32-bit
# programs, what runs without windows. Ends with one line that counts the tests; its status is 0 only when none failed.
set -euo pipefail
cd "$(dirname "$0")/../.."

jobs=$1
cmake/windows/build.sh --tests "$jobs" 64 32
packaging/windows/installer.sh 64 32
# The tests of the whole program from outside are a program for Linux, which runs the one for Windows; beside it the
# program for Linux, which the 32-bit one exchanges files with.
cmake --preset release >/dev/null
cmake --build --preset release -j "$jobs" --target zelkor e2e_test

source cmake/tally.sh
for bits in 64 32; do
  echo
  echo "=== $bits-bit"
  run=(ctest --preset "windows$bits" -j "$jobs")
  # One Windows for all, since the making takes longer than most of the tests.
  [ "$bits" = 64 ] || run=(cmake/windows/wine32.sh --within "${run[@]}")
  tally "build/windows$bits" "${run[@]}"
done
tally_end
