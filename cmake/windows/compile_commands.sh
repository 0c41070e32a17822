#!/bin/bash
# Writes the compile commands of the sources that only Windows has, as clang reads them with mingw's headers, for
# cmake/tidy.py: compile_commands.sh BUILD. Nothing needs to be built for it.
set -euo pipefail
cd "$(dirname "$0")/../.."

build=$1
triple=x86_64-w64-mingw32
gcc=$(dirname "$("$triple-g++-posix" -print-libgcc-file-name)")
command="clang++ --target=$triple -std=c++20 -I$PWD -D_WIN32_WINNT=0x0601 -DNOMINMAX -Wall -Wextra -Wpedantic -Wconversion \
-nostdinc++ -isystem $gcc/include/c++ -isystem $gcc/include/c++/$triple -isystem /usr/$triple/include \
-isystem /usr/src/googletest/googletest/include -isystem /usr/src/googletest/googlemock/include -c"

mkdir -p "$build"
{
  separator="["
  for source in lib/windows/*.cpp tests/support/windows/*.cpp; do
    printf '%s\n{"directory": "%s", "file": "%s", "command": "%s %s"}' "$separator" "$PWD" "$source" "$command" "$source"
    separator=","
  done
  echo "]"
} >"$build/compile_commands.json"
