#!/bin/bash
# Servers for the tests, the demo and the benchmark, out of Debian's packages but not installed: installing one starts it,
# and the FTP servers conflict with each other. servers.sh ftp unpacks vsftpd and pure-ftpd below build/ftp-servers, and
# servers.sh ssh the peer of rsync below build/ssh-server, where those who need them look.
set -euo pipefail
cd "$(dirname "$0")/.."

# What a server needs besides libraries that are always there comes with it.
case ${1:-} in
  ftp)
    packages=(vsftpd pure-ftpd libsodium23 libwrap0)
    folder=build/ftp-servers
    without="what needs a real FTP server will be left out" ;;
  ssh)
    packages=(openssh-server libwrap0)
    folder=build/ssh-server
    without="rsync over ssh will not be measured" ;;
  *)
    echo "servers.sh ftp|ssh" >&2
    exit 2 ;;
esac
[ ! -e "$folder/ready" ] || exit 0
command -v apt-get >/dev/null || { echo "No apt-get: $without." >&2; exit 0; }

unpacked=$(mktemp -d)
trap 'rm -rf "$unpacked"' EXIT
chmod 755 "$unpacked"
fetch() { (cd "$unpacked" && apt-get -q download "${packages[@]}" >log 2>&1); }
# Without the packages' lists, or with old ones, it takes newer ones.
if ! fetch && ! { [ "$(id -u)" -eq 0 ] && apt-get -q update >/dev/null 2>&1 && fetch; }; then
  cat "$unpacked/log" >&2
  echo "The server's packages could not be fetched: $without." >&2
  exit 0
fi
rm -rf "$folder"
mkdir -p "$folder"
for package in "$unpacked"/*.deb; do dpkg -x "$package" "$folder"; done
touch "$folder/ready"
