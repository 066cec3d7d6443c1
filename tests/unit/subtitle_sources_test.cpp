#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "net/http_fetch.h"
#include "subtitles/cue_parser.h"
#include "subtitles/hls_playlists.h"
#include "subtitles/subtitle_lifecycle.h"
#include "subtitles/subtitle_source.h"
#include "subtitles/subtitle_state.h"
#include "support/http_server.h"
#include "support/media.h"

namespace {

namespace subs = korvid::subtitles;
using korvid::test::HttpServer;
using Strings = std::vector<std::string>;

std::vector<std::pair<std::string, std::string>> Tracks() {
  std::vector<std::pair<std::string, std::string>> out;
  for (const auto& t : subs::State().tracks) out.emplace_back(t.label, t.uri);
  return out;
}
using PairList = std::vector<std::pair<std::string, std::string>>;

class SubtitleSources : public testing::Test {
 protected:
  void SetUp() override {
    server_.clearRequests();
    subs::ResetOnInit();
    subs::State().tracks.clear();
  }
  void TearDown() override { SetUp(); }

  HttpServer& server_ = korvid::test::SharedServer();
};

TEST_F(SubtitleSources, ExtensionDecidesTheKindOfSource) {
  EXPECT_TRUE(NativeOpenSubtitleURI("subs/first.srt"));
  EXPECT_TRUE(NativeOpenSubtitleURI("subs/en.srt"));
  EXPECT_EQ(subs::State().sourceMode, subs::SourceMode::kDirectFile);
  EXPECT_EQ(Tracks(), (PairList{{"?", "subs/en.srt"}}));
  // Unknown extensions (case and query text count) replace the location only.
  for (const char* other : {"subs/en.vtt", "subs/en.SRT", "list.M3U8", "list.m3u8?a=b", "no-dot", ""}) {
    EXPECT_FALSE(NativeOpenSubtitleURI(other)) << other;
    EXPECT_EQ(subs::State().subtitleUri, other);
  }
  EXPECT_EQ(Tracks(), (PairList{{"?", "subs/en.srt"}}));
  EXPECT_EQ(subs::State().sourceMode, subs::SourceMode::kDirectFile);
  EXPECT_FALSE(NativeOpenSubtitleURI(nullptr));
  EXPECT_TRUE(server_.requests().empty());  // a direct file is not touched at open time
}

TEST_F(SubtitleSources, MasterPlaylistTracksAreResolvedAgainstItsDirectory) {
  server_.serve("/hls/master.m3u8",
                 "#EXTM3U\n#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=\"en\",NAME=\"English\",URI=\"subs/en.m3u8\"\n"
                 "#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Other\",URI=\"/abs/../x.m3u8\"\n");
  ASSERT_TRUE(NativeOpenSubtitleURI(server_.url("/hls/master.m3u8").c_str()));
  EXPECT_EQ(subs::State().sourceMode, subs::SourceMode::kHlsMaster);
  const std::string base = server_.url("/hls/");
  EXPECT_EQ(Tracks(), (PairList{{"en", base + "subs/en.m3u8"}, {"Other", base + "/abs/../x.m3u8"}}));

  // The first track alone decides: an absolute first location leaves a relative second one.
  server_.serve("/abs.m3u8", "#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"http://elsewhere/a.m3u8\"\n"
                              "#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"b.m3u8\"\n");
  ASSERT_TRUE(NativeOpenSubtitleURI(server_.url("/abs.m3u8").c_str()));
  EXPECT_EQ(Tracks(), (PairList{{"Unknown", "http://elsewhere/a.m3u8"}, {"Unknown", "b.m3u8"}}));

  // No subtitle rendition, or no playlist at all: no tracks and false.
  server_.serve("/plain.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nv.m3u8\n");
  EXPECT_FALSE(NativeOpenSubtitleURI(server_.url("/plain.m3u8").c_str()));
  EXPECT_TRUE(Tracks().empty());
  EXPECT_FALSE(NativeOpenSubtitleURI(korvid::test::DeadLocation("/m.m3u8").c_str()));
}

TEST_F(SubtitleSources, MediaPlaylistsBecomeSegmentLists) {
  server_.serve("/a/en.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\nseg1.vtt?t=1\n#EXTINF:4,\nseg2.vtt\n");
  server_.serve("/b/de.m3u8", "#EXTM3U\n#EXTINF:4,\nts-only.ts\n");
  const subs::TrackList tracks{{"en", server_.url("/a/en.m3u8")}, {"de", server_.url("/b/de.m3u8")},
                               {"gone", server_.url("/missing.m3u8")}};
  const subs::SegmentLists lists = subs::ParseSubtitleMediaPlaylists(tracks, "unused");
  ASSERT_EQ(lists.size(), 3u);
  EXPECT_EQ(lists[0].label, "en");
  EXPECT_EQ(lists[0].segmentUrls, (Strings{server_.url("/a/seg1.vtt"), server_.url("/a/seg2.vtt")}));
  EXPECT_EQ(lists[1].label, "de");
  EXPECT_TRUE(lists[1].segmentUrls.empty());
  EXPECT_TRUE(lists[2].segmentUrls.empty());
  EXPECT_FALSE(lists[0].visited);
  EXPECT_TRUE(subs::ParseSubtitleMediaPlaylists({}, "").empty());
}

TEST_F(SubtitleSources, DirectTrackListsRequestEachLocationOnce) {
  server_.serve("/file.srt", "1\n00:00:01,000 --> 00:00:02,000\nx\n\n");
  const subs::TrackList tracks{{"?", server_.url("/file.srt")}, {"?", "/no/such/local.srt"}};
  const subs::SegmentLists lists = subs::BuildDirectTrackLists(tracks);
  ASSERT_EQ(lists.size(), 2u);
  EXPECT_EQ(lists[0].segmentUrls, (Strings{server_.url("/file.srt")}));
  EXPECT_EQ(lists[1].label, "?");
  EXPECT_EQ(lists[1].segmentUrls, (Strings{"/no/such/local.srt"}));
  EXPECT_EQ(server_.requestsFor("/file.srt").size(), 1u);
  EXPECT_TRUE(subs::BuildDirectTrackLists({}).empty());
}

TEST_F(SubtitleSources, FfmpegHlsRenditionsAndSegments) {
  server_.serveDirectory("/ffmpeg/", korvid::test::HlsSubtitleSet());
  ASSERT_TRUE(NativeOpenSubtitleURI(server_.url("/ffmpeg/master.m3u8").c_str()));
  EXPECT_EQ(Tracks(), (PairList{{"en", server_.url("/ffmpeg/out_English_vtt.m3u8")},
                                {"de", server_.url("/ffmpeg/out_Deutsch_vtt.m3u8")}}));

  const subs::SegmentLists lists = subs::ParseSubtitleMediaPlaylists(subs::State().tracks, "");
  ASSERT_EQ(lists.size(), 2u);
  EXPECT_EQ(lists[1].segmentUrls, (Strings{server_.url("/ffmpeg/out_Deutsch0.vtt"), server_.url("/ffmpeg/out_Deutsch1.vtt"),
                                           server_.url("/ffmpeg/out_Deutsch2.vtt")}));

  // The muxer writes the short form mm:ss.mmm, which counts as hours and minutes.
  const subs::CueList first = subs::ParseVttCues(korvid::net::HttpGetToString(lists[0].segmentUrls[0]), 0);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(first->next, nullptr);
  EXPECT_EQ(first->startMs, 60000);
  EXPECT_EQ(first->endMs, 120000);
  EXPECT_EQ(first->text, "Alpha");
  EXPECT_EQ(first->next->startMs, 180000);
  EXPECT_EQ(first->next->text, "Bravo\n");
  EXPECT_EQ(first->next->next, nullptr);
  EXPECT_EQ(subs::ParseVttCues(korvid::net::HttpGetToString(lists[0].segmentUrls[2]), 0), nullptr);
}

TEST(ReadWholeFile, ReadsEveryChunk) {
  std::string text(10000, 'a');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('a' + i % 26);
  text[5000] = '\0';
  EXPECT_EQ(subs::ReadWholeFile(korvid::test::WriteWorkFile("ten-thousand.srt", text)), text);
  EXPECT_EQ(subs::ReadWholeFile(korvid::test::WriteWorkFile("exact.srt", std::string(8192, 'x'))), std::string(8192, 'x'));
  EXPECT_EQ(subs::ReadWholeFile(korvid::test::WriteWorkFile("empty.srt", "")), "");
  EXPECT_EQ(subs::ReadWholeFile("/no/such/file.srt"), "");
}

// The caption exports' answers and log lines with no player: the lifecycle
// table of the engine tests. Here, multi-instance mode without a third slot.
TEST(CaptionExports, NoClockNoUpdate) {
  char buffer[16] = {};
  korvid::Record().instanceCount = 2;
  EXPECT_EQ(NativeUpdateSubtitle(buffer), 0);
  EXPECT_FALSE(NativeCheckSpuContent());
  korvid::Record().instanceCount = 1;
  EXPECT_EQ(buffer[0], 0);
}

}  // namespace
