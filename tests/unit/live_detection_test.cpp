#include <gtest/gtest.h>

#include <string>

#include "core/log.h"
#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "net/live_detection.h"
#include "subtitles/subtitle_source.h"
#include "support/http_server.h"
#include "support/media.h"

namespace {

using korvid::net::CheckLiveStreaming;
using korvid::subtitles::ReadWholeFile;
using korvid::test::HttpServer;

// --- the text tests -----------------------------------------------------------------

TEST(LiveText, DynamicManifestNeedsTheExactDoubleQuotedSpelling) {
  EXPECT_TRUE(korvid::net::LiveManifestIsDynamic("<MPD profiles=\"x\"\n\ttype=\"dynamic\"\n>"));
  EXPECT_TRUE(korvid::net::LiveManifestIsDynamic("type=\"dynamic\""));
  for (const char* notDynamic : {"", "type=\"static\"", "type='dynamic'", "type = \"dynamic\"", "type= \"dynamic\"",
                                 "type=\"Dynamic\"", "TYPE=\"dynamic\"", "type=\"dynamic"}) {
    EXPECT_FALSE(korvid::net::LiveManifestIsDynamic(notDynamic)) << notDynamic;
  }
}

TEST(LiveText, FirstVariantIsCutFromLineStartToM3u8) {
  struct Case {
    const char* playlist;
    const char* reference;
  };
  const Case cases[] = {
      {"#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nlow/index.m3u8\n", "low/index.m3u8"},
      {"#EXTM3U\r\n#EXT-X-STREAM-INF:BANDWIDTH=1\r\nlow/index.m3u8?x=1\r\n", "low/index.m3u8"},
      {"#EXT-X-STREAM-INF:B=1\rold/mac.m3u8\r", "old/mac.m3u8"},
      {"#EXT-X-STREAM-INF:B=1\nhttp://h:1/v/a.m3u8\n#EXT-X-STREAM-INF:B=2\nb.m3u8\n", "http://h:1/v/a.m3u8"},
      // a rendition named before the first variant is not a variant
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"subs.m3u8\"\n#EXT-X-STREAM-INF:B=1\nv.m3u8\n", "v.m3u8"},
      // an "m3u8" on the tag line itself is taken, walking back over the tag
      {"x\n#EXT-X-STREAM-INF:NAME=\"a.m3u8\"\nv.m3u8\n", "#EXT-X-STREAM-INF:NAME=\"a.m3u8"},
      // no line end before the match: the walk stops at the start of the text
      {"#EXT-X-STREAM-INF:B=1 v.m3u8", "#EXT-X-STREAM-INF:B=1 v.m3u8"},
      {"#EXT-X-STREAM-INF:B=1\nlow/index.mp4\n", ""},
      {"#EXTM3U\nlow/index.m3u8\n", ""},
      {"", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(korvid::net::LiveFirstVariantReference(c.playlist), c.reference) << c.playlist;
  }
}

TEST(LiveText, VariantUrlJoinsOntoTheMasterDirectory) {
  using korvid::net::LiveVariantUrl;
  EXPECT_EQ(LiveVariantUrl("http://h/a/master.m3u8", "low/index.m3u8"), "http://h/a/low/index.m3u8");
  EXPECT_EQ(LiveVariantUrl("http://h/a/master.m3u8", "/root.m3u8"), "http://h/a//root.m3u8");
  EXPECT_EQ(LiveVariantUrl("http://h/a/", "v.m3u8"), "http://h/a/v.m3u8");
  EXPECT_EQ(LiveVariantUrl("http://h/a/m.m3u8?t=x/y", "v.m3u8"), "http://h/a/m.m3u8?t=x/v.m3u8");
  EXPECT_EQ(LiveVariantUrl("master.m3u8", "v.m3u8"), "v.m3u8");
  EXPECT_EQ(LiveVariantUrl("", "v.m3u8"), "v.m3u8");
  // "http" anywhere marks a reference to take as it stands
  EXPECT_EQ(LiveVariantUrl("http://h/a/m.m3u8", "https://cdn/x.m3u8"), "https://cdn/x.m3u8");
  EXPECT_EQ(LiveVariantUrl("http://h/a/m.m3u8", "sub/http_low.m3u8"), "sub/http_low.m3u8");
}

TEST(LiveText, PlaylistMarkers) {
  EXPECT_TRUE(korvid::net::LivePlaylistIsMaster("#EXTM3U\n#EXT-X-STREAM-INF:B=1\n"));
  EXPECT_FALSE(korvid::net::LivePlaylistIsMaster("#EXTM3U\n#EXT-X-I-FRAME-STREAM-INF:B=1\n"));
  EXPECT_TRUE(korvid::net::LivePlaylistHasEndList("#EXTINF:1,\na.ts\r\n#EXT-X-ENDLIST\r\n"));
  EXPECT_FALSE(korvid::net::LivePlaylistHasEndList("#EXTINF:1,\na.ts\n#EXT-X-END"));
}

// --- the decision against real servers --------------------------------------------------

constexpr const char* kVodMedia = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\na.ts\n#EXT-X-ENDLIST\n";
constexpr const char* kLiveMedia = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXT-X-MEDIA-SEQUENCE:7\n#EXTINF:1,\na.ts\n";

std::string Master(const std::string& firstVariant, const std::string& lineEnd = "\n") {
  return "#EXTM3U" + lineEnd + "#EXT-X-STREAM-INF:BANDWIDTH=110000,RESOLUTION=160x120" + lineEnd + firstVariant +
         lineEnd + "#EXT-X-STREAM-INF:BANDWIDTH=900000" + lineEnd + "second/index.m3u8" + lineEnd;
}

// The verdict for `url`, starting from the opposite of `expected` so that a
// call that leaves the flag alone cannot pass.
bool Verdict(const std::string& url, const std::string& kind, bool expected) {
  korvid::Record().isLive = !expected;
  CheckLiveStreaming(url.c_str(), kind);
  return NativeIsLive();
}

class LiveDetection : public testing::Test {
 protected:
  void SetUp() override { http_.clearRequests(); }

  HttpServer& http_ = korvid::test::SharedServer();
  HttpServer& https_ = korvid::test::SharedServer(true);
};

TEST_F(LiveDetection, FfmpegMadeSetsAreJudgedByTheirManifests) {
  http_.serveDirectory("/dash/", korvid::test::DashSet());
  const std::string ffmpegManifest = ReadWholeFile(korvid::test::DashSet() + "/manifest.mpd");
  ASSERT_NE(ffmpegManifest.find("type=\"static\""), std::string::npos);
  EXPECT_FALSE(Verdict(http_.url("/dash/manifest.mpd"), "mpd", false));
  std::string dynamicManifest = ffmpegManifest;
  dynamicManifest.replace(dynamicManifest.find("type=\"static\""), 13, "type=\"dynamic\"");
  http_.serve("/dyn.mpd", dynamicManifest);
  EXPECT_TRUE(Verdict(http_.url("/dyn.mpd"), "mpd", true));

  http_.serveDirectory("/vod/", korvid::test::HlsOnDemandSet());
  http_.serveDirectory("/live/", korvid::test::HlsLiveSet());
  https_.serveDirectory("/vod/", korvid::test::HlsOnDemandSet());
  http_.clearRequests();
  EXPECT_FALSE(Verdict(http_.url("/vod/master.m3u8"), "m3u8", false));
  EXPECT_TRUE(Verdict(http_.url("/live/master.m3u8"), "m3u8", true));
  // Only the two playlists were read: no segment, no second variant.
  std::vector<std::string> paths;
  for (const auto& request : http_.requests()) paths.push_back(request.path);
  EXPECT_EQ(paths, (std::vector<std::string>{"/vod/master.m3u8", "/vod/low/index.m3u8", "/live/master.m3u8",
                                             "/live/low/index.m3u8"}));
  // A media playlist given directly counts as live, ending or not.
  ASSERT_NE(ReadWholeFile(korvid::test::HlsOnDemandSet() + "/low/index.m3u8").find("#EXT-X-ENDLIST"), std::string::npos);
  EXPECT_TRUE(Verdict(http_.url("/vod/low/index.m3u8"), "m3u8", true));
  EXPECT_FALSE(Verdict(http_.url("/vod/low/index.m3u8"), "M3U8", false));
  EXPECT_FALSE(Verdict(https_.url("/vod/master.m3u8"), "m3u8", false));  // untrusted HTTPS is read
}

TEST_F(LiveDetection, ManifestTextAndVariantsDecide) {
  http_.serve("/dyn.mpd", "<MPD profiles=\"x\"\n\ttype=\"dynamic\"\n>");
  EXPECT_TRUE(Verdict(http_.url("/dyn.mpd"), "mpd", true));
  EXPECT_FALSE(Verdict(http_.url("/dyn.mpd"), "MPD", false));
  http_.serve("/quoted.mpd", "<MPD type='dynamic'/>");
  EXPECT_FALSE(Verdict(http_.url("/quoted.mpd"), "mpd", false));  // the spellings themselves: LiveText
  EXPECT_EQ(http_.requestsFor("/dyn.mpd").size(), 1u);  // the upper-case kind fetched nothing

  // The first variant decides even when a later one differs.
  http_.serve("/mixed/master.m3u8", Master("first.m3u8"));
  http_.serve("/mixed/first.m3u8", kVodMedia);
  http_.serve("/mixed/second/index.m3u8", kLiveMedia);
  EXPECT_FALSE(Verdict(http_.url("/mixed/master.m3u8"), "m3u8", false));
  EXPECT_TRUE(http_.requestsFor("/mixed/second/index.m3u8").empty());
  http_.serve("/live/first.m3u8", kLiveMedia);
  http_.serve("/live/m.m3u8", Master("first.m3u8"));
  EXPECT_TRUE(Verdict(http_.url("/live/m.m3u8"), "m3u8", true));

  // CR LF lines and a query: fetched relative, without the query.
  http_.serve("/a/master.m3u8", Master("low/index.m3u8?x=1", "\r\n"));
  http_.serve("/a/low/index.m3u8", kVodMedia);
  EXPECT_FALSE(Verdict(http_.url("/a/master.m3u8"), "m3u8", false));
  const auto variant = http_.requestsFor("/a/low/index.m3u8");
  ASSERT_EQ(variant.size(), 1u);
  EXPECT_EQ(variant[0].query, "");

  // An absolute variant is fetched as it stands, here over untrusted HTTPS.
  https_.serve("/vod.m3u8", kVodMedia);
  http_.serve("/abs/master.m3u8", Master(https_.url("/vod.m3u8")));
  EXPECT_FALSE(Verdict(http_.url("/abs/master.m3u8"), "m3u8", false));
}

TEST_F(LiveDetection, FailedFetchesGiveHlsLiveAndDashNot) {
  const std::string dead = korvid::test::DeadLocation("");
  EXPECT_TRUE(Verdict(dead + "/master.m3u8", "m3u8", true));
  EXPECT_FALSE(Verdict(dead + "/manifest.mpd", "mpd", false));
  http_.serve("/gone.mpd", "", 404);
  EXPECT_FALSE(Verdict(http_.url("/gone.mpd"), "mpd", false));

  // A master whose first variant cannot be read.
  http_.serve("/deadvariant.m3u8", Master(dead + "/v.m3u8"));
  EXPECT_TRUE(Verdict(http_.url("/deadvariant.m3u8"), "m3u8", true));
  http_.serve("/b/master.m3u8", Master("missing.m3u8"));
  http_.serve("/b/missing.m3u8", "", 500);
  EXPECT_TRUE(Verdict(http_.url("/b/master.m3u8"), "m3u8", true));
  // A master naming no playlist at all: nothing to follow.
  http_.serve("/c/master.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:B=1\nvideo.mp4\n");
  EXPECT_TRUE(Verdict(http_.url("/c/master.m3u8"), "m3u8", true));
  EXPECT_EQ(http_.requests().size(), 5u);

  korvid::Record().isLive = false;
  CheckLiveStreaming(nullptr, "m3u8");
  EXPECT_TRUE(NativeIsLive());
  CheckLiveStreaming(nullptr, "mpd");
  EXPECT_FALSE(NativeIsLive());
}

TEST_F(LiveDetection, OtherKindsAreNotLiveAndNeverFetched) {
  http_.serve("/clip.mp4", "#EXT-X-STREAM-INF type=\"dynamic\"");
  for (const char* kind : {"mp4", "", "MPD", "M3U8", "m3u8?x=1", "mpd "}) {
    EXPECT_FALSE(Verdict(http_.url("/clip.mp4"), kind, false)) << kind;
  }
  EXPECT_FALSE(Verdict("clip.m3u8", "ts", false));
  EXPECT_TRUE(http_.requests().empty());
}

TEST_F(LiveDetection, LogsItsLineAndNativeIsLiveLogsItsOwn) {
  korvid::SetLogEnabled(1);
  testing::internal::CaptureStdout();
  CheckLiveStreaming("C:/media/clip.mp4", "mp4");
  korvid::Record().isLive = true;
  const bool live = NativeIsLive();
  const std::string out = testing::internal::GetCapturedStdout();
  korvid::SetLogEnabled(0);
  EXPECT_TRUE(live);
  EXPECT_EQ(out,
            "Korvid Native Windows Log : method : CheckLiveStreaming (L 577) \n"
            "Korvid Native Windows Log : method : NativeIsLive (L 693) \n");
}

}  // namespace
