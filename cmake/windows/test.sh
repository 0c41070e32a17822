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

passed=0
failed=0
skipped=0
for bits in 64 32; do
  echo
  echo "=== $bits-bit"
  report=build/windows$bits/tests.xml
  rm -f "$report"
  run=(ctest --preset "windows$bits" -j "$jobs" --output-junit "$PWD/$report")
  # One Windows for all, since the making takes longer than most of the tests.
  [ "$bits" = 64 ] || run=(cmake/windows/wine32.sh --within "${run[@]}")
  # The status of ctest is not enough: it is 0 too when there was nothing to run.
  "${run[@]}" | grep -v --line-buffered "^ *Start " || true
  [ -s "$report" ] || { echo "ctest left no report of the $bits-bit tests" >&2; exit 1; }
  suite=$(grep -A 12 -m 1 '<testsuite' "$report" | tr '\n' ' ')
  count() { sed -n "s/.*[[:space:]]$1=\"\([0-9]*\)\".*/\1/p" <<<"$suite" | head -n 1; }
  tests=$(count tests) bad=$(count failures) without=$(($(count skipped) + $(count disabled)))
  [ "$tests" -gt 0 ] || { echo "there were no $bits-bit tests" >&2; exit 1; }
  passed=$((passed + tests - bad - without))
  failed=$((failed + bad))
  skipped=$((skipped + without))
done
echo
[ "$skipped" -eq 0 ] || echo "$skipped skipped"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
