#!/bin/bash
# What the built programs for Windows have to be, without running them: check.sh BITS FOLDER. Kind of machine, size, no
# library but the system's, subsystem, protection, icons, manifest, version, and nothing of the machine that built them.
set -euo pipefail

bits=$1
folder=$2
case $bits in
  64) triple=x86_64-w64-mingw32 format=pei-x86-64 ;;
  32) triple=i686-w64-mingw32 format=pei-i386 ;;
esac
most=$((12 * 1024 * 1024))

wrong=0
fail() {
  echo "check.sh: $1" >&2
  wrong=1
}
# What every Windows has since 7.
system="advapi32 bcrypt comctl32 comdlg32 crypt32 gdi32 gdiplus imm32 iphlpapi kernel32 msimg32 msvcrt ncrypt ole32
  oleacc oleaut32 powrprof psapi rpcrt4 secur32 shell32 shlwapi user32 userenv uxtheme version winmm winspool.drv
  ws2_32 wtsapi32 dbghelp"

# check FILE SUBSYSTEM VERSION
check() {
  local file=$1 subsystem=$2 version=$3
  local headers size library resources paths
  headers=$($triple-objdump -p "$file")
  size=$(stat -c %s "$file")
  [ "$size" -le $most ] || fail "$file has $size bytes"
  grep -q "file format $format" <<<"$headers" || fail "$file is of another kind of machine"
  grep -q "^Subsystem.*($subsystem)" <<<"$headers" || fail "$file is not for the subsystem $subsystem"
  for bit in NX_COMPAT DYNAMIC_BASE; do grep -q "$bit" <<<"$headers" || fail "$file lacks $bit"; done
  while read -r library; do
    library=${library,,}
    [[ " $(echo $system) " == *" ${library%.dll} "* ]] || fail "$file needs $library"
  done < <(sed -n 's/.*DLL Name: //p' <<<"$headers")
  resources=$(wrestool --list "$file")
  for kind in 3 14 16 24; do  # icons, groups of them, version, manifest
    grep -q -- "--type='\?$kind'\?\b" <<<"$resources" || fail "$file has no resource of type $kind"
  done
  [ "$(grep -m 1 -- "--type='\?14'\?\b" <<<"$resources" | grep -c PROGRAM1)" = 1 ] ||
    fail "the first icon of $file is not the program's"
  [ "$(grep -c -- "--type='\?24'\?\b" <<<"$resources")" = 1 ] || fail "$file has more than one manifest"
  wrestool --extract --raw --type=24 "$file" >"$file.manifest"
  for word in Common-Controls PerMonitorV2 '>true</longPathAware>' asInvoker; do
    grep -q "$word" "$file.manifest" || fail "the manifest of $file lacks $word"
  done
  if grep -qi "activeCodePage[^.]" <(grep -v '<!--' "$file.manifest"); then fail "$file changes the code page"; fi
  rm -f "$file.manifest"
  wrestool --extract --raw --type=16 "$file" | iconv -c -f UTF-16LE -t UTF-8 | tr -d '\0' | grep -q "ProductVersion$version" ||
    fail "$file is not of version $version"
  # Folders of the sources, of the libraries' and of what they were built in, in letters of one or two bytes.
  paths=$({ strings "$file"; strings -e l "$file"; } | grep -F -e "$sources/" -e "$HOME/" -e "$libraries/" || true)
  [ -z "$paths" ] || fail "$file tells of the machine that built it: $paths"
}

sources=$(readlink -f "$(dirname "$0")/../..")
libraries=$(readlink -f "${ZELKOR_WINDOWS_CACHE:-$HOME/.cache/zelkor-windows}")
version=$(sed -n 's/^project(zelkor VERSION \([0-9.]*\).*/\1/p' "$sources/CMakeLists.txt")
check "$folder/zelkor.exe" "Windows GUI" "$version"
check "$folder/Vandry.exe" "Windows CUI" "$version"
[ $wrong -eq 0 ]
