#!/usr/bin/env bash
# The Windows build's checks: cross-builds the DLL and its tests, checks the
# DLL's export and import tables, and runs the tests under Wine, headless, in
# a throw-away Wine prefix. The network cases talk to loopback servers started
# here on the Linux side; media are made by the Linux side's ffmpeg, which the
# tests start through Wine.
#
# Three runs, each in a folder laid out as a Unity project's plug-in folder is:
#  - unit: the unit and Windows-only tests beside a stand-in libvlc.dll that
#    answers as an engine without plug-ins (the failed start-up cases);
#  - engine: the engine scenarios beside the engine's own Windows release
#    (WindowsKorvidSDK.dll, SDL2.dll, libcurl.dll, libvlc.dll, libvlccore.dll
#    and plugins/ side by side), plus a test plug-in that declares the option
#    of the release's absent decoder plug-in (tests/windows/decoder_options_plugin.c);
#  - apart: the same DLLs without plugins/, the plug-ins named to the engine
#    through the C runtime's environment, as the C# binding does.
# KORVID_WINDOWS_ENGINE names the engine's tarball (default: the shared copy
# beside the clone); it is unpacked once into the build folder.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
wine=${KORVID_WINE:-/usr/lib/wine/wine64}
engine_tarball=${KORVID_WINDOWS_ENGINE:-$root/../shared/windows-engine/vlc-3.0.2-win64.tar.xz}
engine_sha256=327a7ebe5c89f45e5d1e153c4fb5664139cac501bcfdaa6b3c633ce0fc0cb027

bash scripts/build-windows.sh --tests
build=$root/build-windows

echo "== DLL tables"
bash tests/check_exports.sh out/windows/WindowsKorvidSDK.dll tests/expected_exports.txt

echo "== the engine's Windows release"
engine=$build/windows-engine/vlc-3.0.2-win64
if [ ! -e "$engine/.unpacked" ]; then
  [ -f "$engine_tarball" ] || { echo "no engine tarball at $engine_tarball (set KORVID_WINDOWS_ENGINE)" >&2; exit 1; }
  echo "$engine_sha256  $engine_tarball" | sha256sum -c --quiet -
  rm -rf "$build/windows-engine"
  mkdir -p "$build/windows-engine"
  tar -xJf "$engine_tarball" -C "$build/windows-engine"
  touch "$engine/.unpacked"
fi
echo "   $(find "$engine/plugins" -name '*.dll' | wc -l) plug-ins in $engine"

run=$(mktemp -d "${TMPDIR:-/tmp}/korvid-wine-XXXXXX")
servers=()
cleanup() {
  for pid in "${servers[@]}"; do kill "$pid" 2> /dev/null || true; done
  WINEPREFIX=$build/wine-prefix /usr/lib/wine/wineserver -k 2> /dev/null || true
  rm -rf "$run"
}
trap cleanup EXIT

# One server per scheme; each lives until its input closes (the sleep ends
# with this script).
start_server() {
  mkdir -p "$run/$1"
  sleep infinity | python3 tests/support/loopback_server.py "$run/$1" ${2:-} > "$run/$1.log" 2>&1 &
  servers+=($!)
}
start_server http
start_server https --tls
for scheme in http https; do
  for _ in $(seq 100); do [ -s "$run/$scheme/.port" ] && break; sleep 0.1; done
  [ -s "$run/$scheme/.port" ] || { echo "the $scheme loopback server did not start"; cat "$run/$scheme.log"; exit 1; }
done

# Wine sees the Linux root as drive Z:.
windows_path() { echo "Z:${1//\//\\}"; }
export WINEPREFIX=$build/wine-prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" WINEARCH=win64
export KORVID_TEST_HTTP_ROOT=$(windows_path "$run/http") KORVID_TEST_HTTPS_ROOT=$(windows_path "$run/https")
export SDL_VIDEODRIVER=dummy SDL_AUDIODRIVER=dummy
# Wine's audio goes through ALSA; on a machine without a sound card the engine
# finds no audio device and plays without sound. A null device takes the sound,
# as on Linux.
printf 'pcm.!default { type null }\n' > "$run/asound.conf"
export ALSA_CONFIG_PATH=$run/asound.conf
# The engine writes its log (verbosity 2) to C:\REPOS\vlclog.log, a path of the
# library's fixed option list; where that folder is missing it writes to the
# console instead. Kept in the prefix, out of the test output.
mkdir -p "$WINEPREFIX/drive_c/REPOS"
rm -f "$WINEPREFIX/drive_c/REPOS/vlclog.log"
# A hung test fails here rather than holding CI until its own limit. The
# longest test takes under half a minute; five minutes is its limit.
under_wine() { (cd "$1" && shift && timeout --kill-after=10 300 "$wine" "$@"); }

echo "== unit and Windows-only tests under Wine (stand-in engine without plug-ins)"
mkdir "$run/unit"
cp out/windows/*.dll "$build/tests/windows/libvlc.dll" "$build/tests/windows/korvid_windows_tests.exe" "$run/unit/"
under_wine "$run/unit" korvid_windows_tests.exe

echo "== engine scenarios under Wine (the engine's Windows release)"
mkdir "$run/engine"
cp out/windows/*.dll "$engine/libvlc.dll" "$engine/libvlccore.dll" "$build/tests/windows/korvid_windows_engine_tests.exe" \
  "$run/engine/"
cp -a "$engine/plugins" "$run/engine/"
cp "$build/tests/windows/libkorvid_decoder_options_plugin.dll" "$run/engine/plugins/codec/"
# Each test in a process of its own, as ctest runs the Linux engine tests.
failed=()
run_each() {  # the folder, then grep's options choosing the tests by name
  local dir=$1 tests test status
  shift
  tests=$(under_wine "$dir" korvid_windows_engine_tests.exe --gtest_list_tests | tr -d '\r' \
          | awk '/^[^ ]/ { suite = $1 } /^  / { print suite $1 }' | grep "$@") || true
  [ -n "$tests" ] || { failed+=("(no tests listed in $dir)"); return; }
  for test in $tests; do
    if under_wine "$dir" korvid_windows_engine_tests.exe --gtest_filter="$test" > "$dir/$test.log" 2>&1; then
      echo "   passed: $test"
    else
      status=$?
      failed+=("$test")
      echo "   FAILED (exit status $status): $test"
      cat "$dir/$test.log"
    fi
  done
}
# EnginePluginFolder needs the folder apart (below).
run_each "$run/engine" -v '^EnginePluginFolder\.'

echo "== the engine's plug-ins in a folder apart, under Wine"
mkdir "$run/apart"
cp out/windows/*.dll "$engine/libvlc.dll" "$engine/libvlccore.dll" "$build/tests/windows/korvid_windows_engine_tests.exe" \
  "$run/apart/"
KORVID_TEST_PLUGIN_FOLDER=$(windows_path "$run/engine/plugins") run_each "$run/apart" -E '^EnginePluginFolder\.'

[ ${#failed[@]} -eq 0 ] || { echo "failed under Wine: ${failed[*]}"; exit 1; }
