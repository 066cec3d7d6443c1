// Media the engine tests play, generated with ffmpeg into the test process's
// working directory on first use and reused after that. Paths are absolute.
#pragma once

#include <string>

namespace korvid::test {

// A solid-colour H.264 clip (colour as ffmpeg names it, e.g. "red", "0x0000FF").
std::string SolidClip(const std::string& colour, double seconds = 4.0, const std::string& size = "320x240");

// A moving test pattern with a tone: H.264 video and AAC audio.
std::string AvClip(double seconds = 6.0);

// A Matroska clip with two audio tracks (440 Hz and 880 Hz).
std::string TwoAudioTrackClip(double seconds = 6.0);

// Bytes that are no media at all, under a media file name.
std::string GarbageFile(const std::string& name = "garbage.mp4");

}  // namespace korvid::test
