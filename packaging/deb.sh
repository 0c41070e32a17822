#!/bin/bash
# Builds the Debian package from the sources at hand, as build/zelkor_VERSION_ARCHITECTURE.deb, and has lintian look at
# it: deb.sh JOBS. The package's own rules (packaging/debian) do the work in a copy under build/deb.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=$1
version=$(sed -n '1s/.*(\(.*\)).*/\1/p' packaging/debian/changelog)
program=$(sed -n 's/^project(zelkor VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[ "$version" = "$program" ] || { echo "The package is of version $version, the program of $program" >&2; exit 1; }

tree=build/deb/zelkor-$version
rm -rf build/deb
mkdir -p "$tree"
tar --create --exclude=./build --exclude=./.git . | tar --extract --directory "$tree"
cp -r packaging/debian "$tree/debian"

# The rules give the build a home of its own, which would hide the objects that ccache has.
export CCACHE_DIR=${CCACHE_DIR:-${HOME:-/tmp}/.cache/ccache} CCACHE_BASEDIR=$PWD/$tree
(cd "$tree" && DEB_BUILD_OPTIONS="parallel=$jobs noautodbgsym" dpkg-buildpackage --build=binary --no-sign) \
  >build/deb/build.log 2>&1 || { tail -n 40 build/deb/build.log >&2; exit 1; }

package=$(cd build/deb && echo zelkor_*.deb)
lintian --fail-on error,warning --display-info "build/deb/$package"
mv "build/deb/$package" "build/$package"
echo "build/$package is ready: apt-get install ./build/$package"
