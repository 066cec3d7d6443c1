// Subtitle files for the tests, written into the test process's working
// directory on first use (ffmpeg for the HLS set and the Matroska clip).
// Paths are absolute.
#pragma once

#include <string>

namespace korvid::test {

// Writes `text` byte for byte to `name` in the working directory; returns the path.
std::string WriteWorkFile(const std::string& name, const std::string& text);

// The SubRip text both generated sets are made from: four one-second cues at
// 1, 3, 5 and 7 s, named after `words` (four words separated by blanks).
std::string FourCueSubRip(const std::string& words);

// A directory written by ffmpeg's HLS muxer: "master.m3u8" with two WebVTT
// subtitle renditions (LANGUAGE "en" with Alpha Bravo Charlie Delta, then "de"
// with Eins Zwei Drei Vier), each a media playlist "out_<Name>_vtt.m3u8" over
// three 4-second segments "out_<Name><n>.vtt" (the last one without cues),
// beside the video variants.
std::string HlsSubtitleSet();

// A Matroska clip of `seconds` with two SubRip subtitle tracks (English and
// French, cues from FourCueSubRip) beside its video.
std::string TwoSubtitleTrackClip(double seconds = 10.0);

}  // namespace korvid::test
