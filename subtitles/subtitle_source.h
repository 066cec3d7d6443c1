// Attaching a side-subtitle source, and reading a local subtitle file.
#pragma once

#include <string>

namespace korvid::subtitles {

// Records `uri` as the subtitle location and, by its extension (the text after
// its last "."; case-sensitive, a query string counts), takes it as an HLS
// master playlist ("m3u8": its renditions become the tracks, the playlist is
// downloaded now) or a SubRip file ("srt": one track labelled "?"). Any other
// extension changes nothing else and gives false. True when there is at least
// one track afterwards. Loads no subtitle file and leaves the cue state alone.
bool OpenSubtitleUri(const char* uri);

// The whole content of the file at `path`, read in text mode in chunks of
// 4096 bytes; empty when the file cannot be opened. A hard read error throws
// std::ios_base::failure.
std::string ReadWholeFile(std::string path);

}  // namespace korvid::subtitles
