#!/bin/bash
# Builds Zelkor and Vandry for Windows: build.sh [--tests] JOBS BITS..., stripped, into build/windowsBITS/programs; and
# looks whether they are what they are to be. With --tests the tests too.
set -euo pipefail
cd "$(dirname "$0")/../.."

tests=""
if [ "$1" = --tests ]; then
  tests=$1
  shift
fi
jobs=$1
shift
for bits in "$@"; do
  case $bits in
    64) triple=x86_64-w64-mingw32 ;;
    32) triple=i686-w64-mingw32 ;;
    *) echo "build.sh: there is no $bits-bit Windows" >&2; exit 2 ;;
  esac
  JOBS=$jobs cmake/windows/libraries.sh $tests $triple
  cmake --preset "windows$bits" >/dev/null
  cmake --build --preset "windows$bits" -j "$jobs" --target zelkor vandry ${tests:+windows_tests}
  build=build/windows$bits
  programs=$build/programs
  mkdir -p "$programs"
  for program in app/zelkor.exe vandry/Vandry.exe; do
    $triple-strip -o "$programs/$(basename $program)" "$build/$program"
  done
  cp "$build/app/zelkor.hlp" "$programs/"
  cmake/windows/check.sh "$bits" "$programs"
  echo "$programs: zelkor.exe and Vandry.exe are ready."
done
