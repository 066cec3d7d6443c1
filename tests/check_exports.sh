#!/usr/bin/env bash
# Compares the built library's exported symbols of its own with the expected
# list: every expected export present, nothing else of ours exported.
# Symbols the toolchain's runtime adds (sanitizers, _init/_fini) are not ours.
set -euo pipefail
library=$1
expected=$2
actual=$(nm -D --defined-only "$library" | awk '{print $3}' \
  | grep -v -E '^(_init|_fini|_edata|_end|__bss_start)$' \
  | grep -v -E '^(__asan|__ubsan|__lsan|__sanitizer|__tsan|__interceptor|___interceptor|__msan)' \
  | grep -v -E '^(_ZN11__sanitizer|_ZN6__asan|_ZN6__tsan|_ZN7__ubsan|_ZN6__lsan)' \
  | LC_ALL=C sort -u)
wanted=$(grep -v -E '^\s*(#|$)' "$expected" | LC_ALL=C sort -u)
if [ "$actual" != "$wanted" ]; then
  echo "exported symbols differ from $expected (< expected, > exported):"
  diff <(echo "$wanted") <(echo "$actual") || true
  exit 1
fi
echo "exports match: $(echo "$wanted" | wc -l) symbols"
