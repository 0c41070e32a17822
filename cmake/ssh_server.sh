#!/bin/bash
# An SSH server for the network benchmark's peer, rsync over ssh: out of Debian's packages but not installed, since
# installing it would start it. It is unpacked below build/ssh-server, where bench/network.py looks for it.
set -euo pipefail
cd "$(dirname "$0")/.."

# libwrap0 is the one library that it needs and that is not always there.
packages=(openssh-server libwrap0)
folder=build/ssh-server
[ ! -e "$folder/ready" ] || exit 0
command -v apt-get >/dev/null || { echo "No apt-get: rsync over ssh will not be measured." >&2; exit 0; }

unpacked=$(mktemp -d)
trap 'rm -rf "$unpacked"' EXIT
chmod 755 "$unpacked"
fetch() { (cd "$unpacked" && apt-get -q download "${packages[@]}" >log 2>&1); }
# Without the packages' lists, or with old ones, it takes newer ones.
if ! fetch && ! { [ "$(id -u)" -eq 0 ] && apt-get -q update >/dev/null 2>&1 && fetch; }; then
  cat "$unpacked/log" >&2
  echo "The SSH server could not be fetched: rsync over ssh will not be measured." >&2
  exit 0
fi
rm -rf "$folder"
mkdir -p "$folder"
for package in "$unpacked"/*.deb; do dpkg -x "$package" "$folder"; done
touch "$folder/ready"
