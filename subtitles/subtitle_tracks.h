// Side-subtitle tracks as found in a source, and the file lists made from them.
#pragma once

#include <string>
#include <vector>

namespace korvid::subtitles {

// One rendition of an HLS master playlist, or the one direct SubRip file.
struct SubtitleTrackInfo {
  std::string label;  // the rendition's language, else its name, else "Unknown"; "?" for a file
  std::string uri;    // the rendition's media playlist, or the subtitle file itself
};

// A track's subtitle files, as absolute URLs (or the file's path), in playlist
// order with duplicates kept.
struct SubtitleSegmentList {
  std::string label;
  std::vector<std::string> segmentUrls;
  bool visited = false;  // always false when built; nothing reads it yet
};

using TrackList = std::vector<SubtitleTrackInfo>;
using SegmentLists = std::vector<SubtitleSegmentList>;

}  // namespace korvid::subtitles
