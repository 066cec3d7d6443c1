// The media-playlist scan for WebVTT segment names on arbitrary bodies.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_checks.h"
#include "subtitles/playlist_scan.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using korvid::fuzz::CountOccurrences;
  using korvid::fuzz::Require;
  const std::string body = korvid::fuzz::AsText(data, size);
  const std::vector<std::string> names = korvid::subtitles::ScanMediaPlaylistSegments(body);
  // ".vtt" wins over ".webvtt"; every occurrence of the marker gives one name
  // that ends with it and holds no line feed.
  const std::size_t vtt = CountOccurrences(body, ".vtt");
  const std::size_t expected = vtt != 0 ? vtt : CountOccurrences(body, ".webvtt");
  const std::string_view marker = vtt != 0 ? ".vtt" : ".webvtt";
  Require(names.size() == expected, "segment count differs from the number of markers");
  for (const std::string& name : names) {
    Require(name.size() >= marker.size() && name.compare(name.size() - marker.size(), marker.size(), marker) == 0,
            "a segment name does not end with its marker");
    Require(name.find('\n') == std::string::npos, "a segment name spans lines");
  }
  return 0;
}
