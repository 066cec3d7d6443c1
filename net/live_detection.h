// Live-stream detection: decides once per open whether the source is live by
// reading its DASH manifest or HLS playlists over HTTP, before the engine plays.
//
// The verdict lives in Record().isLive. Only the kinds "mpd" and "m3u8" are
// fetched; for any other kind (a media file, a local path) nothing reaches the
// network and the verdict is "not live".
//
// The text tests below are pure functions over the fetched body. They never
// read outside the text they are given, whatever it holds, so they can be fed
// arbitrary bytes.
#pragma once

#include <string>
#include <string_view>

namespace korvid::net {

// Decides whether `url` is live and stores the verdict in Record().isLive.
// `kind` is the location's extension as the opener extracted it, compared
// case-sensitively. Blocks the calling thread for at most two complete HTTP
// transfers (none for other kinds); network errors are not reported: an
// unreachable HLS location counts as live, an unreachable DASH one as not.
// A null `url` is taken as the empty location.
void CheckLiveStreaming(const char* url, std::string kind);

// The current verdict, as the host reads it.
bool LiveVerdict();

// DASH: true when the manifest text holds type="dynamic" exactly (double
// quotes, no blanks around "="), anywhere.
bool LiveManifestIsDynamic(std::string_view manifest);

// HLS: true when the playlist is a master playlist (holds "#EXT-X-STREAM-INF").
bool LivePlaylistIsMaster(std::string_view playlist);

// HLS: the reference of the first variant of a master playlist: the first
// "m3u8" at or after the first "#EXT-X-STREAM-INF", together with the text
// before it back to the start of its line (a CR or an LF ends the walk, so
// does the start of the text). Whatever follows "m3u8" on that line, a query
// for example, is dropped. Empty when the text has no such tag or no "m3u8"
// after it.
std::string LiveFirstVariantReference(std::string_view playlist);

// HLS: the media-playlist URL for `reference` found in the master at
// `masterUrl`. A reference containing "http" anywhere is taken as it stands;
// any other is appended to `masterUrl` cut back to (and keeping) its last "/".
// A master URL without "/" contributes nothing.
std::string LiveVariantUrl(std::string_view masterUrl, std::string_view reference);

// HLS: true when the media playlist holds "#EXT-X-ENDLIST" (on-demand).
bool LivePlaylistHasEndList(std::string_view playlist);

}  // namespace korvid::net
