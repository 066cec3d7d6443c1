#!/usr/bin/env bash
# Runs the managed test host headless, in a temporary directory:
#   run_managed_host.sh <mono> <korvid_managed_host.exe> <directory of the library> [host arguments...]
# The engine writes its log file into the working directory, SDL gets its
# dummy drivers, and ALSA a null device through $HOME/.asoundrc.
#
# Passes only when the host printed its closing line "0 failed": the Mono
# runtime can exit with status 0 after a native crash on one of the engine's
# threads, so the status alone is not trusted.
set -euo pipefail
mono=$1 host=$2 library_dir=$3
shift 3
work=$(mktemp -d "${TMPDIR:-/tmp}/korvid-managed-XXXXXX")
trap 'rm -rf "$work"' EXIT
printf 'pcm.!default { type null }\n' > "$work/.asoundrc"
export HOME="$work" SDL_VIDEODRIVER=dummy SDL_AUDIODRIVER=dummy
export LD_LIBRARY_PATH="$library_dir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
cd "$work"
status=0
"$mono" --debug "$host" "$@" 2>&1 | tee host.log || status=$?
grep -qx '0 failed' host.log || { echo "the managed host failed, crashed or was killed (status $status)"; exit 1; }
exit "$status"
