#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under AddressSanitizer and
# UndefinedBehaviorSanitizer and runs each target, from the seeds checked in
# under fuzz/corpus/<target>/, for a bounded time, two at a time. A crash, a
# sanitizer report, a broken invariant or an exception the scans may not raise
# fails the script; the input that did it is left in build-fuzz/artifacts/.
# Usage: scripts/fuzz.sh [seconds per target]   (default 30)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-30}
dir=$root/build-fuzz
jobs=${KORVID_JOBS:-2}

CC=clang CXX=clang++ cmake -S "$root" -B "$dir" -DKORVID_FUZZ=ON -DKORVID_TESTS=OFF -DKORVID_BENCH=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo > "$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; exit 1; }
cmake --build "$dir" --target korvid_fuzz_targets -j"$jobs"

mkdir -p "$dir/artifacts"

declare -A dictionary=(
  [fuzz_vtt_cues]=cues [fuzz_srt_cues]=cues
  [fuzz_master_playlist]=playlists [fuzz_media_playlist]=playlists
  [fuzz_live_detection]=live
)

run_target() {
  local target=$1 corpus=$dir/corpus/$1
  mkdir -p "$corpus"
  # New inputs go to the first directory (the working corpus, kept between
  # runs in the build directory); the checked-in seeds are only read.
  ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    "$dir/fuzz/$target" -max_total_time="$seconds" -max_len=8192 -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -dict="$root/fuzz/dictionaries/${dictionary[$target]}.dict" \
    -artifact_prefix="$dir/artifacts/$target-" "$corpus" "$root/fuzz/corpus/$target" > "$dir/$target.log" 2>&1
}

targets=(fuzz_vtt_cues fuzz_srt_cues fuzz_master_playlist fuzz_media_playlist fuzz_live_detection)
failed=()
for ((i = 0; i < ${#targets[@]}; i += jobs)); do
  batch=("${targets[@]:i:jobs}")
  pids=()
  for target in "${batch[@]}"; do
    run_target "$target" &
    pids+=($!)
  done
  for k in "${!batch[@]}"; do
    target=${batch[$k]}
    if wait "${pids[$k]}"; then
      echo "== $target: $(grep -m1 -o 'stat::number_of_executed_units: *[0-9]*' "$dir/$target.log" | grep -o '[0-9]*$') inputs in ${seconds}s, no finding"
    else
      echo "== $target FAILED (log follows)"
      tail -n 60 "$dir/$target.log"
      failed+=("$target")
    fi
  done
done
[ ${#failed[@]} -eq 0 ] || { echo "fuzz findings in: ${failed[*]}"; exit 1; }
