#include "net/live_detection.h"

#include "core/log.h"
#include "core/log_lines.h"
#include "core/player_record.h"
#include "net/http_fetch.h"

namespace korvid::net {
namespace {

// The kinds whose manifests are read; compared case-sensitively.
constexpr std::string_view kDashKind = "mpd";
constexpr std::string_view kHlsKind = "m3u8";

// MPD@type of a manifest that is still growing, in the one spelling looked for.
constexpr std::string_view kDynamicType = "type=\"dynamic\"";
constexpr std::string_view kStreamInfTag = "#EXT-X-STREAM-INF";
constexpr std::string_view kPlaylistSuffix = "m3u8";
constexpr std::string_view kEndListTag = "#EXT-X-ENDLIST";
constexpr std::string_view kAbsoluteMarker = "http";

bool Contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// HLS: a media playlist given directly is live whatever it holds; a master
// playlist is judged by its first variant's media playlist alone.
bool HlsIsLive(const std::string& url) {
  const std::string master = HttpGetToString(url);
  if (!LivePlaylistIsMaster(master)) return true;
  const std::string reference = LiveFirstVariantReference(master);
  if (reference.empty()) return true;  // no variant to follow, so nothing shows an end
  const std::string media = HttpGetToString(LiveVariantUrl(url, reference));
  return !LivePlaylistHasEndList(media);  // a failed fetch leaves no end marker: live
}

}  // namespace

void CheckLiveStreaming(const char* url, std::string kind) {
  LogMethod("CheckLiveStreaming", log_line::kCheckLiveStreaming);
  const std::string location = url != nullptr ? url : "";
  bool live = false;
  // Only manifests are fetched: a media file over HTTP must not be downloaded
  // whole before it plays, and a local path must never reach the HTTP client.
  if (kind == kDashKind) {
    live = LiveManifestIsDynamic(HttpGetToString(location));
  } else if (kind == kHlsKind) {
    live = HlsIsLive(location);
  }
  Record().isLive.store(live);
}

bool LiveVerdict() { return Record().isLive.load(); }

bool LiveManifestIsDynamic(std::string_view manifest) { return Contains(manifest, kDynamicType); }

bool LivePlaylistIsMaster(std::string_view playlist) { return Contains(playlist, kStreamInfTag); }

std::string LiveFirstVariantReference(std::string_view playlist) {
  const std::size_t tag = playlist.find(kStreamInfTag);
  if (tag == std::string_view::npos) return {};
  const std::size_t suffix = playlist.find(kPlaylistSuffix, tag);
  if (suffix == std::string_view::npos) return {};
  std::size_t lineStart = suffix;
  while (lineStart > 0 && playlist[lineStart - 1] != '\n' && playlist[lineStart - 1] != '\r') {
    --lineStart;
  }
  return std::string(playlist.substr(lineStart, suffix + kPlaylistSuffix.size() - lineStart));
}

std::string LiveVariantUrl(std::string_view masterUrl, std::string_view reference) {
  if (Contains(reference, kAbsoluteMarker)) return std::string(reference);
  const std::size_t slash = masterUrl.rfind('/');
  const std::string_view directory =
      slash == std::string_view::npos ? std::string_view() : masterUrl.substr(0, slash + 1);
  std::string url;
  url.reserve(directory.size() + reference.size());
  url.append(directory).append(reference);
  return url;
}

bool LivePlaylistHasEndList(std::string_view playlist) { return Contains(playlist, kEndListTag); }

}  // namespace korvid::net
