// libFuzzer bodies for the text scans. Every target is this file, built with
// KORVID_FUZZ_BODY naming the body it runs. A broken invariant of a scan's
// result ends the run as a crash libFuzzer records; so does any exception
// other than the ones the cue parsers are documented to raise.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "net/live_detection.h"
#include "subtitles/cue_parser.h"
#include "subtitles/playlist_scan.h"

namespace korvid::fuzz {

constexpr std::size_t npos = std::string::npos;

// Stops the run with `what` when `holds` is false.
void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz invariant broken: %s\n", what);
  std::abort();
}

// Occurrences of `part` in `text`, each search resuming one character after the previous match.
std::size_t Count(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != npos; at = text.find(part, at + 1)) ++count;
  return count;
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The input as a whole document: one cue per arrow, each text cut from the
// document, every time a number. Only these errors may leave: a cue text that
// would start past the end of the document (both parsers), and, with the
// SubRip path's `strict` number conversion, a field that is no number or does
// not fit in 32 bits.
void Cues(const std::string& document, subtitles::CueList (*parse)(std::string, std::size_t), bool strict) {
  try {
    const subtitles::CueList cues = parse(document, 0);
    std::size_t count = 0;
    for (const subtitles::SubtitleCue* cue = cues.get(); cue != nullptr; cue = cue->next.get(), ++count) {
      Require(cue->text.size() <= document.size(), "a cue text is longer than its document");
      Require(std::isfinite(cue->startMs) && std::isfinite(cue->endMs), "a cue time is not a finite number");
    }
    Require(count == Count(document, "-->"), "cue count differs from the number of arrows");
  } catch (const std::invalid_argument& e) {
    if (!strict || std::string_view(e.what()) != "invalid stoi argument") throw;
  } catch (const std::out_of_range& e) {
    const std::string_view message = e.what();
    if (message != "invalid string position" && !(strict && message == "stoi argument out of range")) throw;
  }
}

void VttCues(const std::string& input) { Cues(input, &subtitles::ParseVttCues, false); }
void SrtCues(const std::string& input) { Cues(input, &subtitles::ParseSrtCues, true); }

// The master-playlist scan for subtitle renditions, and the directory cut that
// makes their locations absolute (the body doubles as a location).
void MasterPlaylist(const std::string& body) {
  const subtitles::TrackList tracks = subtitles::ScanMasterPlaylist(body);
  Require(tracks.size() <= Count(body, "#EXT-X-MEDIA:TYPE=SUBTITLES"), "more tracks than subtitle tags");
  for (const auto& track : tracks) {
    Require(body.find(track.uri) != npos && (track.label == "Unknown" || body.find(track.label) != npos),
            "a track's location or label is not text of the body");
  }
  Require(body.rfind(subtitles::DirectoryPart(body), 0) == 0, "the directory part is not a prefix");
}

// The media-playlist scan for WebVTT segment names: ".vtt" wins over
// ".webvtt"; every occurrence of the marker gives one name that ends with it
// and holds no line feed.
void MediaPlaylist(const std::string& body) {
  const auto names = subtitles::ScanMediaPlaylistSegments(body);
  const std::string_view marker = Count(body, ".vtt") != 0 ? ".vtt" : ".webvtt";
  Require(names.size() == Count(body, marker), "segment count differs from the number of markers");
  for (const std::string& name : names) {
    Require(EndsWith(name, marker) && name.find('\n') == npos, "a segment name spans lines or lacks its marker");
  }
}

// The live-detection scans. An input holding a NUL byte is split there into
// the master playlist's location and its body; otherwise the whole input is
// the body of a playlist at a fixed location.
void LiveDetection(std::string_view input) {
  const std::size_t split = input.find('\0');
  const std::string_view masterUrl = split == npos ? "http://127.0.0.1:8080/a/master.m3u8" : input.substr(0, split);
  const std::string_view body = split == npos ? input : input.substr(split + 1);
  Require(net::LiveManifestIsDynamic(body) == (body.find("type=\"dynamic\"") != npos), "the DASH test differs");
  const std::string reference = net::LiveFirstVariantReference(body);
  Require(reference.empty() || net::LivePlaylistIsMaster(body), "a variant was found in a media playlist");
  // A reference ends in m3u8, holds no line break and is text of the body.
  Require(reference.empty() || (EndsWith(reference, "m3u8") && reference.find_first_of("\r\n") == npos &&
                                body.find(reference) != npos),
          "a variant reference is not one line of the body ending in m3u8");
  Require(EndsWith(net::LiveVariantUrl(masterUrl, reference), reference), "the variant's URL does not end with it");
  (void)net::LivePlaylistHasEndList(body);
}

}  // namespace korvid::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  // The input as text, NUL bytes and all.
  korvid::fuzz::KORVID_FUZZ_BODY(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
