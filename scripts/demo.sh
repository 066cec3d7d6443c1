#!/usr/bin/env bash
# Installs what the project needs, builds the library and the demo host, makes
# the built-in sample clip and plays it through the library. Extra arguments go
# to the demo (for example --location URL, --seek 3000, --no-autoplay);
# "--four" first plays four clips in four slots side by side. The demo prints
# its own lines only; the engine's messages go to out/demo/engine.log.
# KORVID_SKIP_INSTALL=1 skips the package install on a machine already set up.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
[ "${KORVID_SKIP_INSTALL:-0}" = 1 ] || bash scripts/install-deps.sh >/dev/null

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"${KORVID_JOBS:-2}" --target korvid_demo >/dev/null

# The demo runs headless: no window, audio to a null device, and its own
# working directory (the engine writes its log file there).
out="$root/out/demo"
mkdir -p "$out"
sample="$out/sample.mp4"
if [ ! -f "$sample" ]; then
  ffmpeg -nostdin -loglevel error -y \
    -f lavfi -i "testsrc2=s=640x360:r=25,drawtext=text='%{pts\\:hms}':fontsize=40:x=20:y=20:fontcolor=white:box=1:boxcolor=black" \
    -f lavfi -i "sine=f=440:sample_rate=48000" -t 10 \
    -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 -c:a aac -shortest "$sample" 2>/dev/null \
  || ffmpeg -nostdin -loglevel error -y -f lavfi -i "testsrc2=s=640x360:r=25" -f lavfi -i "sine=f=440:sample_rate=48000" \
    -t 10 -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 -c:a aac -shortest "$sample"
fi
# Subtitles for the sample: one cue every two seconds. The last cue of a list
# is never shown, so a closing cue follows the ones that matter.
subtitles="$out/captions.srt"
{
  for i in 0 1 2 3 4; do
    printf '%d\n00:00:%02d,200 --> 00:00:%02d,800\nCue %d: %d to %d seconds\n\n' \
      $((i + 1)) $((i * 2)) $((i * 2 + 1)) $((i + 1)) $((i * 2)) $((i * 2 + 2))
  done
  printf '6\n00:00:30,000 --> 00:00:31,000\n(end)\n'
} > "$subtitles"
printf 'pcm.!default { type null }\n' > "$out/.asoundrc"

cd "$out"
if [ "${1:-}" = "--four" ]; then
  # Four slots side by side: the sample and three solid colours.
  shift
  for colour in red green blue; do
    [ -f "$out/$colour.mp4" ] || ffmpeg -nostdin -loglevel error -y -f lavfi -i "color=c=$colour:s=320x180:r=25" \
      -t 10 -c:v libx264 -preset veryfast -pix_fmt yuv420p "$out/$colour.mp4"
  done
  exec env HOME="$out" SDL_VIDEODRIVER=dummy "$root/build/tools/korvid_demo" --multi "$sample" \
    --multi "$out/red.mp4" --multi "$out/green.mp4" --multi "$out/blue.mp4" --sheet "$out/four-slots.png" "$@"
fi
exec env HOME="$out" SDL_VIDEODRIVER=dummy "$root/build/tools/korvid_demo" \
  --location "$sample" --subtitles "$subtitles" --sheet "$out/contact-sheet.png" "$@"
