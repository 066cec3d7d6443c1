#!/usr/bin/env bash
# Compares the built library's exported symbols of its own with the expected
# list: every expected export present, nothing else of ours exported.
#   check_exports.sh LIBRARY EXPECTED_LIST
# LIBRARY is the Linux .so or the Windows DLL. For the DLL it also checks the
# import table: the engine, SDL2, libcurl and Windows' own DLLs, and no
# runtime DLL of the compiler (those are linked in).
set -euo pipefail
library=$1
expected=$2
wanted=$(grep -v -E '^\s*(#|$)' "$expected" | LC_ALL=C sort -u)

if [ "$(head -c 2 "$library")" = MZ ]; then
  table=$(x86_64-w64-mingw32-objdump -p "$library")
  actual=$(echo "$table" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | awk '/^[[:space:]]+\[ *[0-9]+\]/ {print $NF}' | LC_ALL=C sort -u)
  imports=$(echo "$table" | awk '/DLL Name:/ {print $3}')
  system_dlls='^(KERNEL32|msvcrt|USER32|ADVAPI32|WS2_32)\.dll$'
  unexpected=$(echo "$imports" | grep -v -i -E "^(libvlc|SDL2|libcurl(-4)?)\.dll$" | grep -v -i -E "$system_dlls" || true)
  if [ -n "$unexpected" ]; then
    echo "the DLL imports what it should not need:" $unexpected
    exit 1
  fi
  echo "imports: $(echo "$imports" | tr '\n' ' ')"
else
  # Symbols the toolchain's runtime adds (sanitizers, _init/_fini) are not ours.
  toolchain='^((_init|_fini|_edata|_end|__bss_start)$|_?__(asan|ubsan|lsan|sanitizer|tsan|interceptor|msan)|_ZN[0-9]+__(sanitizer|asan|tsan|ubsan|lsan))'
  actual=$(nm -D --defined-only "$library" | awk '{print $3}' | grep -v -E "$toolchain" | LC_ALL=C sort -u)
fi
if [ "$actual" != "$wanted" ]; then
  echo "exported symbols differ from $expected (< expected, > exported):"
  diff <(echo "$wanted") <(echo "$actual") || true
  exit 1
fi
echo "exports match: $(echo "$wanted" | wc -l) symbols"
