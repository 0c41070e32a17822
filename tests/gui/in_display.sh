#!/bin/bash
# Runs a command in an X display of its own, with a window manager: in_display.sh COMMAND... Its status is the
# command's. Listing tests needs no display.
set -euo pipefail
case " $* " in *" --gtest_list_tests "*) exec "$@" ;; esac

folder=$(mktemp -d "${TMPDIR:-/tmp}/zelkor-display-XXXXXX")
server="" manager=""
cleanup() {
  status=$?
  [ -z "$manager" ] || kill -KILL "$manager" 2>/dev/null || true  # it may pass over a friendlier signal
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$folder"
  exit "$status"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

# The server writes the number of the first free display once it is ready, and stays when its last client leaves.
mkfifo "$folder/number"
Xvfb -displayfd 7 -screen 0 "${ZELKOR_SCREEN:-1280x1024x24}" -nolisten tcp -noreset 7>"$folder/number" 2>"$folder/server.log" &
server=$!
read -r -t 60 number <"$folder/number" || { echo "no X server: $(cat "$folder/server.log")" >&2; exit 1; }
export DISPLAY=:$number

# The manager would have a wallpaper set by a script, which covers the screen with a message where it finds no program for
# that, and takes the keyboard so; and the manager may be torn from the screen by the script's end.
mkdir "$folder/.fluxbox"
echo "background: unset" >"$folder/.fluxbox/overlay"
cat >"$folder/.fluxbox/init" <<SETTINGS
session.styleOverlay: $folder/.fluxbox/overlay
session.screen0.workspaces: 1
session.screen0.toolbar.visible: true
session.screen0.toolbar.tools: iconbar, systemtray
session.screen0.focusModel: ClickFocus
session.screen0.focusNewWindows: true
session.screen0.windowPlacement: RowSmartPlacement
SETTINGS
HOME=$folder fluxbox -no-slit >"$folder/manager.log" 2>&1 &
manager=$!
disown "$manager"  # or bash would tell of its end
# Windows mapped before the manager answers would not be managed.
deadline=$((SECONDS + 60))
until xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id"; do
  kill -0 "$manager" 2>/dev/null && [ $SECONDS -lt $deadline ] ||
    { echo "no window manager: $(grep -v -e ^Failed -e ^Setting "$folder/manager.log")" >&2; exit 1; }
done

# No other desktop's settings, accessibility bus or theme reach the test.
export GDK_BACKEND=x11 NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory GTK_THEME="${ZELKOR_THEME:-Adwaita}"
export GTK_OVERLAY_SCROLLING=0 GTK_IM_MODULE=gtk-im-context-simple DBUS_SESSION_BUS_ADDRESS=disabled:
unset WAYLAND_DISPLAY
LSAN_OPTIONS="suppressions=$(dirname "$(readlink -f "$0")")/leaks.supp:print_suppressions=0"
export LSAN_OPTIONS
"$@"
