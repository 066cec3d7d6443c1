// Subtitle sources to file lists: the master playlist's renditions at open
// time, and each rendition's WebVTT segment URLs (or a direct file's one
// location) at the first update. Every fetch is synchronous on the caller's
// thread; failures are not reported (an empty body simply yields nothing).
#pragma once

#include <string>

#include "subtitles/subtitle_tracks.h"

namespace korvid::subtitles {

// Downloads the master playlist at `url` and lists its subtitle renditions
// (see ScanMasterPlaylist). Empty when the download fails.
TrackList ParseSubtitleMasterPlaylist(const char* url);

// Makes every track location of the current source absolute against
// `playlistUrl`'s directory, unless the first track's location starts with
// "http" (that one test decides for all tracks). The join is plain
// concatenation.
void ResolveSubtitleTrackUris(std::string playlistUrl);

// Downloads each track's media playlist on one reused easy handle and lists its
// segments as the playlist's directory followed by each segment name. One entry
// per track, in order, also for a track without segments. `subtitleUri` is
// not used.
SegmentLists ParseSubtitleMediaPlaylists(TrackList tracks, std::string subtitleUri);

// One entry per track whose only segment URL is the track's own location. Each
// location is requested once with no write function set, so a reachable body
// goes to standard output and is not kept (a local path simply fails).
SegmentLists BuildDirectTrackLists(TrackList tracks);

}  // namespace korvid::subtitles
