#!/usr/bin/env bash
# Builds the Linux library and the Windows DLL and assembles the Unity package:
#   dist/<name>-<version>.tgz   for the Package Manager's "Add package from tarball"
#   dist/<name>/                the same tree, for "Add package from disk" (its package.json)
# The package's own files are in unity-package/; the C# sources come from
# bindings/csharp/; the version is the one in CMakeLists.txt's project(), which
# the library's version exports also report.
#
# KORVID_LINUX_BUILD   CMake build folder of the Linux library (default: build)
# KORVID_WINDOWS_DIR   take WindowsKorvidSDK.dll and its companion DLLs from this
#                      folder as they are; by default they come from out/windows,
#                      (re)built by scripts/build-windows.sh when missing or stale
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

version=$(sed -n 's/^project(WindowsKorvidSDK VERSION \([0-9]*\.[0-9]*\.[0-9]*\) .*/\1/p' CMakeLists.txt)
[ -n "$version" ] || { echo "package.sh: no VERSION in CMakeLists.txt's project()" >&2; exit 1; }
name=$(python3 -c 'import json, sys; print(json.load(open(sys.argv[1]))["name"])' unity-package/package.json)

echo "== Linux library"
build=${KORVID_LINUX_BUILD:-build}
if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORVID_TESTS=OFF -DKORVID_BENCH=OFF \
    > "$build.configure.log" 2>&1 || { cat "$build.configure.log"; exit 1; }
fi
cmake --build "$build" --target WindowsKorvidSDK -j"${KORVID_JOBS:-2}"

echo "== Windows DLL"
windows=${KORVID_WINDOWS_DIR:-out/windows}
if [ -z "${KORVID_WINDOWS_DIR:-}" ]; then
  dll=out/windows/WindowsKorvidSDK.dll
  if [ ! -f "$dll" ] || [ -n "$(find CMakeLists.txt cmake core video multi net subtitles tracks exports \
                                   scripts/build-windows.sh -newer "$dll" -print -quit)" ]; then
    bash scripts/build-windows.sh
  fi
fi
[ -f "$windows/WindowsKorvidSDK.dll" ] || { echo "package.sh: no WindowsKorvidSDK.dll in $windows" >&2; exit 1; }

echo "== assembling $name $version"
out=dist/$name
rm -rf dist
mkdir -p "$out"
tar -C unity-package --exclude=./metas.py -cf - . | tar -C "$out" -xf -
python3 - "$out/package.json" "$version" <<'EOF'
import json, sys
path, version = sys.argv[1:]
with open(path) as f:
    package = json.load(f)
package["version"] = version
with open(path, "w") as f:
    json.dump(package, f, indent=2, ensure_ascii=False)
    f.write("\n")
EOF
cp bindings/csharp/KorvidNative.cs bindings/csharp/KorvidPlayer.cs bindings/csharp/KorvidEngineFiles.cs \
  bindings/csharp/Unity/KorvidVideoSurface.cs "$out/Runtime/"
plugins=$out/Runtime/Plugins/x86_64
mkdir -p "$plugins"
# The engine's own DLLs never ship: the user installs the engine (a test
# fixture standing in for it may sit beside the DLL after the Windows tests).
for dll in "$windows"/*.dll; do
  case $(basename "$dll") in libvlc.dll | libvlccore.dll) ;; *) cp "$dll" "$plugins/" ;; esac
done
strip --strip-debug -o "$plugins/libWindowsKorvidSDK.so" "$build/libWindowsKorvidSDK.so"

# The shipped DLLs were built from Debian's SDL2 and curl source packages: their
# copyright files are the notices those licences ask to travel with the binaries.
{
  echo "# Third-party notices"
  echo
  echo "The Windows folder of this package ships SDL2 and libcurl, built unmodified from Debian's source packages."
  for doc in libsdl2-2.0-0 libcurl4; do
    printf '\n## %s\n\n```\n' "$doc"
    cat "/usr/share/doc/$doc/copyright"
    printf '```\n'
  done
} > "$out/Third Party Notices.md"

python3 unity-package/metas.py "$out"

# Files only, sorted, with fixed owners and times (the last commit's), under the
# package/ root that npm-style tarballs have: the same sources give the same bytes.
stamp=$(git log -1 --format=%ct 2>/dev/null || echo 0)
tarball=dist/$name-$version.tgz
(cd "$out" && find . -type f | LC_ALL=C sort) \
  | tar -C "$out" --no-recursion --owner=0 --group=0 --numeric-owner --mtime="@$stamp" \
        --transform='s,^\./,package/,' -T - -cf - \
  | gzip -n > "$tarball"
echo "package: $tarball and $out/"
