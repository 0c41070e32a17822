#!/bin/bash
# Makes the installers of the built programs for Windows: installer.sh BITS..., as build/zelkor-VERSION-windowsBITS.exe.
set -euo pipefail
cd "$(dirname "$0")/../.."

version=$(sed -n 's/^project(zelkor VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
for bits in "$@"; do
  output=build/zelkor-$version-windows$bits.exe
  makensis -V2 -WX -NOCD -DVERSION="$version" -DBITS="$bits" -DPROGRAMS="$PWD/build/windows$bits/programs" \
    -DDOCUMENTS="$PWD" -DICON="$PWD/build/windows$bits/icons/Zelkor.ico" -DOUTPUT="$PWD/$output" \
    packaging/windows/zelkor.nsi
  echo "$output is ready."
done
