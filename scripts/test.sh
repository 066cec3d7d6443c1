#!/usr/bin/env bash
# Installs what the project needs, then builds and runs every test twice: a
# normal build and an AddressSanitizer + UndefinedBehaviorSanitizer build.
# KORVID_SKIP_INSTALL=1 skips the package install on a machine already set up.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
[ "${KORVID_SKIP_INSTALL:-0}" = 1 ] || bash scripts/install-deps.sh

jobs=${KORVID_JOBS:-2}
configure_and_build() {
  local dir=$1
  shift
  cmake -S "$root" -B "$root/$dir" "$@" > "$root/$dir.configure.log" 2>&1 || { cat "$root/$dir.configure.log"; exit 1; }
  cmake --build "$root/$dir" -j"$jobs"
}

echo "== normal build"
configure_and_build build -DCMAKE_BUILD_TYPE=RelWithDebInfo
ctest --test-dir build --output-on-failure -L unit -j"$jobs"
ctest --test-dir build --output-on-failure -L engine -j1

echo "== Windows DLL"
# Cross-built with its dependencies, its export and import tables checked, and
# the unit tests and the engine scenarios run under Wine (the latter against the
# engine's own Windows release).
bash scripts/test-windows.sh

echo "== Unity package"
# scripts/package.sh (twice, for the GUIDs) with the library just built, the
# package's checks, and the managed host against the packaged library.
KORVID_LINUX_BUILD=build python3 tests/package/check_package.py "$(command -v mono)" "$(command -v mcs)"

echo "== sanitizer build (ASan + UBSan)"
configure_and_build build-asan -DKORVID_SANITIZE=ON -DKORVID_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# Pure logic: memory errors, undefined behaviour and leaks.
ASAN_OPTIONS=detect_leaks=1 ctest --test-dir build-asan --output-on-failure -L unit -j"$jobs"
# The real engine: memory errors and undefined behaviour. Leak checking is off
# here: the engine unloads its plug-ins before exit, so what they keep cannot
# be told apart from ours; the soak test measures our growth instead. The
# engine's adaptive-streaming plug-in frees with free() what it made with new,
# so that one check is off too.
ASAN_OPTIONS=detect_leaks=0:alloc_dealloc_mismatch=0 ctest --test-dir build-asan --output-on-failure -L engine -j1

# Soak, ThreadSanitizer and fuzzing.
bash scripts/test-load.sh
