#!/bin/bash
# Builds the tests of the 64-bit program for Windows and runs them under Wine, and the installer in a Windows of its own:
# test.sh JOBS. Ends with one line that counts the tests; its status is 0 only when none failed.
set -euo pipefail
cd "$(dirname "$0")/../.."

jobs=$1
cmake/windows/build.sh "$jobs" 64
cmake --build --preset windows64 -j "$jobs" --target windows_tests
# The tests of the whole program from outside are a program for Linux, which runs the one for Windows.
cmake --preset release >/dev/null
cmake --build --preset release -j "$jobs" --target e2e_test
packaging/windows/installer.sh 64

report=build/windows64/tests.xml
rm -f "$report"
# The status of ctest is not enough: it is 0 too when there was nothing to run.
ctest --preset windows64 -j "$jobs" --output-junit "$PWD/$report" | grep -v --line-buffered "^ *Start " || true
[ -s "$report" ] || { echo "ctest left no report" >&2; exit 1; }
suite=$(grep -A 12 -m 1 '<testsuite' "$report" | tr '\n' ' ')
count() { sed -n "s/.*[[:space:]]$1=\"\([0-9]*\)\".*/\1/p" <<<"$suite" | head -n 1; }
tests=$(count tests) failed=$(count failures) skipped=$(($(count skipped) + $(count disabled)))
passed=$((tests - failed - skipped))
echo
[ "$skipped" -eq 0 ] || echo "$skipped skipped"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
