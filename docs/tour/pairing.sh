#!/bin/bash
# Makes the pictures of docs/network.md: two computers that are paired, by a code and by fingerprints, each in a terminal
# window in which everything is typed: pairing.sh VANDRY FOLDER. Called by "make screenshots" in a display of its own.
# Both are on this machine, so the address is "localhost".
set -euo pipefail
vandry=$(realpath "$1")
folder=$(realpath "$2")

export LC_ALL=C.UTF-8 TZ=UTC
root=$(mktemp -d "${TMPDIR:-/tmp}/zelkor-pairing-XXXXXX")
terminals=()
leave() {
  status=$?
  [ "$status" -eq 0 ] || import -window root "$folder/failed.png" || true
  [ ${#terminals[@]} -eq 0 ] || kill -KILL "${terminals[@]}" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$root"
  exit "$status"
}
trap leave EXIT
patience=30
source "$(dirname "$0")/screen.sh"

# until_there COMMAND...: runs it until it succeeds.
until_there() {
  local deadline=$((SECONDS + 30))
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || fail "not within 30 seconds: $*"
    sleep 0.1
  done
}
window() { xdotool search --onlyvisible --name "^$1\$"; }
# typed COMPUTER TEXT: a line, typed in that computer's terminal.
typed() {
  xdotool windowactivate --sync "$(window "$1")"
  xdotool type --delay 15 -- "$2"
  xdotool key Return
}
# prompts COMPUTER COUNT: so many prompts were shown; the shell notes each.
prompts() { [ "$(wc -l <"$root/$1/prompts")" -ge "$2" ]; }
# as COMPUTER WORD...: its Vandry, without a terminal.
as() {
  env -u ZELKOR_DIR -u XDG_DATA_HOME HOME="$root/$1/home" XDG_CONFIG_HOME="$root/$1/config" "$vandry" "${@:2}"
}

mkdir "$root/bin"
ln -s "$vandry" "$root/bin/vandry"
port=4223
for computer in office lap; do
  mkdir -p "$root/$computer"/{home,config}
  printf '[Orlim]\nUser=%s\n[Vandry]\nPort=%s\nListen=127.0.0.1\n' "$computer" "$port" >"$root/$computer/config/orlim.ini"
  port=$((port + 1))
  touch "$root/$computer/prompts"
  printf 'PS1="%s$ "\nPROMPT_COMMAND="echo >>%s"\n' "$computer" "$root/$computer/prompts" >"$root/$computer/rc"
done

# begin ROWS ROWS: a terminal for each computer, one above the other.
begin() {
  local y=40 computer
  terminals=()
  for computer in office lap; do
    : >"$root/$computer/prompts"
    env -u ZELKOR_DIR -u XDG_DATA_HOME HOME="$root/$computer/home" XDG_CONFIG_HOME="$root/$computer/config" \
      PATH="$root/bin:$PATH" xterm -fa "DejaVu Sans Mono" -fs 10 -geometry "106x$1+40+$y" -T "$computer" \
      -bg white -fg black +sb -xrm '*allowTitleOps: false' -xrm '*cursorBlink: false' \
      -e bash --noprofile --rcfile "$root/$computer/rc" -i &
    terminals+=($!)
    until_there window "$computer"
    until_there prompts "$computer" 1
    y=$((y + $1 * 17 + 60))
    shift
  done
}
# shot NAME: both windows with their frames, one above the other; then they are closed.
shot() {
  settle
  import -window root "$root/screen.png"
  local computer x y width height extents
  for computer in office lap; do
    read -r -d '' x y width height < <(xwininfo -id "$(window "$computer")" |
      sed -n 's/.*\(Absolute upper-left [XY]\|Width\|Height\): *//p') || true
    IFS=', ' read -r -a extents < <(xprop -id "$(window "$computer")" _NET_FRAME_EXTENTS | sed 's/.*= //')
    width=$((width + extents[0] + extents[1]))
    height=$((height + extents[2] + extents[3]))
    convert "$root/screen.png" -crop "${width}x$height+$((x - extents[0]))+$((y - extents[2]))" +repage \
      "$root/$computer.png"
  done
  convert -background none "$root/office.png" -size 1x8 xc:none "$root/lap.png" -append -strip +dither -colors 64 \
    "PNG8:$folder/$1.png"
  kill -KILL "${terminals[@]}"
  wait "${terminals[@]}" 2>/dev/null || true
}

# --- By a code -------------------------------------------------------------------------------------------------------

begin 8 6
typed office 'vandry --pair'
offer="$root/office/home/.local/share/zelkor/vandry.dat/pairing.txt"
until_there test -s "$offer"
# In the file without the dash.
code=$(grep -oE '\b[a-z0-9]{10}\b' "$offer" | head -n 1)
code=${code:0:5}-${code:5}
last=p
[ "${code: -1}" != p ] || last=q
typed lap "vandry --pair localhost ${code%?}$last"
until_there prompts lap 2
typed lap "vandry --pair localhost $code"
until_there prompts lap 3
until_there prompts office 2
shot pairing-code

# --- By fingerprints -------------------------------------------------------------------------------------------------

as office --unpair lap
as lap --unpair office
begin 8 8
for computer in office lap; do
  typed $computer 'vandry --fingerprint'
  until_there prompts $computer 2
done
typed office "vandry --pair lap $(as lap --fingerprint)"
typed lap "vandry --pair office $(as office --fingerprint)"
for computer in office lap; do
  until_there prompts $computer 3
  typed $computer 'vandry --paired'
  until_there prompts $computer 4
done
shot pairing-fingerprints
