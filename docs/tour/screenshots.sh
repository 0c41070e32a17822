#!/bin/bash
# Makes the pictures of docs/tour.md by driving the built program with real keys and clicks, in a display and a world of
# its own: screenshots.sh ZELKOR ZELKOR_SEED FOLDER. Called once with light and once with dark windows by
# "make screenshots"; dark ones have "-dark" in their names.
set -euo pipefail
zelkor=$(realpath "$1")
seeder=$(realpath "$2")
folder=$(realpath "$3")
suffix=""
case "${ZELKOR_THEME:-}" in *:dark) suffix=-dark ;; esac

export LC_ALL=C.UTF-8 TZ=UTC
root=$(mktemp -d "${TMPDIR:-/tmp}/zelkor-tour-XXXXXX")
running=""
leave() {
  status=$?
  [ "$status" -eq 0 ] || import -window root "$folder/failed.png" || true
  [ -z "$running" ] || kill -KILL "$running" 2>/dev/null || true
  rm -rf "$root"
  exit "$status"
}
trap leave EXIT
patience=30
source "$(dirname "$0")/screen.sh"

# --- Two computers ---------------------------------------------------------------------------------------------------

# environment COMPUTER: what makes a program run as that computer's.
environment() { environment=(env -u ZELKOR_DIR -u XDG_DATA_HOME HOME="$root/$1/home" XDG_CONFIG_HOME="$root/$1/config" \
  TMPDIR="$root/$1/tmp"); }
as() {
  environment "$1"
  shift
  "${environment[@]}" "$@"
}
# file COMPUTER PATH DATE KILOBYTES; the date may be "now"
file() {
  mkdir -p "$(dirname "$root/$1/home/$2")"
  head -c "$(($4 * 1024))" /dev/urandom >"$root/$1/home/$2"
  touch -d "$3" "$root/$1/home/$2"
}

for computer in office laptop; do
  mkdir -p "$root/$computer"/{home,config,tmp}
  # Places are in twips, 15 to a pixel.
  cat >"$root/$computer/config/orlim.ini" <<SETTINGS
[Orlim]
User=$computer
[Drives]
s=$root/stick
[ZELKOR]
FormLeft=3000
FormTop=1800
FormWidth=15300
FormHeight=7200
editKtFormLeft=4500
editKtFormTop=2400
editKtFormWidth=9600
editKtFormHeight=4800
SETTINGS
done
mkdir "$root/stick"
for n in 01 02 03; do
  file office "letters/anna-$n.txt" "2026-09-$n 10:15" 6
  file office "pictures/summer/lake-$n.jpg" "2026-08-1${n#0} 17:40" 240
done
file office accounts/2026.ods "2026-11-18 19:02" 64
file office accounts/2025.ods "2026-01-05 11:20" 61
file office projects/bridge/plan.odt "2026-11-19 16:31" 120
file office projects/bridge/cables.ods "2026-11-20 09:05" 48
file office recipes/bread.txt "2024-03-12 08:00" 2
file office .config/editor.conf "2026-05-02 12:00" 1
file office music/songs.m3u "2026-10-30 21:12" 3
{
  line item "Letters to Anna" Auto AllButExcluded "private" 'c:\letters\*.txt'
  line item "Summer at the lake" Auto AllButExcluded "pictures" '+- c:\pictures\summer\*.*'
  line item "Accounts 2026" Auto OnlyIncluded "money +laptop" 'c:\accounts\2026.ods'
  line item "Accounts 2025" Off All "money old" 'c:\accounts\2025.ods'
  line item "Bridge over the brook" On AllButExcluded "project7 work" 'c:\projects\bridge\*.*'
  line item "Recipes" Auto AllButExcluded "private kitchen" 'c:\recipes\*.*'
  line item "Settings of the editor" Auto AllButExcluded "work -tablet" 'c:\.config\editor.conf'
  line item "Songs for the choir" Auto AllButExcluded "private music" 'c:\music\songs.m3u'
  line item "Tax return (not yet written)" Auto AllButExcluded "money" 'c:\accounts\tax.odt'
  line item "Film of the summer" Auto AllButExcluded "pictures" '+- c:\films\*.*'
  line target laptop
} | as office "$seeder"
line target office | as laptop "$seeder"

# The laptop gets everything once, changes some files and sends them back, so that there is something to import.
as office "$zelkor" '/syncexp:laptop:"s:\"' >/dev/null
as laptop "$zelkor" '/syncimp:office:"s:\"' >/dev/null
file laptop letters/anna-02.txt "2026-11-20 20:10" 7
file laptop letters/anna-04.txt "2026-11-20 20:31" 6
file laptop projects/bridge/plan.odt "2026-11-20 22:47" 124
line item "Talk in the town hall" Auto AllButExcluded "work" 'c:\talks\bridge.odp' | as laptop "$seeder"
file laptop talks/bridge.odp "2026-11-20 23:05" 900
as laptop "$zelkor" '/syncexp:office:"s:\"' >/dev/null
as office "$zelkor" '/syncimp:laptop:"s:\"' >/dev/null
file laptop talks/notes.txt now 4
file laptop recipes/soup.txt now 2
file laptop letters/anna-04.txt now 7
file laptop projects/bridge/plan.odt now 126
line item "Notes for the talk" Auto AllButExcluded "work" 'c:\talks\notes.txt' | as laptop "$seeder"
as laptop "$zelkor" '/syncexp:office:"s:\"' >/dev/null
printf ';Drive/directory remapping\r\n;Lines beginning with ; are treated as comments\r\n;\r\nc:\\accounts\\=c:\\home\\money\\\r\nc:\\projects\\=c:\\work\\projects\\\r\n' \
  >"$root/office/home/.local/share/zelkor/ReMap.txt"

touch -d "now + 1 hour" "$root/office/home/letters/anna-04.txt"

# Enough for a run to last.
mkdir "$root/office/home/films"
for n in 1 2 3; do truncate -s 500M "$root/office/home/films/summer-$n.mkv"; done

# --- The main window -------------------------------------------------------------------------------------------------

environment office
"${environment[@]}" "$zelkor" &
running=$!
main=$(window '^Zelkor! - office')
activate "$main"
typed "bri"
shot main-details "$main"
keys Escape
menu_view() { # its entries are numbered from the top
  keys alt+v
  for _ in $(seq "$1"); do keys Down; done
  keys Return
}
menu_view 0
shot main-icons "$main"
menu_view 1
shot main-small-icons "$main"
menu_view 2
shot main-list "$main"
menu_view 3
keys alt+f
shot main-menu "$main"
keys Escape Escape

keys Home
keys alt+e Return
item=$(window '^Item - \[')
xdotool windowmove --sync "$item" 300 200
activate "$item"
shot item "$item"
keys Escape
gone '^Item - \['

activate "$main"
keys alt+i s
list=$(window '^Select$')
shot list "$list"
keys Escape
gone '^Select$'

activate "$main"
keys alt+f r
editor=$(window '^Edit - ')
activate "$editor"
keys ctrl+f
typed projects
keys Return
shot editor "$editor"
keys ctrl+w
gone '^Edit - '

activate "$main"
keys alt+h a
about=$(window 'About')
shot about "$about"
keys Escape
gone 'About'

# --- The synchronisation window --------------------------------------------------------------------------------------

activate "$main"
keys alt+f y
sync=$(window '^Synchroni')
activate "$sync"
new_target() {
  keys ctrl+n
  typed "$1"
  keys Return
}
# The connection of the selected target, by the first letter of its name.
connection() {
  keys alt+c
  keys "$1"
}
keys alt+g Home
connection Home
keys Tab ctrl+a
typed 's:\'
keys ctrl+s
shot sync-file "$sync"
new_target studio
connection Down
keys Tab
typed 192.168.1.20
shot sync-ip "$sync"
new_target tablet
connection End
keys Tab
typed ftp.example.org
keys Tab
typed zelkor
keys Tab
typed "correct horse"
keys Tab
typed exchange
shot sync-ftp "$sync"

# --- Runs ------------------------------------------------------------------------------------------------------------

keys alt+g Home ctrl+i
log=$(window '^Sync Log')
xdotool windowmove --sync "$log" 320 160
xdotool windowsize --sync "$log" 640 600
activate "$log"
shot log "$log"
keys Escape
gone '^Sync Log'

# The program is stopped in the middle of an export, so that it stands still for its picture.
written() { sed -n 's/^wchar: //p' "/proc/$running/io"; }
activate "$sync"
before=$(written)
xdotool key ctrl+e
deadline=$((SECONDS + 60))
until [ $(($(written) - before)) -gt $((600 * 1024 * 1024)) ]; do
  [ $SECONDS -lt $deadline ] || fail "the export does not get on"
done
kill -STOP "$running"
xdotool windowraise "$sync"
snap run "$sync"
kill -CONT "$running"
log=$(window '^Sync Log')
activate "$log"
keys Escape
gone '^Sync Log'
activate "$sync"
keys Escape
gone '^Synchroni'

# --- The tray --------------------------------------------------------------------------------------------------------

activate "$main"
keys alt+f Down Down Down Down Return
xdotool windowminimize "$main"
settle
# The icon is the only small square of the program's on the screen; its menu opens above it.
read -r x y < <(xwininfo -root -tree | sed -n 's/.*"zelkor": ("zelkor" "Zelkor") *18x18+0+0 *+\([0-9]*\)+\([0-9]*\)$/\1 \2/p')
[ -n "${y:-}" ] || fail "no icon in the tray"
xdotool mousemove "$((x + 9))" "$((y + 9))" click 3
settle
cut tray $((x + 18 - 260)) $((y + 18 - 130)) 260 132
keys Escape
xdotool mousemove "$((x + 9))" "$((y + 9))" click 1
main=$(window '^Zelkor! - office')
activate "$main"
keys alt+f x
wait "$running"
running=""
