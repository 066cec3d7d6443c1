// The HLS scans for subtitles: a master playlist's subtitle renditions
// (label and location) and a media playlist's segment names.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "subtitles/playlist_scan.h"

namespace korvid::subtitles {
namespace {

using Names = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

TEST(PlaylistScan, MasterPlaylistRenditions) {
  const std::pair<std::string, Pairs> cases[] = {
      {"#EXTM3U\n#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"s\",NAME=\"English\",LANGUAGE=\"en\",URI=\"subs/en.m3u8\"\n"
       "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"s\",NAME=\"Deutsch\",URI=\"subs/de.m3u8\"\n"
       "#EXT-X-STREAM-INF:BANDWIDTH=1000,SUBTITLES=\"s\"\nvideo.m3u8\n",
       {{"en", "subs/en.m3u8"}, {"Deutsch", "subs/de.m3u8"}}},
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"a.m3u8\"\n", {{"Unknown", "a.m3u8"}}},
      {"#EXTM3U\r\n#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=\"fr\",URI=\"fr.m3u8\"\r\n", {{"fr", "fr.m3u8"}}},
      // Searches run past the tag's line: LANGUAGE and URI come from the audio line below.
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Sub\"\n#EXT-X-MEDIA:TYPE=AUDIO,LANGUAGE=\"es\",URI=\"audio.m3u8\"\n"
       "#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Other\",URI=\"other.m3u8\"\n",
       {{"es", "audio.m3u8"}, {"Other", "other.m3u8"}}},
      // The value starts one past the "=" whatever is there; no closing quote runs to the end.
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=xen\",URI=\"tail", {{"en", "tail"}}},
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"u\" LANGUAGE=", {{"", "u"}}},  // an empty label
      {"", {}},
      {"#EXTM3U\n#EXT-X-MEDIA:TYPE=AUDIO,URI=\"a.m3u8\"\n", {}},
      // The scan ends at the first tag without URI, and its name is matched in any case.
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"1\"\n#EXT-X-MEDIA:TYPE=SUBTITLES\n#ext-x-media:type=subtitles,URI=\"lower\"\n",
       {{"Unknown", "1"}, {"Unknown", "lower"}}},
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"1\"\n#EXT-X-MEDIA:TYPE=SUBTITLES\n", {{"Unknown", "1"}}},
  };
  for (const auto& [master, expected] : cases) {
    Pairs found;
    for (const auto& track : ScanMasterPlaylist(master)) found.emplace_back(track.label, track.uri);
    EXPECT_EQ(found, expected) << master;
  }
}

TEST(PlaylistScan, MediaPlaylistSegments) {
  const std::pair<std::string, Names> cases[] = {
      {"#EXTM3U\n#EXT-X-TARGETDURATION:6\n#EXTINF:6,\nseg1.vtt\n#EXTINF:6,\nseg2.vtt\n#EXT-X-ENDLIST\n", {"seg1.vtt", "seg2.vtt"}},
      {"#EXTM3U\r\n#EXTINF:6,\r\nseg1.vtt\r\n#EXTINF:6,\r\nseg2.vtt\r\n#EXT-X-ENDLIST\r\n", {"seg1.vtt", "seg2.vtt"}},
      // What follows the marker is dropped; duplicates are kept; a first line has no line feed before it.
      {"a.vtt?tok=1\nhttp://h/b.vtt\na.vtt", {"a.vtt", "http://h/b.vtt", "a.vtt"}},
      {"#EXTINF:4,\nsub-0.webvtt\nsub-1.webvtt\n", {"sub-0.webvtt", "sub-1.webvtt"}},
      // One ".vtt" anywhere (a comment here) shuts out every ".webvtt" entry.
      {"#EXTM3U\n# made from in.vtt\nsub-0.webvtt\nsub-1.webvtt\n", {"# made from in.vtt"}},
      {"#EXTM3U\nseg1.ts\nseg2.srt\n", {}},
      {"", {}},
  };
  for (const auto& [playlist, expected] : cases) EXPECT_EQ(ScanMediaPlaylistSegments(playlist), expected) << playlist;
}

}  // namespace
}  // namespace korvid::subtitles
