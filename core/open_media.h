// Opening one location on the main player.
#pragma once

#include <cstdint>
#include <string>

namespace korvid {

// Results of an open.
namespace open_result {
inline constexpr int32_t kPlaying = 0;
inline constexpr int32_t kEngineError = -1;   // the media reached the engine's error state
inline constexpr int32_t kRefused = 1;        // the engine refused to start playback
inline constexpr int32_t kNoMedia = 666;      // no media object could be made
}  // namespace open_result

// The text after the last "." of `text`; empty when there is no ".", when it
// is the last character, or when a "/" or "\" follows it (a dot in a folder
// name is no extension).
std::string UriExtension(const std::string& text);

// True when `location` begins with `prefix`, compared case-sensitively on the
// first four characters only.
bool HasSchemePrefix(const char* location, const char* prefix);

// A local path as the engine receives it: "/" becomes the platform's separator.
std::string EnginePath(std::string path);

// Opens `location`, starts it and blocks until the engine plays or fails.
int32_t OpenMainMedia(const char* location);

}  // namespace korvid
