// The live-detection text scans on arbitrary bodies. An input holding a NUL
// byte is split there into the master playlist's location and its body;
// otherwise the whole input is the body of a playlist at a fixed location.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_checks.h"
#include "net/live_detection.h"

namespace {

constexpr std::string_view kDefaultMasterUrl = "http://127.0.0.1:8080/a/master.m3u8";
constexpr std::string_view kSuffix = "m3u8";

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using korvid::fuzz::Require;
  namespace net = korvid::net;
  const std::string input = korvid::fuzz::AsText(data, size);
  const std::size_t split = input.find('\0');
  const std::string_view whole = input;
  const std::string_view masterUrl = split == std::string::npos ? kDefaultMasterUrl : whole.substr(0, split);
  const std::string_view body = split == std::string::npos ? whole : whole.substr(split + 1);

  Require(net::LiveManifestIsDynamic(body) == (body.find("type=\"dynamic\"") != std::string_view::npos),
          "the DASH test disagrees with a plain search");
  const bool master = net::LivePlaylistIsMaster(body);
  const std::string reference = net::LiveFirstVariantReference(body);
  if (!master) Require(reference.empty(), "a variant was found in a media playlist");
  if (!reference.empty()) {
    Require(EndsWith(reference, kSuffix), "a variant reference does not end in m3u8");
    Require(reference.find_first_of("\r\n") == std::string::npos, "a variant reference spans lines");
    Require(body.find(reference) != std::string_view::npos, "a variant reference is not text of the body");
  }
  const std::string url = net::LiveVariantUrl(masterUrl, reference);
  Require(EndsWith(url, reference), "the media-playlist URL does not end with the reference");
  (void)net::LivePlaylistHasEndList(body);
  return 0;
}
