#!/bin/bash
# The libraries that Zelkor for Windows is made of, from the sources of Debian's packages, each built once for a kind of
# machine and kept outside the tree:
#   libraries.sh TRIPLE           builds what is missing (i686-w64-mingw32 or x86_64-w64-mingw32)
#   libraries.sh --where TRIPLE   prints NAME=FOLDER for each; fails when one is missing
# They are kept in ZELKOR_WINDOWS_CACHE, or ~/.cache/zelkor-windows, in folders named after what makes them differ: the
# library, its version, and its recipe below with the compiler's version.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")

libraries=(googletest wxwidgets openssl curl)

only_where=""
if [ "${1-}" = --where ]; then
  only_where=yes
  shift
fi
triple=${1:?"a triple is missing"}
case $triple in
  x86_64-w64-mingw32) toolchain=$here/x86_64.cmake openssl_target=mingw64 ;;
  i686-w64-mingw32) toolchain=$here/i686.cmake openssl_target="mingw no-asm" ;;
  *) echo "libraries.sh: unknown triple: $triple" >&2; exit 2 ;;
esac
cache=${ZELKOR_WINDOWS_CACHE:-$HOME/.cache/zelkor-windows}
jobs=${JOBS:-$(nproc)}

# The recipes: the sources are the present folder, the result goes to the folder $1. What nobody calls is left out by
# the linker, function by function.
common_flags="-O2 -ffunction-sections -fdata-sections"

make_googletest() {
  cmake -S . -B out -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$1"
  cmake --build out -j "$jobs"
  cmake --install out
}

# Without the parts that Zelkor does not use; pictures are SVG, so that no other format's library is needed.
make_wxwidgets() {
  mkdir out
  cd out
  ../configure --prefix="$1" --host="$triple" --build="$(../config.guess)" --with-msw --disable-shared \
    --with-dpi=per-monitor --enable-precomp-headers --enable-pch --disable-dependency-tracking --disable-option-checking \
    --without-libpng --without-libjpeg --without-libtiff --without-zlib --without-expat --without-regex \
    --without-liblzma --without-opengl --without-winhttp --with-nanosvg \
    --disable-xrc --disable-html --disable-htmlhelp --disable-mshtmlhelp --disable-help --disable-aui \
    --disable-propgrid --disable-ribbon --disable-stc --disable-richtext --disable-webview --disable-webviewie \
    --disable-webrequest --disable-mediactrl --disable-svg --disable-mdi --disable-docview --disable-printarch \
    --disable-postscript --disable-grid --disable-debugreport --disable-dbghelp --disable-sockets --disable-ipc \
    --disable-protocols --disable-url --disable-ftp --disable-http --disable-dialupman --disable-sound \
    --disable-joystick --disable-fs_inet --disable-fs_archive --disable-arcstream --disable-tarstream \
    --disable-zipstream --disable-secretstore --disable-fswatcher --disable-graphics-d2d --disable-wizarddlg \
    --disable-tipdlg --disable-aboutdlg --disable-animatectrl --disable-tests \
    CC="$triple-gcc-posix" CXX="$triple-g++-posix" CFLAGS="$common_flags" CXXFLAGS="$common_flags"
  make -j "$jobs"
  make install
}

# TLS and what certificates need of the rest; in 32-bit without assembler code, which mingw's assembler does not take.
# Neither settings nor modules are read from a folder; the one that the library would name, from the root of the present
# drive, is where only the system may write, and no folder of ours.
make_openssl() {
  CC="$triple-gcc-posix" AR="$triple-ar" RANLIB="$triple-ranlib" RC="$triple-windres" WINDRES="$triple-windres" \
    perl ./Configure $openssl_target --prefix=/Windows/System32/none --libdir=lib \
    --openssldir=/Windows/System32/none/ssl \
    no-shared no-dso no-module no-engine no-dynamic-engine no-tests no-legacy no-async no-autoload-config \
    no-cms no-cmp no-ts no-ct no-srp no-psk no-gost no-idea no-seed no-camellia no-aria no-bf no-cast no-rc2 \
    no-rc4 no-md4 no-mdc2 no-rmd160 no-whirlpool no-sm2 no-sm3 no-sm4 no-ssl3 no-dtls no-comp no-srtp no-ec2m \
    no-nextprotoneg no-ui-console $common_flags
  make -j "$jobs" build_generated
  make -j "$jobs" libcrypto.a libssl.a
  make -j "$jobs" install_dev DESTDIR="$PWD/installed"
  mkdir -p "$1"
  cp -r installed/Windows/System32/none/. "$1/"
}

# FTP and FTPS only, and HTTP, without parts of which this version can not be linked.
make_curl() {
  cmake -S . -B out -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_FLAGS="$common_flags" -DCMAKE_INSTALL_PREFIX="$1" -DCMAKE_INSTALL_LIBDIR=lib \
    -DBUILD_SHARED_LIBS=OFF -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DENABLE_MANUAL=OFF -DPICKY_COMPILER=OFF \
    -DCURL_USE_OPENSSL=ON -DCURL_CA_BUNDLE=none -DCURL_CA_PATH=none \
    -DOPENSSL_ROOT_DIR="$openssl" -DCMAKE_FIND_ROOT_PATH="$openssl" -DOPENSSL_USE_STATIC_LIBS=ON \
    -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF -DUSE_NGHTTP2=OFF -DUSE_LIBIDN2=OFF -DCURL_USE_LIBSSH2=OFF \
    -DCURL_USE_LIBPSL=OFF -DENABLE_THREADED_RESOLVER=ON -DENABLE_UNIX_SOCKETS=OFF \
    -DCURL_DISABLE_COOKIES=ON -DCURL_DISABLE_DICT=ON -DCURL_DISABLE_FILE=ON \
    -DCURL_DISABLE_GOPHER=ON -DCURL_DISABLE_IMAP=ON -DCURL_DISABLE_LDAP=ON -DCURL_DISABLE_LDAPS=ON \
    -DCURL_DISABLE_MQTT=ON -DCURL_DISABLE_POP3=ON -DCURL_DISABLE_PROXY=ON -DCURL_DISABLE_RTSP=ON \
    -DCURL_DISABLE_SMB=ON -DCURL_DISABLE_SMTP=ON -DCURL_DISABLE_TELNET=ON -DCURL_DISABLE_TFTP=ON \
    -DCURL_DISABLE_NTLM=ON -DCURL_DISABLE_ALTSVC=ON -DCURL_DISABLE_HSTS=ON -DCURL_DISABLE_NETRC=ON \
    -DCURL_DISABLE_DOH=ON -DCURL_DISABLE_MIME=ON -DCURL_DISABLE_OPENSSL_AUTO_LOAD_CONFIG=ON
  cmake --build out -j "$jobs"
  cmake --install out
}

# Debian's source package of each.
package_of() {
  case $1 in wxwidgets) echo wxwidgets3.2 ;; *) echo "$1" ;; esac
}

# What a library's folder is called without its version: a recipe that changes, or another compiler, makes another one.
recipe_key() {
  local machine=${triple%%-*}
  { declare -f "make_$1"; echo "$common_flags"
    dpkg-query -W "g++-mingw-w64-${machine/_/-}-posix" 2>/dev/null || "$triple-g++-posix" -dumpfullversion; } |
    sha256sum | cut -c 1-12
}
place_of() { echo "$cache/$triple/$1-$(recipe_key "$1")-$2"; }

# The newest that is there.
newest_place() {
  local found
  found=$(printf '%s\n' "$(place_of "$1" "")"*/ready | grep -v '\*' | sort -V | tail -n 1)
  [ -n "$found" ] && dirname "$found"
}

if [ -n "$only_where" ]; then
  for library in "${libraries[@]}"; do
    place=$(newest_place "$library") || { echo "$library for $triple has not been built" >&2; exit 1; }
    echo "$library=$place"
  done
  exit 0
fi

# apt with a list of source packages that is ours alone, from where the system takes its packages.
sources=$cache/sources
apt_options=(-o "Dir::Etc::sourcelist=$sources/list" -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$sources/lists"
  -o "Dir::Cache=$sources/cache" -o APT::Sandbox::User="" -q)
update_sources() {
  mkdir -p "$sources/lists/partial" "$sources/cache/archives/partial"
  [ -z "$(find "$sources/updated" -mmin -1440 2>/dev/null)" ] || return 0
  apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' \
    'Component: main' >"$sources/list"
  if apt-get "${apt_options[@]}" update >"$sources/update.log" 2>&1; then touch "$sources/updated"; fi
}
versions_of() {
  apt-cache "${apt_options[@]}" showsrc "$(package_of "$1")" 2>/dev/null |
    sed -n 's/^Version: //p' | sort -rVu
}

# The sources of a library as the folder $2/tree.
fetch() {
  local library=$1 folder=$2 version=$3
  (cd "$folder" && apt-get "${apt_options[@]}" source --download-only "$(package_of "$library")=$version" &&
    dpkg-source -x ./*.dsc tree) >"$folder/fetch.log" 2>&1
}

build() {
  local library=$1 version place folder
  for version in $(versions_of "$library"); do
    place=$(place_of "$library" "$version")
    [ ! -e "$place/ready" ] || return 0
    folder=$(mktemp -d "$cache/$triple/building-XXXXXX")
    # A mirror may know of a version that it does not have yet.
    if ! fetch "$library" "$folder" "$version"; then
      tail -n 1 "$folder/fetch.log" >&2
      rm -rf "$folder"
      continue
    fi
    echo "Building $library $version for $triple."
    rm -rf "$place"
    # In the background the first command that fails ends it; as a condition it would go on.
    (cd "$folder/tree"; "make_$library" "$place") >"$folder/build.log" 2>&1 </dev/null &
    if ! wait $!; then
      tail -n 40 "$folder/build.log" >&2
      echo "$library could not be built; everything that was said is in $folder/build.log" >&2
      exit 1
    fi
    touch "$place/ready"
    rm -rf "$folder"
    return 0
  done
  # Without a network, what there is must do.
  newest_place "$library" >/dev/null || { echo "The sources of $library could not be fetched." >&2; exit 1; }
}

mkdir -p "$cache/$triple"
exec 9>"$cache/$triple/lock"
flock 9
update_sources
for library in "${libraries[@]}"; do
  build "$library"
  declare "$library=$(newest_place "$library")"
done
