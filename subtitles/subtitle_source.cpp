#include "subtitles/subtitle_source.h"

#include <array>
#include <fstream>

#include "subtitles/hls_playlists.h"
#include "subtitles/subtitle_state.h"

namespace korvid::subtitles {
namespace {

constexpr std::size_t kReadChunk = 4096;

// Everything after the last "."; the whole location when it has none.
std::string Extension(const std::string& location) {
  const std::size_t dot = location.rfind('.');
  return dot == std::string::npos ? location : location.substr(dot + 1);
}

}  // namespace

bool OpenSubtitleUri(const char* uri) {
  if (uri == nullptr) return false;
  SubtitleState& s = State();
  s.subtitleUri = uri;
  const std::string extension = Extension(s.subtitleUri);
  if (extension == "m3u8") {
    s.sourceMode = SourceMode::kHlsMaster;
    s.tracks = ParseSubtitleMasterPlaylist(s.subtitleUri.c_str());
    ResolveSubtitleTrackUris(s.subtitleUri);
    return !s.tracks.empty();
  }
  if (extension == "srt") {
    s.sourceMode = SourceMode::kDirectFile;
    s.tracks.clear();
    s.tracks.push_back(SubtitleTrackInfo{"?", s.subtitleUri});
    return true;
  }
  return false;
}

std::string ReadWholeFile(std::string path) {
  std::string content;
  std::ifstream file;
  file.exceptions(std::ios::badbit);  // a hard read error throws; a missing file does not
  file.open(path, std::ios::in);
  if (!file.is_open()) return content;
  std::array<char, kReadChunk> chunk;
  while (file.read(chunk.data(), chunk.size())) content.append(chunk.data(), chunk.size());
  content.append(chunk.data(), static_cast<std::size_t>(file.gcount()));
  return content;
}

}  // namespace korvid::subtitles
