// The text scans behind the HLS subtitle playlists: plain substring searches on
// the whole body, not a line-by-line HLS parser. Pure functions of the text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "subtitles/subtitle_tracks.h"

namespace korvid::subtitles {

// Subtitle renditions of a master playlist, in order. For each
// "#EXT-X-MEDIA:TYPE=SUBTITLES" tag the label is the first LANGUAGE="..."
// value from the tag on, else the first NAME="..." value, else "Unknown"; the
// location is the first URI="..." value from the tag on. None of these
// searches stops at the end of the tag's line. The scan ends at the first tag
// with no "URI=" after it. Each value begins one character after its "=" (the
// opening quote is not checked) and ends at the next double quote, or at the
// end of the body.
TrackList ScanMasterPlaylist(std::string_view body);

// Subtitle segment names of a media playlist, in order. The marker is ".vtt"
// when the body holds it anywhere, else ".webvtt", else there are none; each
// occurrence gives the text from the start of its line through the marker,
// whatever line it is on (comments and tags too).
std::vector<std::string> ScanMediaPlaylistSegments(std::string_view body);

// `location` up to and including its last "/"; a location without "/" is
// returned whole.
std::string DirectoryPart(const std::string& location);

}  // namespace korvid::subtitles
