#!/bin/sh
# Installs what is missing of Debian's packages for one or more jobs: deps.sh build run install deb test demo
# screenshots tidy format bench fuzz windows installer test-windows.
# Says nothing and takes no time when everything is there. Never asks a question.
set -eu

# What every build needs, and what the tests of windows need beside it.
build="cmake ninja-build g++ ccache libgtest-dev libgmock-dev libwxgtk3.2-dev libgtk-3-dev pkg-config libcurl4-openssl-dev libssl-dev"
display="xvfb fluxbox x11-utils libxtst-dev adwaita-icon-theme fonts-dejavu-core"

# The icons of an installed program, and what looks at an installation.
pictures="librsvg2-bin"
validators="desktop-file-utils appstream shared-mime-info libglib2.0-bin groff-base"

# The compilers for Windows, and what its libraries are made with: their sources come from Debian's own.
windows="cmake ninja-build ccache make perl dpkg-dev googletest g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix
  librsvg2-bin icoutils"

packages=""
for job in "$@"; do
  case $job in
    build | demo) packages="$packages $build" ;;
    run) packages="$packages $build xdg-utils" ;;
    install) packages="$packages $build $pictures" ;;
    screenshots) packages="$packages $build $display xdotool imagemagick xterm" ;;
    deb) packages="$packages $build $pictures debhelper dpkg-dev lintian" ;;
    test | bench)
      # tar, cp and sync are essential packages; mount and mkfs.ext4 are used only when root runs the benchmarks.
      packages="$packages $build gcc python3 rsync unison openssh-client openssl iproute2 locales $display $pictures $validators"
      [ "$job" = test ] || packages="$packages e2fsprogs mount"
      ;;
    windows) packages="$packages $windows" ;;
    installer) packages="$packages $windows nsis" ;;
    test-windows) packages="$packages $build $windows $display nsis wine wine64 patchelf python3 xdotool imagemagick" ;;
    tidy) packages="$packages $build $display clang-tidy python3 googletest g++-mingw-w64-x86-64-posix" ;;
    format) packages="$packages clang-format" ;;
    fuzz) packages="$packages $build $display clang libclang-rt-14-dev" ;;
    *)
      echo "deps.sh: unknown job: $job" >&2
      exit 2
      ;;
  esac
done

if ! command -v dpkg-query >/dev/null; then
  echo "This is not Debian (no dpkg-query): these packages or their like are needed:$packages" >&2
  exit 0
fi

missing=""
for package in $packages; do
  case " $missing " in *" $package "*) continue ;; esac
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" -eq 0 ]; then
  as_root=""
elif command -v sudo >/dev/null; then
  as_root="sudo"
else
  echo "These Debian packages are missing, and neither root nor sudo is here to install them:" >&2
  echo " $missing" >&2
  echo "As root:  apt-get install -y --no-install-recommends$missing" >&2
  exit 1
fi

echo "Installing:$missing"
# shellcheck disable=SC2086  # the lists are meant to be split
{
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q update
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends $missing
}
