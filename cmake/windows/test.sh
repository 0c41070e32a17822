#!/bin/bash
# Builds the tests of the programs for Windows and runs them under Wine, and the installers: test.sh JOBS. Ends with
# one line that counts the tests; its status is 0 only when none failed.
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
  tally "build/windows$bits" ctest --preset "windows$bits" -j "$jobs"
done
tally_end
