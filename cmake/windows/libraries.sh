#!/bin/bash
# The libraries that Zelkor for Windows is made of, from the sources of Debian's packages, each built once for a kind of
# machine and kept outside the tree:
#   libraries.sh TRIPLE           builds what is missing (i686-w64-mingw32 or x86_64-w64-mingw32)
#   libraries.sh --tests TRIPLE   and what only the tests need
#   libraries.sh --where TRIPLE   prints NAME=FOLDER for each; fails when one is missing that the programs need
# They are kept in ZELKOR_WINDOWS_CACHE, or ~/.cache/zelkor-windows, in folders named after what makes them differ: the
# library, its version, and its recipe below with the compiler's version.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")

libraries=(openssl curl wxwidgets)
test_libraries=(googletest)

only_where=""
case ${1-} in
  --where) only_where=yes; shift ;;
  --tests) libraries+=("${test_libraries[@]}"); shift ;;
esac
triple=${1:?"a triple is missing"}
case $triple in
  x86_64-w64-mingw32) toolchain=$here/x86_64.cmake openssl_target=mingw64 ;;
  i686-w64-mingw32) toolchain=$here/i686.cmake openssl_target="mingw no-asm" ;;
  *) echo "libraries.sh: unknown triple: $triple" >&2; exit 2 ;;
esac
cache=${ZELKOR_WINDOWS_CACHE:-$HOME/.cache/zelkor-windows}
jobs=${JOBS:-$(nproc)}

cc=$triple-gcc-posix

# The recipes: the sources are the present folder, the result goes to the folder $1, and the compiler is given $flags, which
# keep this machine's folders out of the result too. What nobody calls is left out by the linker, function by function.
common_flags="-O1 -ffunction-sections -fdata-sections"

make_googletest() {
  cmake -S . -B out -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_INSTALL_PREFIX="$1"
  cmake --build out -j "$jobs"
  cmake --install out
}

# Only the parts that Zelkor uses, and what those ask for; pictures are SVG, so that no other format's library is needed.
# Most of the time the compiler reads headers, so they are compiled once.
make_wxwidgets() {
  local parts="exceptions threads log loggui intl streams file ffile textfile textbuf longlong datetime timer stopwatch
    fontmap dynlib dynamicloader regkey stdpaths printfposparam baseevtloop sysoptions geometry variant any autoidman
    ole dataobj clipboard dnd dragimage accel caret tooltips mousewheel validators busyinfo display uiactionsim
    image wxdib ico_cur xpm palette imaglist artstd ownerdrawn uxtheme dccache
    button bmpbutton checkbox choice combobox gauge headerctrl listbox listctrl radiobtn scrollbar statbmp statbox
    statline stattext statusbar taskbaricon tbarnative textctrl toolbar treectrl menus menubar
    commondlg dirdlg filedlg msgdlg textdlg"
  mkdir out
  cd out
  # shellcheck disable=SC2046  # one word for each part
  ../configure --prefix="$1" --host="$triple" --build="$(../config.guess)" --with-msw --disable-shared \
    --with-dpi=per-monitor --enable-precomp-headers --enable-pch --disable-dependency-tracking --disable-option-checking \
    --without-subdirs --disable-tests --disable-compat30 --disable-all-features $(printf -- '--enable-%s ' $parts) \
    --without-libpng --without-libjpeg --without-libtiff --without-zlib --without-expat --without-regex \
    --without-liblzma --without-opengl --without-winhttp --with-nanosvg \
    CC="$triple-gcc-posix" CXX="$triple-g++-posix" CFLAGS="$flags" CXXFLAGS="$flags"
  # No folder of this machine in the programs.
  sed -i 's|^\(#define wxINSTALL_PREFIX\) .*|\1 ""|' lib/wx/include/*/wx/setup.h
  make -j "$jobs" install_baselib install_corelib
  make install-wxconfig
  # Its own way with the headers calls two programs for each.
  cp -r lib/wx/include "$1/lib/wx/"
  mkdir -p "$1/include"
  cp -r ../include "$1/include/wx-$(sed -n 's/^WX_RELEASE = *//p' Makefile)"
}

# TLS and what certificates need of the rest; in 32-bit without assembler code, which mingw's assembler does not take.
# Neither settings nor modules are read from a folder; the one that the library would name, from the root of the present
# drive, is where only the system may write, and no folder of ours.
make_openssl() {
  CC="$cc" AR="$triple-ar" RANLIB="$triple-ranlib" RC="$triple-windres" WINDRES="$triple-windres" \
    perl ./Configure $openssl_target --prefix=/Windows/System32/none --libdir=lib \
    --openssldir=/Windows/System32/none/ssl \
    no-shared no-dso no-module no-engine no-dynamic-engine no-tests no-legacy no-async no-autoload-config \
    no-cms no-cmp no-ts no-ct no-srp no-psk no-gost no-idea no-seed no-camellia no-aria no-bf no-cast no-des no-rc2 \
    no-rc4 no-md4 no-mdc2 no-rmd160 no-whirlpool no-sm2 no-sm3 no-sm4 no-ssl3 no-dtls no-comp no-srtp no-ec2m \
    no-blake2 no-siphash no-siv no-ocb no-dsa no-ocsp no-rfc3779 no-nextprotoneg no-ui-console \
    no-filenames no-makedepend $common_flags -O2
  make -j "$jobs" build_generated
  make -j "$jobs" libcrypto.a libssl.a
  mkdir -p "$1/include/openssl" "$1/lib"
  cp include/openssl/*.h "$1/include/openssl/"
  cp libcrypto.a libssl.a "$1/lib/"
}

# FTP and FTPS only, and HTTP, without parts of which this version can not be linked. Its settings for mingw are those that
# come with it: finding them out takes longer than compiling. Of that in turn most is reading the system's headers, which
# are compiled once, in the header that all its sources begin with.
make_curl() {
  local part off="" compile
  for part in COOKIES DICT FILE GOPHER IMAP LDAP LDAPS MQTT POP3 PROXY RTSP SMB SMTP TELNET TFTP NTLM ALTSVC HSTS NETRC \
    DOH MIME; do
    off+=" -DCURL_DISABLE_$part"
  done
  mkdir "lib/$triple"
  compile=(env TRIPLET="$triple" CFG=-ssl-ipv6 OPENSSL_PATH="$openssl" CC="$triple-gcc-posix" AR="$triple-ar"
    CPPFLAGS="-D_WIN32_WINNT=0x0601 -DCURL_STATICLIB$off" make -j "$jobs" -C lib -f Makefile.mk)
  cp lib/curl_setup.h lib/precompiled.c
  CFLAGS="$flags -x c-header" "${compile[@]}" "$triple/precompiled.o"
  mv "lib/$triple/precompiled.o" lib/curl_setup.h.gch
  CFLAGS=$flags "${compile[@]}" libcurl.a
  mkdir -p "$1/include/curl" "$1/lib/cmake/CURL"
  cp include/curl/*.h "$1/include/curl/"
  cp lib/libcurl.a "$1/lib/"
  cat >"$1/lib/cmake/CURL/CURLConfig.cmake" <<'CONFIG'
include(CMakeFindDependencyMacro)
find_dependency(OpenSSL 3)
if(NOT TARGET CURL::libcurl)
  get_filename_component(place ${CMAKE_CURRENT_LIST_DIR}/../../.. ABSOLUTE)
  add_library(CURL::libcurl STATIC IMPORTED)
  set_target_properties(CURL::libcurl PROPERTIES
    IMPORTED_LOCATION ${place}/lib/libcurl.a
    INTERFACE_INCLUDE_DIRECTORIES ${place}/include
    INTERFACE_COMPILE_DEFINITIONS CURL_STATICLIB
    INTERFACE_LINK_LIBRARIES "OpenSSL::SSL;OpenSSL::Crypto;ws2_32;crypt32;bcrypt;advapi32")
endif()
CONFIG
  cat >"$1/lib/cmake/CURL/CURLConfigVersion.cmake" <<CONFIG
set(PACKAGE_VERSION $(sed -n 's/^#define LIBCURL_VERSION "\([0-9.]*\).*/\1/p' include/curl/curlver.h))
if(PACKAGE_FIND_VERSION VERSION_LESS_EQUAL PACKAGE_VERSION)
  set(PACKAGE_VERSION_COMPATIBLE TRUE)
endif()
CONFIG
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
  for library in "${test_libraries[@]}"; do
    if place=$(newest_place "$library"); then echo "$library=$place"; fi
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
  "$here/debian_places.sh" deb-src >"$sources/list"
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
    (cd "$folder/tree"; flags="$common_flags -ffile-prefix-map=$PWD=."; "make_$library" "$place") >"$folder/build.log" 2>&1 </dev/null &
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
