#!/usr/bin/env bash
# Runs the engine tests of an existing build again and again, stopping at the
# first failure: shows that they depend on no machine's speed.
#   scripts/repeat-engine-tests.sh [RUNS (20)] [BUSY_LOOPS (0)] [BUILD_DIR (build)]
# BUSY_LOOPS shell loops spin beside the tests for the whole time (2 keeps both
# cores of a 2-core machine busy).
set -euo pipefail
runs=${1:-20}
busy=${2:-0}
build=${3:-build}
cd "$(dirname "$0")/.."

loops=()
stop_loops() { for pid in "${loops[@]}"; do kill "$pid" 2> /dev/null || true; done; }
trap stop_loops EXIT
for _ in $(seq "$busy"); do
  (while :; do :; done) &
  loops+=($!)
done

for run in $(seq "$runs"); do
  if ! ctest --test-dir "$build" -L engine -j1 --output-on-failure > "$build/engine-run.log" 2>&1; then
    cat "$build/engine-run.log"
    echo "run $run of $runs failed (with $busy busy loops)"
    exit 1
  fi
  echo "run $run of $runs passed"
done
echo "$runs runs in a row passed (with $busy busy loops)"
