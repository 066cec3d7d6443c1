// The master-playlist scan for subtitle renditions on arbitrary bodies, and the
// directory cut that makes their locations absolute.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_checks.h"
#include "subtitles/playlist_scan.h"

namespace {

constexpr std::string_view kSubtitleTag = "#EXT-X-MEDIA:TYPE=SUBTITLES";
constexpr std::string_view kUnknownLabel = "Unknown";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using korvid::fuzz::Require;
  const std::string body = korvid::fuzz::AsText(data, size);
  const korvid::subtitles::TrackList tracks = korvid::subtitles::ScanMasterPlaylist(body);
  Require(tracks.size() <= korvid::fuzz::CountOccurrences(body, kSubtitleTag), "more tracks than subtitle tags");
  for (const auto& track : tracks) {
    Require(body.find(track.uri) != std::string::npos, "a track location is not text of the body");
    Require(track.label == kUnknownLabel || body.find(track.label) != std::string::npos,
            "a track label is not text of the body");
  }
  // The body doubles as a location: its directory part is a prefix of it.
  const std::string directory = korvid::subtitles::DirectoryPart(body);
  Require(body.compare(0, directory.size(), directory) == 0, "the directory part is not a prefix");
  return 0;
}
