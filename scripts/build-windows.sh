#!/usr/bin/env bash
# Cross-builds WindowsKorvidSDK.dll with Debian's mingw-w64 (posix threads) and
# leaves it in out/windows/ beside every DLL it needs but the engine's:
# SDL2.dll and libcurl.dll, built from Debian's source packages with the same
# compiler and cached outside the clone, keyed by their source versions.
#   scripts/build-windows.sh [--tests]     --tests also builds the Windows tests
# Needs the packages of scripts/install-deps.sh (mingw-w64, dpkg-dev, the
# deb-src entry it adds); KORVID_JOBS sets the build's parallelism.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=${KORVID_JOBS:-2}
toolchain=$root/cmake/mingw-w64-x86_64.cmake
build=$root/build-windows
out=$root/out/windows
tests=OFF
[ "${1:-}" = --tests ] && tests=ON

# The source package's version as apt would fetch it, e.g. 2.26.5+dfsg-1.
source_version() {
  apt-get source --print-uris -qq "$1" | awk -v p="$1_" '$2 ~ /\.dsc$/ { sub(p, "", $2); sub(/\.dsc$/, "", $2); print $2; exit }'
}

sdl_version=$(source_version libsdl2)
curl_version=$(source_version curl)
[ -n "$sdl_version" ] && [ -n "$curl_version" ] || {
  echo "apt has no source package of libsdl2 or curl: run scripts/install-deps.sh (it adds a deb-src entry)" >&2
  exit 1
}
compiler=$(x86_64-w64-mingw32-gcc-posix -dumpfullversion)
# The build recipe below is part of the key: a changed option rebuilds.
recipe=$(sed -n '/^cross_build()/,/^}/p; /^build_dependencies()/,/^}/p' "$0" | md5sum | cut -c1-8)
deps=${XDG_CACHE_HOME:-$HOME/.cache}/korvid/windows-deps/sdl2-$sdl_version-curl-$curl_version-gcc-$compiler-$recipe

# Configures, builds and installs one CMake project into the dependency prefix.
# The C runtime pieces of GCC are linked in, so the DLLs need no libgcc DLL.
cross_build() {
  local source=$1 dir=$2
  shift 2
  cmake -S "$source" -B "$dir" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$deps.partial" -DCMAKE_C_FLAGS=-static-libgcc -DCMAKE_SHARED_LINKER_FLAGS=-static-libgcc \
    "$@" > "$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; exit 1; }
  cmake --build "$dir" -j"$jobs" > "$dir.build.log" 2>&1 || { tail -n 50 "$dir.build.log"; exit 1; }
  cmake --install "$dir" > /dev/null
}

build_dependencies() {
  local work
  work=$(mktemp -d "${TMPDIR:-/tmp}/korvid-windows-deps-XXXXXX")
  rm -rf "$deps.partial"
  (cd "$work" && apt-get source -qq libsdl2 curl > sources.log 2>&1) || { cat "$work/sources.log"; exit 1; }
  echo "   SDL2 $sdl_version"
  # Only video, rendering and threads are used; the other subsystems are left out.
  cross_build "$work"/libsdl2-*/ "$work/sdl2" -DSDL_SHARED=ON -DSDL_STATIC=OFF -DSDL_TEST=OFF \
    -DSDL_AUDIO=OFF -DSDL_JOYSTICK=OFF -DSDL_HAPTIC=OFF -DSDL_HIDAPI=OFF -DSDL_SENSOR=OFF -DSDL_POWER=OFF
  echo "   libcurl $curl_version (HTTP and HTTPS only, Schannel)"
  cross_build "$work"/curl-*/ "$work/curl" -DBUILD_SHARED_LIBS=ON -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF \
    -DENABLE_MANUAL=OFF -DHTTP_ONLY=ON -DCURL_USE_SCHANNEL=ON -DCURL_USE_OPENSSL=OFF -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF \
    -DCURL_ZSTD=OFF -DUSE_NGHTTP2=OFF -DUSE_LIBIDN2=OFF -DCURL_USE_LIBPSL=OFF -DCURL_USE_LIBSSH2=OFF
  mv "$deps.partial" "$deps"
  rm -rf "$work"
}

echo "== Windows dependencies"
if [ -d "$deps" ]; then
  echo "   cached in $deps"
else
  build_dependencies
fi

# No Windows SDK of the engine can be had here: its headers come from the
# Linux development package and its import library from the list of engine
# functions the library calls.
engine_sdk=$build/engine-sdk
mkdir -p "$engine_sdk/include" "$engine_sdk/lib"
# The headers keep their times, so that an unchanged engine rebuilds nothing.
rm -rf "$engine_sdk/include/vlc"
cp -a /usr/include/vlc "$engine_sdk/include/vlc"
x86_64-w64-mingw32-dlltool -d "$root/cmake/libvlc.def" -l "$engine_sdk/lib/libvlc.dll.a"

echo "== WindowsKorvidSDK.dll"
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
  -DKORVID_LIBVLC_SDK="$engine_sdk" -DKORVID_SDL2_SDK="$deps" -DCURL_DIR="$deps/lib/cmake/CURL" \
  -DKORVID_TESTS="$tests" -DKORVID_BENCH=OFF -DKORVID_DEMO=OFF > "$build.configure.log" 2>&1 \
  || { cat "$build.configure.log"; exit 1; }
cmake --build "$build" -j"$jobs"

rm -rf "$out"
mkdir -p "$out"
cp "$build/WindowsKorvidSDK.dll" "$deps/bin/SDL2.dll" "$deps"/bin/libcurl*.dll "$out/"
echo "   $(cd "$out" && ls | tr '\n' ' ')in $out"
