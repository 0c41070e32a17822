#!/bin/bash
# FTP servers for the tests and the demo, out of Debian's packages but not installed: the packages conflict with each
# other, and installing one starts it. They are unpacked below build/ftp-servers, where both look for them.
set -euo pipefail
cd "$(dirname "$0")/.."

# What the servers need besides libraries that are always there comes with them.
packages=(vsftpd pure-ftpd libwrap0)
folder=build/ftp-servers
[ ! -e "$folder/ready" ] || exit 0
command -v apt-get >/dev/null || { echo "No apt-get: what needs a real FTP server will be left out." >&2; exit 0; }

unpacked=$(mktemp -d)
trap 'rm -rf "$unpacked"' EXIT
chmod 755 "$unpacked"
fetch() { (cd "$unpacked" && apt-get -q download "${packages[@]}" >log 2>&1); }
# Without the packages' lists, or with old ones, it takes newer ones.
if ! fetch && ! { [ "$(id -u)" -eq 0 ] && apt-get -q update >/dev/null 2>&1 && fetch; }; then
  cat "$unpacked/log" >&2
  echo "The FTP servers could not be fetched: what needs a real one will be left out." >&2
  exit 0
fi
rm -rf "$folder"
mkdir -p "$folder"
for package in "$unpacked"/*.deb; do dpkg -x "$package" "$folder"; done
touch "$folder/ready"
