#include "subtitles/playlist_scan.h"

#include <algorithm>

namespace korvid::subtitles {
namespace {

constexpr std::string_view kSubtitleTag = "#EXT-X-MEDIA:TYPE=SUBTITLES";
constexpr std::string_view kLanguage = "LANGUAGE=";
constexpr std::string_view kName = "NAME=";
constexpr std::string_view kUri = "URI=";
constexpr std::string_view kVttMarker = ".vtt";
constexpr std::string_view kWebVttMarker = ".webvtt";
constexpr std::string_view kUnknownLabel = "Unknown";

constexpr std::size_t kNotFound = std::string_view::npos;

// The value of an attribute found at `at`: from one past the character after
// its "=" to the next double quote.
std::string QuotedValue(std::string_view body, std::size_t at, std::string_view attribute) {
  const std::size_t begin = std::min(at + attribute.size() + 1, body.size());
  std::size_t end = body.find('"', begin);
  if (end == kNotFound) end = body.size();
  return std::string(body.substr(begin, end - begin));
}

std::string Label(std::string_view body, std::size_t from) {
  if (const std::size_t at = body.find(kLanguage, from); at != kNotFound) return QuotedValue(body, at, kLanguage);
  if (const std::size_t at = body.find(kName, from); at != kNotFound) return QuotedValue(body, at, kName);
  return std::string(kUnknownLabel);
}

}  // namespace

TrackList ScanMasterPlaylist(std::string_view body) {
  TrackList tracks;
  std::size_t pos = 0;
  for (;;) {
    pos = body.find(kSubtitleTag, pos);  // not found: every later search fails too
    std::string label = Label(body, pos);
    const std::size_t uriAt = body.find(kUri, pos);
    if (uriAt == kNotFound) break;
    tracks.push_back(SubtitleTrackInfo{std::move(label), QuotedValue(body, uriAt, kUri)});
    pos = pos + 1;
  }
  return tracks;
}

std::vector<std::string> ScanMediaPlaylistSegments(std::string_view body) {
  // The target duration and every other tag play no part: only the markers count.
  std::string_view marker;
  if (body.find(kVttMarker) != kNotFound) {
    marker = kVttMarker;
  } else if (body.find(kWebVttMarker) != kNotFound) {
    marker = kWebVttMarker;
  } else {
    return {};
  }
  const std::string_view suffix = marker.substr(1);

  std::vector<std::string> names;
  for (std::size_t at = body.find(marker); at != kNotFound; at = body.find(marker, at + 1)) {
    const std::size_t lineFeed = body.rfind('\n', at);
    const std::size_t lineStart = lineFeed == kNotFound ? 0 : lineFeed + 1;
    std::string name(body.substr(lineStart, at + 1 - lineStart));
    name.append(suffix);
    names.push_back(std::move(name));
  }
  return names;
}

std::string DirectoryPart(const std::string& location) {
  const std::size_t slash = location.rfind('/');
  return slash == std::string::npos ? location : location.substr(0, slash + 1);
}

}  // namespace korvid::subtitles
