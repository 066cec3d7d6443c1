#!/usr/bin/env bash
# The tests under load; scripts/test.sh runs this after its normal and ASan
# parts, on the normal build it left in build/:
#  - the soak label (hundreds of start-up, open, control and shut-down cycles
#    in one process, with bounds on the memory the allocator has handed out);
#    its figures are printed from ctest's log;
#  - a ThreadSanitizer build of the library and the engine tests, running the
#    playback, multi-instance and bad-media tests;
#  - the libFuzzer targets of the text scans, built with clang under ASan and
#    UBSan, each run for KORVID_FUZZ_SECONDS (default 30).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
jobs=${KORVID_JOBS:-2}
fuzz_seconds=${KORVID_FUZZ_SECONDS:-30}

timed() {
  local started=$SECONDS
  "$@"
  echo "   ($((SECONDS - started)) s)"
}

echo "== soak (normal build)"
timed ctest --test-dir build --output-on-failure -L soak -j"$jobs"
grep '^soak:' build/Testing/Temporary/LastTest.log || true

echo "== thread sanitizer build"
build_tsan() {
  cmake -S "$root" -B "$root/build-tsan" -DKORVID_TSAN=ON -DKORVID_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    > "$root/build-tsan.configure.log" 2>&1 || { cat "$root/build-tsan.configure.log"; exit 1; }
  cmake --build "$root/build-tsan" --target korvid_engine_tests -j"$jobs"
}
timed build_tsan
# TSan slows the engine several times over, so only the tests whose threads
# meet the library's shared state run here. See tests/tsan/suppressions.txt for
# the options.
export TSAN_OPTIONS="suppressions=$root/tests/tsan/suppressions.txt ignore_noninstrumented_modules=1 second_deadlock_stack=1 halt_on_error=0"
timed ctest --test-dir build-tsan --output-on-failure -L engine -R '^(Playback|MultiInstance|BadMedia)' -j1
unset TSAN_OPTIONS

echo "== fuzzing (${fuzz_seconds} s per target)"
timed bash scripts/fuzz.sh "$fuzz_seconds"
