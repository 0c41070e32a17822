#!/bin/bash
# Installs Zelkor into a Windows of its own under Wine, looks at what is there, starts it from its shortcut, and removes
# it again: check.sh INSTALLER. Wants a display. With PICTURES=FOLDER it leaves pictures of the screen there.
set -euo pipefail
installer=$(readlink -f "$1")
if [ -z "${DISPLAY:-}" ]; then exec "$(dirname "$0")/../../tests/gui/in_display.sh" "$0" "$@"; fi

own=$(mktemp -d "${TMPDIR:-/tmp}/zelkor-setup-XXXXXX")
export WINEPREFIX=$own/prefix HOME=$own WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" WINEARCH=${WINEARCH:-win64}
leave() {
  status=$?
  wineserver --kill 2>/dev/null || true
  rm -rf "$own"
  exit "$status"
}
trap leave EXIT
trap 'echo "check.sh: line $LINENO failed" >&2' ERR
fail() {
  [ -z "${PICTURES:-}" ] || import -window root "$PICTURES/failed.png" || true
  echo "check.sh: $1" >&2
  exit 1
}
# window NAME: the number of the visible window whose title matches, once it is there.
window() {
  local deadline=$((SECONDS + 60)) found
  until found=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | tail -n 1) && [ -n "$found" ]; do
    [ $SECONDS -lt $deadline ] || fail "no window $1"
    sleep 0.2
  done
  echo "$found"
}
# default_of KEY, named KEY NAME: what the registry of the user has there; empty when there is nothing.
default_of() { wine reg query "HKCU\\$1" /ve 2>/dev/null | tr -d '\r' | sed -n 's/.*REG_SZ *//p' | head -n 1; }
named() { wine reg query "HKCU\\$1" /v "$2" 2>/dev/null | tr -d '\r' | sed -n 's/.*REG_SZ *//p' | head -n 1; }

wineboot --init >/dev/null 2>&1
# Sync files belong to another program.
wine reg add 'HKCU\Software\Classes\.cas' /ve /d Another.Program /f >/dev/null

folder=$WINEPREFIX/drive_c/Zelkor
wine "$installer" /S '/D=C:\Zelkor'
for file in zelkor.exe Vandry.exe zelkor.hlp LICENSE.txt uninstall.exe; do
  [ -s "$folder/$file" ] || fail "the installer left no $file"
done
shortcut=$(find "$WINEPREFIX/drive_c" -name Zelkor.lnk)
[ -n "$shortcut" ] || fail "there is no shortcut"
[ "$(default_of 'Software\Classes\.cas')" = Zelkor.SyncFile ] || fail "sync files are not Zelkor's"
[ "$(default_of 'Software\Classes\Zelkor.SyncFile\shell\open\command')" = '"C:\Zelkor\zelkor.exe" "%1"' ] ||
  fail "sync files are opened by something else"
uninstall='Software\Microsoft\Windows\CurrentVersion\Uninstall\Zelkor'
[ "$(named "$uninstall" DisplayName)" = Zelkor ] || fail "the system's list of programs lacks Zelkor"

# Started from the shortcut it shows its window; the question for the computer's ID is answered by its settings.
printf '[Orlim]\r\nUser=home\r\n' >"$WINEPREFIX/drive_c/windows/orlim.ini"
wine start /unix "$shortcut" &
main=$(window '^Zelkor! - home')
[ -z "${PICTURES:-}" ] || { sleep 2; import -window root "$PICTURES/installed.png"; }
[ -e "$folder/zelkor.cfg" ] || fail "the catalogue is not beside the program"

# A program that runs is not replaced.
status=0
wine "$installer" /S '/D=C:\Zelkor' || status=$?
[ $status -ne 0 ] || fail "the installer replaced a running program"

xdotool windowactivate --sync "$main" key --delay 40 alt+f x
deadline=$((SECONDS + 60))
while xdotool search --onlyvisible --name '^Zelkor! - home' >/dev/null 2>&1; do
  [ $SECONDS -lt $deadline ] || fail "the program does not end"
  sleep 0.2
done
wineserver --wait & waiting=$!
( sleep 60; kill $waiting 2>/dev/null ) & guard=$!
wait $waiting || true
kill $guard 2>/dev/null || true

# Removed, it leaves the user's files.
# A copy of the uninstaller goes on when it has returned, so that it can delete itself too.
wine "$folder/uninstall.exe" /S
deadline=$((SECONDS + 60))
until [ ! -e "$folder/uninstall.exe" ] && [ -z "$(named "$uninstall" DisplayName)" ]; do
  [ $SECONDS -lt $deadline ] || fail "the uninstaller does not end"
  sleep 0.2
done
for file in zelkor.exe Vandry.exe zelkor.hlp LICENSE.txt; do
  [ ! -e "$folder/$file" ] || fail "the uninstaller left $file"
done
[ -e "$folder/zelkor.cfg" ] || fail "the uninstaller took the catalogue"
[ -z "$(find "$WINEPREFIX/drive_c" -name Zelkor.lnk)" ] || fail "the uninstaller left the shortcut"
[ "$(default_of 'Software\Classes\.cas')" = Another.Program ] || fail "sync files did not go back to their program"
echo "Installed, started from its shortcut and removed."
