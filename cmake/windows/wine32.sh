#!/bin/bash
# Runs a 32-bit program under a 32-bit Wine: wine32.sh WORD..., with the words of wine.sh. This Wine and the libraries that
# it asks for come from Debian's packages for i386, which are unpacked and not installed: the system's packages stay of
# one architecture. They are kept in ZELKOR_WINE32_CACHE, or ~/.cache/zelkor-wine32. (The 64-bit Wine runs 32-bit programs
# too, but without sockets and windows.)
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")

# Exported, since what runs below has another home.
export ZELKOR_WINE32_CACHE=${ZELKOR_WINE32_CACHE:-$HOME/.cache/zelkor-wine32}
cache=$ZELKOR_WINE32_CACHE
# The same one that runs the 64-bit programs.
version=$(dpkg-query -W -f '${Version}' libwine)
place=$cache/$version-i386

# apt with lists that are ours alone, from where the system takes its packages, on a system that has none.
fetch() {
  local folder=$cache/fetching package program libraries
  rm -rf "$folder"
  mkdir -p "$folder"/{lists/partial,archives/partial,tree}
  touch "$folder/status"
  "$here/debian_places.sh" 'deb [arch=i386]' >"$folder/list"
  local options=(-q -y -o APT::Architecture=i386 -o APT::Architectures::=i386 -o "Dir::Etc::sourcelist=$folder/list"
    -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$folder/lists" -o "Dir::State::status=$folder/status"
    -o "Dir::Cache=$folder" -o APT::Sandbox::User="" -o Debug::NoLocking=true)
  # A list that is out of date does no harm when the packages are there.
  apt-get "${options[@]}" update >"$folder/log" 2>&1 || true
  apt-get "${options[@]}" install --download-only --no-install-recommends "wine32=$version" "libwine=$version" \
    libxcomposite1 libxcursor1 libxfixes3 libxi6 libxinerama1 libxrandr2 libxrender1 >>"$folder/log" 2>&1 ||
    { cat "$folder/log" >&2; return 1; }
  for package in "$folder"/archives/*.deb; do dpkg -x "$package" "$folder/tree"; done

  # Programs find the loader and the libraries where they are here, and Wine its library of zlib among its own, to
  # which only those belong that say so.
  (
    cd "$folder/tree"
    mv usr/share/wine wine-data
    rm -rf usr/share usr/lib/i386-linux-gnu/wine/x86_64-windows
    mkdir usr/share
    mv wine-data usr/share/wine
    libraries=$place/lib/i386-linux-gnu:$place/usr/lib/i386-linux-gnu
    for program in wine wineserver32; do
      patchelf --set-interpreter "$place/lib/i386-linux-gnu/ld-linux.so.2" --force-rpath --set-rpath "$libraries" \
        "usr/lib/wine/$program"
    done
    cp usr/i686-w64-mingw32/lib/zlib1.dll usr/lib/i386-linux-gnu/wine/i386-windows/
    printf 'Wine builtin DLL\0' |
      dd of=usr/lib/i386-linux-gnu/wine/i386-windows/zlib1.dll bs=1 seek=64 conv=notrunc status=none
    rm -rf usr/*-w64-mingw32 bin
    mkdir bin
    printf '#!/bin/sh\nexec %s/usr/lib/wine/wineserver32 -p0 "$@"\n' "$place" >usr/lib/wine/wineserver
    printf '#!/bin/sh\nexec %s/usr/lib/wine/wine wineboot.exe "$@"\n' "$place" >bin/wineboot
    chmod +x usr/lib/wine/wineserver bin/wineboot
    ln -s ../usr/lib/wine/wine ../usr/lib/wine/wineserver bin/
  )
  mv "$folder/tree" "$place"
  rm -rf "$folder"
}

if [ ! -e "$place" ]; then
  mkdir -p "$cache"
  exec 9>"$cache/lock"
  flock 9
  [ -e "$place" ] || fetch || { echo "A 32-bit Wine could not be fetched." >&2; exit 1; }
  exec 9>&-
fi
# ZELKOR_WINE: for the tests, which do not look for programs.
export ZELKOR_WINE=$place/bin WINEARCH=win32
PATH=$ZELKOR_WINE:$PATH exec "$here/wine.sh" "$@"
