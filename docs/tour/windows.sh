#!/bin/bash
# Makes the pictures of the program for Windows in docs/tour.md, under Wine, in a display and a Windows of its own:
# windows.sh PROGRAMS ZELKOR_SEED FOLDER. The catalogue is made by the tool for Linux: it is the same on both.
set -euo pipefail
programs=$(realpath "$1")
seeder=$(realpath "$2")
folder=$(realpath "$3")

root=$(mktemp -d "${TMPDIR:-/tmp}/zelkor-tour-XXXXXX")
export WINEPREFIX=$root/prefix HOME=$root TZ=UTC WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" WINEARCH=win64
leave() {
  status=$?
  [ "$status" -eq 0 ] || import -window root "$folder/failed.png" || true
  wineserver --kill 2>/dev/null || true
  rm -rf "$root"
  exit "$status"
}
trap leave EXIT
patience=60
source "$(dirname "$0")/screen.sh"

wineboot --init >/dev/null 2>&1
# Letters with smooth edges.
wine reg add 'HKCU\Control Panel\Desktop' /v FontSmoothing /d 2 /f >/dev/null
wine reg add 'HKCU\Control Panel\Desktop' /v FontSmoothingType /t REG_DWORD /d 1 /f >/dev/null
drive=$WINEPREFIX/drive_c
mkdir "$drive/Zelkor" "$drive/stick"
cp "$programs"/{zelkor.exe,Vandry.exe,zelkor.hlp} "$drive/Zelkor/"
cat >"$drive/windows/orlim.ini" <<SETTINGS
[Orlim]
User=office
[ZELKOR]
FormLeft=1500
FormTop=900
FormWidth=13800
FormHeight=6900
SETTINGS

# file PATH DATE KILOBYTES
file() {
  mkdir -p "$(dirname "$drive/$1")"
  head -c "$(($3 * 1024))" /dev/urandom >"$drive/$1"
  touch -d "$2" "$drive/$1"
}
for n in 1 2 3; do file "letters/anna-$n.txt" "2026-09-0$n 10:15" 6; done
file accounts/2026.ods "2026-11-18 19:02" 64
file projects/bridge/plan.odt "2026-11-19 16:31" 120
file recipes/bread.txt "2024-03-12 08:00" 2
file music/songs.m3u "2026-10-30 21:12" 3
mkdir -p "$root/config"
printf '[Orlim]\r\nUser=office\r\n[Drives]\r\nc=%s\r\n' "$drive" >"$root/config/orlim.ini"
{
  line item "Letters to Anna" Auto AllButExcluded "private" 'c:\letters\*.txt'
  line item "Accounts 2026" Auto OnlyIncluded "money +laptop" 'c:\accounts\2026.ods'
  line item "Bridge over the brook" On AllButExcluded "project7 work" 'c:\projects\bridge\*.*'
  line item "Recipes" Auto AllButExcluded "private kitchen" 'c:\recipes\*.*'
  line item "Songs for the choir" Off AllButExcluded "private music" 'c:\music\songs.m3u'
  line target laptop
} | XDG_CONFIG_HOME=$root/config ZELKOR_DIR=$drive/Zelkor "$seeder"

wine 'C:\Zelkor\zelkor.exe' &
main=$(window '^Zelkor! - office')
settle
shot windows-main "$main"
keys alt+e Return
item=$(window '^Item - \[')
shot windows-item "$item"
keys Escape
xdotool windowactivate --sync "$main"
keys alt+f y
sync=$(window '^Synchroni')
xdotool windowactivate --sync "$sync"
shot windows-sync "$sync"
keys Escape
xdotool windowactivate --sync "$main"
keys alt+f x
