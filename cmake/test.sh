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

source cmake/tally.sh
for variant in "${variants[@]}"; do
  echo
  echo "=== $variant"
  # Tests wait for displays, servers and the clock half of the time, so more than one of them finds room on a processor.
  tally "build/$variant" ctest --preset "$variant" -j $((2 * jobs))
done
tally_end
