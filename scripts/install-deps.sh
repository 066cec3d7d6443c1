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
)

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${packages[@]}"
