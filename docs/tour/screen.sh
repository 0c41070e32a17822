# Waiting, typing and taking pictures, for the scripts beside it, which read it and have set
#   folder    where the pictures go
#   suffix    what their names end with; may be missing
#   patience  seconds that anything may take
# shellcheck shell=bash disable=SC2154  # set there

trap 'echo "$(basename "$0"): line $LINENO failed" >&2' ERR
fail() {
  echo "$(basename "$0"): $1" >&2
  exit 1
}

# window NAME: the number of the visible window whose title matches, once it is there.
window() {
  local deadline=$((SECONDS + patience)) found
  until found=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | tail -n 1) && [ -n "$found" ]; do
    [ $SECONDS -lt $deadline ] || fail "no window $1"
    sleep 0.1
  done
  echo "$found"
}
gone() {
  local deadline=$((SECONDS + patience))
  while xdotool search --onlyvisible --name "$1" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || fail "the window $1 stays"
    sleep 0.1
  done
}
# Waits until the screen does not change any more: two looks, a moment apart, show the same.
settle() {
  local deadline=$((SECONDS + patience)) before="" now
  until now=$(import -window root rgb:- | sha1sum) && [ "$now" = "$before" ]; do
    [ $SECONDS -lt $deadline ] || fail "the screen does not come to rest"
    before=$now
    sleep 0.5
  done
}
activate() {
  xdotool windowactivate --sync "$1"
  settle
}
keys() {
  xdotool key --delay 40 "$@"
  settle
}
typed() {
  xdotool type --delay 25 -- "$1"
  settle
}

# cut NAME X Y WIDTH HEIGHT: that part of the screen as a picture with a palette.
cut() {
  import -window root -crop "$4x$5+$2+$3" +repage -strip +dither -colors 256 "PNG8:$folder/$1${suffix:-}.png"
}
# snap NAME WINDOW: the window with its frame, and what lies over it; shot waits until it is at rest.
snap() {
  local name=$1 x y width height extents
  read -r -d '' x y width height < <(xwininfo -id "$2" |
    sed -n 's/.*\(Absolute upper-left [XY]\|Width\|Height\): *//p') || true
  IFS=', ' read -r -a extents < <(xprop -id "$2" _NET_FRAME_EXTENTS | sed 's/.*= //')
  cut "$name" $((x - extents[0])) $((y - extents[2])) $((width + extents[0] + extents[1])) \
    $((height + extents[2] + extents[3]))
}
shot() {
  settle
  snap "$@"
}

# A line of what the tool that makes items and targets reads.
line() { (IFS=$'\t'; printf '%s\n' "$*"); }
