#!/usr/bin/env bash
# Writes the fuzz targets' seed corpora into DIR/<target>/: sample texts of the
# kinds each scan reads (including the odd forms the scans must keep), plus the
# playlists, manifest and WebVTT segment that ffmpeg's own HLS and DASH muxers
# write for a short generated clip.
# Usage: fuzz/make_seeds.sh DIR
set -euo pipefail
out=$1
rm -rf "$out"
mkdir -p "$out"/{fuzz_vtt_cues,fuzz_srt_cues,fuzz_master_playlist,fuzz_media_playlist,fuzz_live_detection}

# seed TARGET NAME TEXT: TEXT may hold printf escapes (\n, \r, \0).
seed() { printf "$3" > "$out/$1/$2"; }
# Both cue parsers read both kinds of document.
cue_seed() { seed fuzz_vtt_cues "$1" "$2"; seed fuzz_srt_cues "$1" "$2"; }

cue_seed vtt-lf 'WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.500\nHello\nWorld\n\n2\n00:00:03.000 --> 00:00:04.000\nBye\n'
cue_seed vtt-crlf 'WEBVTT\r\n\r\n1\r\n00:00:01.000 --> 00:00:02.500\r\nHello\r\n\r\n'
cue_seed vtt-short-form '01:30.500 --> 01:31.000 align:start position:10%%\nx\n'
cue_seed vtt-arrow-in-text 'WEBVTT\n\n00:00:01.000 --> 00:00:02.000\na --> b\n\n00:00:03.000 --> 00:00:04.000\n\nnext block\n'
cue_seed vtt-no-blank '00:00:01.500--> 00:00:02.000\nx'
cue_seed srt-crlf '1\r\n00:00:01,000 --> 00:00:02,000\r\nText\r\n\r\n2\r\n00:00:02,500 --> 00:00:04,000\r\n<i>two</i>\r\nlines\r\n\r\n'
cue_seed srt-lf '1\n00:00:00,000 --> 00:00:00,999\nfirst\n\n2\n99:59:59,999 --> 99:59:59,999\nlast\n'
cue_seed srt-empty-field '1\n00::01,000 --> 00:00:02,000\nx\n\n'
cue_seed srt-huge-field '1\n00:00:01,99999999999 --> 00:00:02,000\nx\n\n'
cue_seed srt-end-of-document '1\n00:00:01,000 --> 00:00:02,000'

seed fuzz_master_playlist two-renditions '#EXTM3U\n#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID="s",NAME="English",LANGUAGE="en",URI="subs/en.m3u8"\n#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID="s",NAME="Deutsch",URI="subs/de.m3u8"\n#EXT-X-STREAM-INF:BANDWIDTH=1000,SUBTITLES="s"\nvideo.m3u8\n'
seed fuzz_master_playlist runs-past-line '#EXT-X-MEDIA:TYPE=SUBTITLES,NAME="Sub"\n#EXT-X-MEDIA:TYPE=AUDIO,LANGUAGE="es",URI="audio.m3u8"\n#EXT-X-MEDIA:TYPE=SUBTITLES,NAME="Other",URI="other.m3u8"\n'
seed fuzz_master_playlist unterminated '#EXT-X-MEDIA:TYPE=SUBTITLES,URI="u" LANGUAGE='
seed fuzz_master_playlist absolute '#EXTM3U\r\n#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE="fr",URI="http://127.0.0.1/fr.m3u8"\r\n'

seed fuzz_media_playlist vtt-segments '#EXTM3U\n#EXT-X-TARGETDURATION:6\n#EXTINF:6,\nseg1.vtt\n#EXTINF:6,\nseg2.vtt?tok=1\n#EXT-X-ENDLIST\n'
seed fuzz_media_playlist webvtt-segments '#EXTM3U\r\n#EXTINF:4,\r\nsub-0.webvtt\r\nsub-1.webvtt\r\n'
seed fuzz_media_playlist comment-wins '#EXTM3U\n# made from in.vtt\nsub-0.webvtt\n'

seed fuzz_live_detection dash-dynamic '<MPD xmlns="urn:mpeg:dash:schema:mpd:2011" type="dynamic" minimumUpdatePeriod="PT2S">\n</MPD>\n'
seed fuzz_live_detection dash-static-spaced "<MPD type = \"dynamic\" type='dynamic' type=\"static\">\n"
seed fuzz_live_detection master-relative 'http://127.0.0.1:8080/a/master.m3u8\0#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=800000\nlow/index.m3u8?x=1\n'
seed fuzz_live_detection master-absolute-crlf 'http://127.0.0.1/master.m3u8\0#EXTM3U\r\n#EXT-X-STREAM-INF:BANDWIDTH=1\r\nhttp://127.0.0.1:9/v/index.m3u8\r\n'
seed fuzz_live_detection media-ended '#EXTM3U\n#EXTINF:2,\nseg0.ts\n#EXT-X-ENDLIST\n'
seed fuzz_live_detection no-slash 'master.m3u8\0#EXT-X-STREAM-INF:\nv.m3u8'

# What real packagers write: ffmpeg's HLS muxer with a WebVTT rendition, a
# live-style window without end marker, and its DASH muxer.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '1\r\n00:00:00,500 --> 00:00:01,500\r\nHello\r\n\r\n2\r\n00:00:02,000 --> 00:00:03,250\r\nTwo\r\nlines\r\n\r\n' > "$work/in.srt"
clip=(-nostdin -loglevel error -y -f lavfi -i testsrc=size=64x48:rate=5:d=4)
video=(-c:v libx264 -preset ultrafast -b:v 100k)  # a bit rate, so the master names its variants
(
  cd "$work"
  mkdir vod live dash
  ffmpeg "${clip[@]}" -i in.srt -map 0:v -map 0:v -map 1:s "${video[@]}" -c:s webvtt \
    -f hls -hls_time 1 -hls_playlist_type vod -master_pl_name master.m3u8 \
    -var_stream_map "v:0,s:0,sgroup:subs,language:en v:1" vod/%v/index.m3u8
  ffmpeg "${clip[@]}" "${video[@]}" -f hls -hls_time 1 -hls_list_size 2 -hls_flags omit_endlist \
    -master_pl_name master.m3u8 -var_stream_map v:0 live/%v/index.m3u8
  ffmpeg "${clip[@]}" "${video[@]}" -f dash -seg_duration 1 dash/manifest.mpd
)
cp "$work/in.srt" "$out/fuzz_srt_cues/ffmpeg-input.srt"
for vtt in "$work"/vod/0/*.vtt; do
  cp "$vtt" "$out/fuzz_vtt_cues/ffmpeg-$(basename "$vtt")"
done
cp "$work/vod/0/index_vtt.m3u8" "$out/fuzz_media_playlist/ffmpeg-vtt-index.m3u8"
cp "$work/vod/master.m3u8" "$out/fuzz_master_playlist/ffmpeg-master.m3u8"
for kind in vod live; do
  cp "$work/$kind/master.m3u8" "$out/fuzz_live_detection/ffmpeg-$kind-master.m3u8"
  cp "$work/$kind/0/index.m3u8" "$out/fuzz_live_detection/ffmpeg-$kind-index.m3u8"
done
cp "$work/dash/manifest.mpd" "$out/fuzz_live_detection/ffmpeg-manifest.mpd"
