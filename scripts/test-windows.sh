#!/usr/bin/env bash
# The Windows build's checks: cross-builds the DLL and its tests, checks the
# DLL's export and import tables, and runs the tests under Wine, headless, in
# a throw-away Wine prefix. The network cases talk to loopback servers started
# here on the Linux side. No engine runs under Wine: the tests get a stand-in
# libvlc.dll that answers as an engine without plug-ins, and the engine tests
# stay on Linux.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
wine=${KORVID_WINE:-/usr/lib/wine/wine64}

bash scripts/build-windows.sh --tests
build=$root/build-windows

echo "== DLL tables"
bash tests/check_exports.sh out/windows/WindowsKorvidSDK.dll tests/expected_exports.txt

echo "== Windows tests under Wine"
run=$(mktemp -d "${TMPDIR:-/tmp}/korvid-wine-XXXXXX")
servers=()
cleanup() {
  for pid in "${servers[@]}"; do kill "$pid" 2> /dev/null || true; done
  WINEPREFIX=$build/wine-prefix /usr/lib/wine/wineserver -k 2> /dev/null || true
  rm -rf "$run"
}
trap cleanup EXIT
cp out/windows/*.dll "$build/tests/windows/libvlc.dll" "$build/tests/windows/korvid_windows_tests.exe" "$run/"

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
cd "$run"
"$wine" korvid_windows_tests.exe
