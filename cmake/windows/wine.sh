#!/bin/bash
# Runs a program for Windows under Wine: wine.sh PROGRAM WORD... Its status is the program's. Without a display it gets one
# of its own, and a new Windows with it, since a running one belongs to its display; otherwise the one of WINEPREFIX is
# taken when it is set.
#   wine.sh --within COMMAND WORD...   runs a command of this system, and every such program that it calls, in one Windows
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")

export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=} WINEARCH=${WINEARCH:-win64}
if [ -z "${DISPLAY:-}" ]; then
  unset WINEPREFIX
  exec "$here/../../tests/gui/in_display.sh" "$0" "$@"
fi

run=(wine)
if [ "${1-}" = --within ]; then
  run=()
  shift
fi
if [ -n "${WINEPREFIX:-}" ]; then exec "${run[@]}" "$@"; fi

# Wine wants the folder to be ours, and a home for what it links to from there.
own=$(mktemp -d "${TMPDIR:-/tmp}/zelkor-wine-XXXXXX")
leave() {
  status=$?
  wineserver --kill 2>/dev/null || true
  rm -rf "$own"
  exit "$status"
}
trap leave EXIT
trap 'exit 130' INT TERM
export WINEPREFIX=$own/prefix HOME=$own
wineboot --init >/dev/null 2>&1
"${run[@]}" "$@"
