#!/bin/bash
# Builds the optimised and the sanitized variant and runs every test of both: test.sh JOBS. Ends with one line that
# counts them all; its status is 0 only when none failed.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=$1
variants=(release asan)

for variant in "${variants[@]}"; do
  cmake --preset "$variant" >/dev/null
  cmake --build --preset "$variant" -j "$jobs"
done

passed=0
failed=0
skipped=0
for variant in "${variants[@]}"; do
  echo
  echo "=== $variant"
  report=build/$variant/tests.xml
  rm -f "$report"
  # Tests wait for displays, servers and the clock half of the time, so more than one of them finds room on a processor.
  # The status of ctest is not enough: it is 0 too when there was nothing to run.
  ctest --preset "$variant" -j $((2 * jobs)) --output-junit "$PWD/$report" | grep -v --line-buffered "^ *Start " || true
  [ -s "$report" ] || { echo "ctest left no report for $variant" >&2; exit 1; }
  suite=$(grep -A 12 -m 1 '<testsuite' "$report" | tr '\n' ' ')
  count() { sed -n "s/.*[[:space:]]$1=\"\([0-9]*\)\".*/\1/p" <<<"$suite" | head -n 1; }
  tests=$(count tests) bad=$(count failures) without=$(($(count skipped) + $(count disabled)))
  passed=$((passed + tests - bad - without))
  failed=$((failed + bad))
  skipped=$((skipped + without))
done

echo
[ "$skipped" -eq 0 ] || echo "$skipped skipped"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
