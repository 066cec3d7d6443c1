#include "subtitles/hls_playlists.h"

#include <curl/curl.h>

#include "net/easy_handle.h"
#include "net/http_fetch.h"
#include "subtitles/playlist_scan.h"
#include "subtitles/subtitle_state.h"

namespace korvid::subtitles {

TrackList ParseSubtitleMasterPlaylist(const char* url) {
  if (url == nullptr) return {};
  return ScanMasterPlaylist(net::HttpGetToString(url));
}

void ResolveSubtitleTrackUris(std::string playlistUrl) {
  TrackList& tracks = State().tracks;
  if (tracks.empty()) return;
  if (tracks.front().uri.compare(0, 4, "http") == 0) return;
  const std::string base = DirectoryPart(playlistUrl);
  for (SubtitleTrackInfo& track : tracks) track.uri.insert(0, base);
}

SegmentLists ParseSubtitleMediaPlaylists(TrackList tracks, std::string /*subtitleUri*/) {
  SegmentLists lists;
  if (tracks.empty()) return lists;
  // One handle for every rendition, so connections to the same server are reused.
  const net::EasyHandle curl = net::OpenUnverifiedHandle();
  if (!curl) return lists;
  for (const SubtitleTrackInfo& track : tracks) {
    std::string body;
    curl_easy_setopt(curl.get(), CURLOPT_URL, track.uri.c_str());
    net::WriteResponseInto(curl.get(), &body);
    curl_easy_perform(curl.get());  // a failed transfer leaves a short or empty body

    SubtitleSegmentList list;
    list.label = track.label;
    const std::string base = DirectoryPart(track.uri);
    for (std::string& name : ScanMediaPlaylistSegments(body)) list.segmentUrls.push_back(base + name);
    lists.push_back(std::move(list));
  }
  return lists;
}

SegmentLists BuildDirectTrackLists(TrackList tracks) {
  SegmentLists lists;
  if (tracks.empty()) return lists;
  const net::EasyHandle curl = net::OpenUnverifiedHandle();
  if (!curl) return lists;
  for (const SubtitleTrackInfo& track : tracks) {
    // No write function: libcurl's default writer sends the body to standard output.
    curl_easy_setopt(curl.get(), CURLOPT_URL, track.uri.c_str());
    curl_easy_perform(curl.get());
    lists.push_back(SubtitleSegmentList{track.label, {track.uri}, false});
  }
  return lists;
}

}  // namespace korvid::subtitles
