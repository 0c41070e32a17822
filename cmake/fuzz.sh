#!/bin/bash
# Builds the fuzz targets with clang and runs each of them: fuzz.sh JOBS SECONDS. What they find interesting is kept in
# build/fuzz/corpus and used again; an input that breaks something ends the run and stays in build/fuzz/found.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=$1
seconds=$2

cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZELKOR_FUZZ=ON \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
cmake --build build/fuzz -j "$jobs" --target fuzzers

mkdir -p build/fuzz/found
count=0
for program in build/fuzz/fuzz/*_fuzz; do
  [ -x "$program" ] || continue
  name=$(basename "$program")
  corpus=build/fuzz/corpus/$name
  mkdir -p "$corpus"
  seeds=()
  [ ! -d "fuzz/seeds/$name" ] || seeds=("fuzz/seeds/$name")
  echo "=== $name, $seconds seconds"
  "$program" -max_total_time="$seconds" -artifact_prefix=build/fuzz/found/ -print_final_stats=1 -verbosity=0 \
    "$corpus" "${seeds[@]}"
  count=$((count + 1))
done
[ "$count" -gt 0 ] || { echo "no fuzz target was built" >&2; exit 1; }
echo "$count fuzz targets found nothing."
