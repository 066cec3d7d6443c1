#!/usr/bin/env bash
# Installs every system package the project needs on a fresh Debian 12 machine:
# the build, the tests, the benchmarks, the demo and the managed host.
set -euo pipefail

packages=(
  # build
  cmake g++ make pkg-config
  libvlc-dev vlc-plugin-base libsdl2-dev libcurl4-openssl-dev libpng-dev
  # the engine's plug-in cache generator: its install trigger writes plugins.dat,
  # without which every engine start-up loads all ~350 plug-ins to read them
  libvlc-bin
  # tests and benchmarks
  googletest libgtest-dev libbenchmark-dev python3 openssl
  ffmpeg nginx libnginx-mod-rtmp
  clang libclang-rt-14-dev
  # managed host
  mono-mcs mono-runtime
  # the Windows DLL: the cross compiler, the source packages of SDL2 and curl
  # (apt-get source unpacks them with dpkg-source), and Wine for its tests
  gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 dpkg-dev wine64
  # the engine's plug-in headers, for the Windows tests' plug-in that declares
  # an option of the decoder plug-in missing from the engine copy they run
  libvlccore-dev
)

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive

# apt-get source needs deb-src entries: the same archives and suites as the
# configured Debian deb entries, in files of our own.
add_source_entries() {
  local dir=/etc/apt/sources.list.d file
  for file in "$dir"/*.sources; do
    [ -e "$file" ] && [ "$file" != "$dir/korvid-deb-src.sources" ] || continue
    grep -qE '^URIs:.*debian' "$file" || continue
    sed -E 's/^Types:.*/Types: deb-src/' "$file"
    echo
  done | $SUDO tee "$dir/korvid-deb-src.sources" > /dev/null
  grep -hE '^deb (\[[^]]*\] )?[a-z]+://[^ ]*debian' /etc/apt/sources.list 2>/dev/null | sed 's/^deb /deb-src /' \
    | $SUDO tee "$dir/korvid-deb-src.list" > /dev/null || true
}
add_source_entries
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${packages[@]}"
