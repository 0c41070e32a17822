#!/bin/sh
# Has the desktop take notice of what was installed below a prefix: tell_desktop.sh PREFIX. A desktop that
# lacks one of these programs needs none.
share=$1/share
tell() {
  if command -v "$1" >/dev/null; then "$@" >/dev/null 2>&1 || true; fi
}
tell update-mime-database "$share/mime"
tell update-desktop-database "$share/applications"
tell gtk-update-icon-cache --quiet --force --ignore-theme-index "$share/icons/hicolor"
