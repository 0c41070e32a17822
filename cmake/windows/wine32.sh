#!/bin/bash
# Runs a 32-bit program without windows under the 64-bit Wine: wine32.sh WORD..., with the words of wine.sh. The 32-bit
# libraries of Wine's Windows come from Debian's package for i386, which is unpacked and not installed: the system's
# packages stay of one architecture. They are kept in ZELKOR_WINE32_CACHE, or ~/.cache/zelkor-wine32. What programs
# need of the screen is not among them: windows and DDE fail.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")

# Exported, since what runs below has another home.
export ZELKOR_WINE32_CACHE=${ZELKOR_WINE32_CACHE:-$HOME/.cache/zelkor-wine32}
cache=$ZELKOR_WINE32_CACHE
# Both halves of Wine must be of one version.
version=$(dpkg-query -W -f '${Version}' libwine)
place=$cache/$version

# apt with lists that are ours alone, from where the system takes its packages.
fetch() {
  local folder=$cache/fetching
  rm -rf "$folder"
  mkdir -p "$folder"/{lists/partial,archives/partial,package,tree}
  "$here/debian_places.sh" 'deb [arch=i386]' >"$folder/list"
  local options=(-q -o APT::Architecture=i386 -o APT::Architectures::=i386 -o "Dir::Etc::sourcelist=$folder/list"
    -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$folder/lists" -o "Dir::Cache=$folder" -o APT::Sandbox::User="")
  # A list that is out of date does no harm when the package is there.
  apt-get "${options[@]}" update >"$folder/log" 2>&1 || true
  (cd "$folder/package" && apt-get "${options[@]}" download "libwine=$version" >>"$folder/log" 2>&1) ||
    { cat "$folder/log" >&2; return 1; }
  dpkg -x "$folder"/package/libwine_*.deb "$folder/tree"
  mkdir "$folder/ready"
  mv "$folder/tree/usr/lib/i386-linux-gnu/wine/i386-windows" "$folder/ready/"
  mv "$folder/ready" "$place"
  rm -rf "$folder"
}

if [ ! -e "$place" ]; then
  mkdir -p "$cache"
  exec 9>"$cache/lock"
  flock 9
  [ -e "$place" ] || fetch || { echo "The 32-bit half of Wine could not be fetched." >&2; exit 1; }
  exec 9>&-
fi
export WINEDLLPATH=$place
exec "$here/wine.sh" "$@"
