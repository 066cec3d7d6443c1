// Media and subtitle files the tests play, each made by one ffmpeg call into
// the test process's working directory on first use and reused after that.
// Paths are absolute.
#pragma once

#include <string>

namespace korvid::test {

// `seconds` of one `colour` (as ffmpeg names colours) at 160 x 90, 25 pictures
// a second with a key frame every second, and a 440 Hz tone unless `silent`.
// The container follows `extension` ("mp4", "mkv", "ts"); "faststart.mp4"
// puts the MP4 index in front, as a file meant for progressive download has it.
std::string ColourClip(const std::string& colour, double seconds, bool silent = false,
                       const std::string& extension = "mp4");

// `seconds` of black at 64 x 48 with the encoder's own key frame spacing (10 s),
// so that a seek decodes from a key frame seconds before its target, as in
// most files.
std::string SparseKeyFrameClip(double seconds);

// A Matroska clip of 30 s with two audio tracks (English 440 Hz, French 880 Hz).
std::string TwoAudioTrackClip();

// A Matroska clip of 10 s with two SubRip subtitle tracks (English, French)
// of four one-second cues at 1, 3, 5 and 7 s.
std::string TwoSubtitleTrackClip();

// 200,000 random bytes under a media file name.
std::string GarbageFile(const std::string& name);

// The bytes of the file at `path` (empty when there is none).
std::string ReadFile(const std::string& path);

// Writes `text` byte for byte to `path`, making its folder; returns the path.
std::string WriteFile(const std::string& path, const std::string& text);
// The same for `name` in the working directory.
std::string WriteWorkFile(const std::string& name, const std::string& text);

// ffmpeg's HLS muxer: "master.m3u8" with two WebVTT subtitle renditions
// (LANGUAGE "en": Alpha Bravo Charlie Delta, then "de": Eins Zwei Drei Vier),
// each a media playlist "out_<Name>_vtt.m3u8" over three 4-second segments
// "out_<Name><n>.vtt" (the last without cues), beside the video variants.
std::string HlsSubtitleSet();

// ffmpeg's HLS muxer on six seconds of a test pattern: master.m3u8 naming one
// variant low/index.m3u8 with 1-second segments, on demand (ending in
// #EXT-X-ENDLIST) or a live-style window of all six without the end marker;
// and that window's last four alone, the same segment names.
std::string HlsOnDemandSet();
std::string HlsLiveSet();
std::string HlsLiveTail();

// ffmpeg's DASH muxer on the same pattern: manifest.mpd with one adaptation
// set of two renditions in 1-second segments of fragmented MP4, 320 x 240 at
// 100 kbit/s and 160 x 120 at 300 kbit/s. (For VP9 ffmpeg would write WebM
// segments, which the engine's Windows release 3.0.2 does not play.)
std::string DashTwoSizeSet();

}  // namespace korvid::test
