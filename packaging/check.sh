#!/bin/bash
# Installs into a folder of its own and looks at the result: check.sh CMAKE BUILD. What has a validator is validated, and
# the type of a sync file is told by its name as well as by its content.
set -euo pipefail
cmake=$1
build=$2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() {
  echo "$1" >&2
  exit 1
}

DESTDIR=$folder "$cmake" --install "$build" --prefix /usr --strip >/dev/null
share=$folder/usr/share

for program in zelkor zelkor-windows vandry; do
  [ -x "$folder/usr/bin/$program" ] || fail "$program is not installed"
  "$folder/usr/bin/$program" --version >/dev/null
  warnings=$(cd "$share/man" && groff -s -man -ww -b -z "man1/$program.1" 2>&1)
  [ -z "$warnings" ] || fail "the manual page of $program: $warnings"
done
# Every word of the programs' own help stands in their manual pages, and the pages invent none.
for program in zelkor vandry; do
  page=$(groff -man -Tascii -P-cbou "$share/man/man1/$program.1")
  for word in $("$folder/usr/bin/$program" --help | grep -o -E -e '^ +(--|/)[a-z-]+' | tr -d ' '); do
    grep -q -e "$word" <<<"$page" || fail "$program.1 does not tell of $word"
  done
done

for size in 16 22 24 32 48 64 128 256 512; do
  for icon in apps/zelkor mimetypes/application-x-zelkor-sync; do
    picture=$share/icons/hicolor/${size}x$size/$icon.png
    # The width and the height stand behind the signature and the first chunk's head.
    dimensions=$(od -A n -t u1 -j 16 -N 8 "$picture" | tr -s ' ')
    [ "$dimensions" = " 0 0 $((size / 256)) $((size % 256)) 0 0 $((size / 256)) $((size % 256))" ] ||
      fail "$picture is not $size wide and high:$dimensions"
  done
done
for icon in apps/zelkor mimetypes/application-x-zelkor-sync; do
  [ -s "$share/icons/hicolor/scalable/$icon.svg" ] || fail "$icon.svg is not installed"
done

desktop-file-validate --warn-kde "$share"/applications/zelkor*.desktop
appstreamcli validate --no-net --pedantic "$share"/metainfo/*.xml >"$folder/appstream" ||
  fail "$(cat "$folder/appstream")"
grep -q '^<!DOCTYPE html>' "$share/zelkor/zelkor.hlp" || fail "the help file is no web page"
[ -s "$share/doc/zelkor/docs/using.md" ] || fail "the documents are not installed"

# The desktop's own lookup, with what was installed in place of the system's folder of the same kind. It passes over
# programs that it does not find.
export PATH=$folder/usr/bin:$PATH
cp /usr/share/mime/packages/freedesktop.org.xml "$share/mime/packages/"
update-mime-database "$share/mime" 2>/dev/null
update-desktop-database "$share/applications"
type_of() {
  XDG_DATA_HOME=$folder/home XDG_DATA_DIRS=$share gio info -a standard::content-type "$1" |
    sed -n 's/ *standard::content-type: //p'
}
opened_by() {
  XDG_DATA_HOME=$folder/home XDG_CONFIG_HOME=$folder/home XDG_DATA_DIRS=$share gio mime "$1" |
    sed -n 's/^Default application.*: //p'
}
expect() { [ "$2" = "$3" ] || fail "$1: \"$2\" in place of \"$3\""; }

for file in laptop.cas laptop01.CAS; do echo "no header" >"$folder/$file"; done
printf 'office  \x00\x00\x00\x00\x00\x00\x00\x00\xc8\x00\x01\x00SyncFile' >"$folder/renamed"
cp "$share/zelkor/zelkor.hlp" "$folder/zelkor.hlp"
for file in laptop.cas laptop01.CAS renamed; do
  expect "the type of $file" "$(type_of "$folder/$file")" application/x-zelkor-sync
done
expect "the type of the help file" "$(type_of "$folder/zelkor.hlp")" application/x-zelkor-help
expect "what opens a sync file" "$(opened_by application/x-zelkor-sync)" zelkor.desktop
expect "what opens the help file" "$(opened_by application/x-zelkor-help)" zelkor-help.desktop

# The installed program finds its help and hands it to the viewer, here one that tells what it got.
mkdir "$folder/viewer" "$folder/home"
printf '#!/bin/sh\ncat "$1" >"%s/part"; mv "%s/part" "%s/shown"\n' "$folder" "$folder" "$folder" >"$folder/viewer/xdg-open"
chmod +x "$folder/viewer/xdg-open"
env -u ZELKOR_DIR -u XDG_DATA_HOME -u XDG_CONFIG_HOME -u XDG_CACHE_HOME HOME="$folder/home" \
  PATH="$folder/viewer:$PATH" zelkor --show-help
for _ in $(seq 200); do
  [ ! -e "$folder/shown" ] || break
  sleep 0.1
done
cmp "$folder/shown" "$share/zelkor/zelkor.hlp" || fail "the viewer did not get the help"
