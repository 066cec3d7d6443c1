#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "subtitles/playlist_scan.h"

namespace {

using korvid::subtitles::ScanMasterPlaylist;
using korvid::subtitles::ScanMediaPlaylistSegments;
using korvid::subtitles::TrackList;
using Names = std::vector<std::string>;

std::vector<std::pair<std::string, std::string>> Pairs(const TrackList& tracks) {
  std::vector<std::pair<std::string, std::string>> out;
  for (const auto& t : tracks) out.emplace_back(t.label, t.uri);
  return out;
}
using PairList = std::vector<std::pair<std::string, std::string>>;

TEST(MasterPlaylistScan, LabelsAndOrder) {
  const std::string master =
      "#EXTM3U\n"
      "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"s\",NAME=\"English\",LANGUAGE=\"en\",URI=\"subs/en.m3u8\"\n"
      "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"s\",NAME=\"Deutsch\",URI=\"subs/de.m3u8\"\n"
      "#EXT-X-STREAM-INF:BANDWIDTH=1000,SUBTITLES=\"s\"\nvideo.m3u8\n";
  EXPECT_EQ(Pairs(ScanMasterPlaylist(master)),
            (PairList{{"en", "subs/en.m3u8"}, {"Deutsch", "subs/de.m3u8"}}));
  EXPECT_EQ(Pairs(ScanMasterPlaylist("#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"a.m3u8\"\n")), (PairList{{"Unknown", "a.m3u8"}}));
  // The same with CR LF line ends.
  EXPECT_EQ(Pairs(ScanMasterPlaylist("#EXTM3U\r\n#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=\"fr\",URI=\"fr.m3u8\"\r\n")),
            (PairList{{"fr", "fr.m3u8"}}));
}

TEST(MasterPlaylistScan, SearchesRunPastTheTagsLine) {
  // The first subtitle line lacks LANGUAGE and URI: both come from the audio line below.
  const std::string master =
      "#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Sub\"\n"
      "#EXT-X-MEDIA:TYPE=AUDIO,LANGUAGE=\"es\",URI=\"audio.m3u8\"\n"
      "#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Other\",URI=\"other.m3u8\"\n";
  EXPECT_EQ(Pairs(ScanMasterPlaylist(master)), (PairList{{"es", "audio.m3u8"}, {"Other", "other.m3u8"}}));
  // The value starts one past the "=" whatever is there; no closing quote runs to the end.
  EXPECT_EQ(Pairs(ScanMasterPlaylist("#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=xen\",URI=\"tail")),
            (PairList{{"en", "tail"}}));
  // LANGUAGE= as the body's last characters: an empty label.
  EXPECT_EQ(Pairs(ScanMasterPlaylist("#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"u\" LANGUAGE=")), (PairList{{"", "u"}}));
}

TEST(MasterPlaylistScan, EndsAtTheFirstTagWithoutUri) {
  EXPECT_TRUE(ScanMasterPlaylist("").empty());
  EXPECT_TRUE(ScanMasterPlaylist("#EXTM3U\n#EXT-X-MEDIA:TYPE=AUDIO,URI=\"a.m3u8\"\n").empty());
  EXPECT_EQ(Pairs(ScanMasterPlaylist("#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"1\"\n#EXT-X-MEDIA:TYPE=SUBTITLES\n"
                                     "#ext-x-media:type=subtitles,URI=\"lower\"\n")),
            (PairList{{"Unknown", "1"}, {"Unknown", "lower"}}));
  EXPECT_EQ(ScanMasterPlaylist("#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"1\"\n#EXT-X-MEDIA:TYPE=SUBTITLES\n").size(), 1u);
}

TEST(MediaPlaylistScan, SegmentNames) {
  const std::string lf = "#EXTM3U\n#EXT-X-TARGETDURATION:6\n#EXTINF:6,\nseg1.vtt\n#EXTINF:6,\nseg2.vtt\n#EXT-X-ENDLIST\n";
  EXPECT_EQ(ScanMediaPlaylistSegments(lf), (Names{"seg1.vtt", "seg2.vtt"}));
  std::string crlf;
  for (const char c : lf) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  EXPECT_EQ(ScanMediaPlaylistSegments(crlf), (Names{"seg1.vtt", "seg2.vtt"}));
  // What follows the marker is dropped; duplicates are kept; a first line has no line feed before it.
  EXPECT_EQ(ScanMediaPlaylistSegments("a.vtt?tok=1\nhttp://h/b.vtt\na.vtt"), (Names{"a.vtt", "http://h/b.vtt", "a.vtt"}));
  EXPECT_EQ(ScanMediaPlaylistSegments("#EXTINF:4,\nsub-0.webvtt\nsub-1.webvtt\n"), (Names{"sub-0.webvtt", "sub-1.webvtt"}));
}

TEST(MediaPlaylistScan, MarkerChoice) {
  // One ".vtt" anywhere (a comment here) shuts out every ".webvtt" entry.
  EXPECT_EQ(ScanMediaPlaylistSegments("#EXTM3U\n# made from in.vtt\nsub-0.webvtt\nsub-1.webvtt\n"),
            (Names{"# made from in.vtt"}));
  EXPECT_TRUE(ScanMediaPlaylistSegments("#EXTM3U\nseg1.ts\nseg2.srt\n").empty());
  EXPECT_TRUE(ScanMediaPlaylistSegments("").empty());
}

}  // namespace
