// The network side: the plain GET behind every manifest, playlist and
// subtitle fetch, the request the extra-header export makes, and live
// detection (its text scans alone, then verdicts on manifests and playlists
// served over loopback HTTP(S)).
#include <gtest/gtest.h>

#include "core/log.h"
#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "net/http_fetch.h"
#include "net/live_detection.h"
#include "support/http_server.h"

namespace korvid::net {
namespace {

// (Fetches over untrusted HTTPS are among the live-detection verdicts below.)
TEST(HttpFetch, BodiesArriveWholeAndFailuresLeaveWhatArrived) {
  char chunk[] = {'x', '\0', 'y', '\0'};
  std::string appended = "ab";
  EXPECT_EQ(CurlWriteToString(chunk, 1, 3, &appended), 3u);
  EXPECT_EQ(CurlWriteToString(chunk, 2, 2, &appended), 4u);
  EXPECT_EQ(appended, std::string("abx\0yx\0y\0", 9));

  // Every byte value, NULs included, over several of libcurl's write chunks.
  std::string body(600 * 1024, '\0');
  for (std::size_t i = 0; i < body.size(); ++i) body[i] = static_cast<char>((i * 7 + i / 256) % 256);
  test::HttpServer& http = test::SharedServer();
  http.serve("/blob.bin", body);
  http.serve("/missing.vtt", "no such file", 404);
  http.serve("/cut.bin", body, 200, 1000);
  EXPECT_EQ(HttpGetToString(http.url("/blob.bin")), body);
  EXPECT_EQ(HttpGetToString(http.url("/missing.vtt")), "no such file");
  EXPECT_EQ(HttpGetToString(http.url("/cut.bin")), body.substr(0, 1000));
  EXPECT_EQ(HttpGetToString(test::DeadLocation("/a.m3u8")), "");
}

// The export's answer and what it printed to standard output.
std::pair<int32_t, std::string> SendExtraHeader(const char* header, const std::string& url) {
  testing::internal::CaptureStdout();
  const int32_t result = NativeSetAdditionalHttpHeader(header, url.c_str());
  return {result, testing::internal::GetCapturedStdout()};
}

TEST(ExtraHeaderRequest, SendsItsHeaderOnceAndPrintsTheBodyAfterItsLogLine) {
  test::HttpServer& http = test::SharedServer();
  const std::string body("page\0with nul\n", 14);
  http.serve("/page", body);
  http.clearRequests();
  testing::internal::CaptureStderr();
  SetLogEnabled(1);
  const auto sent = SendExtraHeader("X-Korvid-Token: abc123", http.url("/page"));
  SetLogEnabled(0);
  // The verbose trace goes to standard error, never between the line and the body.
  EXPECT_NE(testing::internal::GetCapturedStderr().find("X-Korvid-Token: abc123"), std::string::npos);
  EXPECT_EQ(sent, std::pair(0, "Korvid Native Windows Log : method : NativeSetAdditionalHttpHeader (L 2040) \n" + body));
  EXPECT_EQ(SendExtraHeader(nullptr, http.url("/page")), std::pair(0, body));

  HttpGetToString(http.url("/page"));
  const auto requests = http.requests();  // (the server logs GET requests only)
  ASSERT_EQ(requests.size(), 3u);
  EXPECT_NE(requests[0].find("\tx-korvid-token: abc123"), std::string::npos) << requests[0];
  // The header is not remembered for later requests; the plain fetch is a bare GET.
  for (const int i : {1, 2}) EXPECT_EQ(requests[i].find("x-korvid-token"), std::string::npos) << requests[i];
  EXPECT_EQ(requests[2].find("\tuser-agent:"), std::string::npos) << requests[2];
}

TEST(ExtraHeaderRequest, FailuresAnswerMinusOneAndPrintNothing) {
  EXPECT_EQ(SendExtraHeader("X-A: 1", test::DeadLocation("/page")), std::pair(-1, std::string()));
  EXPECT_EQ(NativeSetAdditionalHttpHeader("X-A: 1", nullptr), -1);

  if (!test::UntrustedCertificatesAreRefused()) {
    GTEST_SKIP() << "Wine's TLS accepts the self-signed certificate that Windows refuses";
  }
  // Peer verification stays on here: the self-signed server is refused
  // before any request is made.
  test::HttpServer& https = test::SharedServer(true);
  https.serve("/page", "secret");
  https.clearRequests();
  EXPECT_EQ(SendExtraHeader("X-A: 1", https.url("/page")), std::pair(-1, std::string()));
  EXPECT_TRUE(https.requests().empty());
}

TEST(LiveText, MarkersVariantReferencesAndVariantUrls) {
  EXPECT_TRUE(LiveManifestIsDynamic("<MPD profiles=\"x\"\n\ttype=\"dynamic\"\n>"));
  for (const char* notDynamic : {"", "type=\"static\"", "type='dynamic'", "type = \"dynamic\"", "type= \"dynamic\"",
                                 "type=\"Dynamic\"", "TYPE=\"dynamic\"", "type=\"dynamic"}) {
    EXPECT_FALSE(LiveManifestIsDynamic(notDynamic)) << notDynamic;
  }
  EXPECT_TRUE(LivePlaylistIsMaster("#EXTM3U\n#EXT-X-STREAM-INF:B=1\n"));
  EXPECT_FALSE(LivePlaylistIsMaster("#EXTM3U\n#EXT-X-I-FRAME-STREAM-INF:B=1\n"));
  EXPECT_TRUE(LivePlaylistHasEndList("#EXTINF:1,\na.ts\r\n#EXT-X-ENDLIST\r\n"));
  EXPECT_FALSE(LivePlaylistHasEndList("#EXTINF:1,\na.ts\n#EXT-X-END"));

  // The first variant's reference and the media-playlist URL made from it; the
  // plain cases (LF or CR LF lines, a query, an absolute reference, the first
  // of two variants) are the verdict table's.
  const std::pair<const char*, const char*> references[] = {
      {"#EXT-X-STREAM-INF:B=1\rold/mac.m3u8\r", "old/mac.m3u8"},
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
  for (const auto& [playlist, reference] : references) EXPECT_EQ(LiveFirstVariantReference(playlist), reference) << playlist;
  EXPECT_EQ(LiveVariantUrl("http://h/a/master.m3u8", "/root.m3u8"), "http://h/a//root.m3u8");
  EXPECT_EQ(LiveVariantUrl("http://h/a/", "v.m3u8"), "http://h/a/v.m3u8");
  EXPECT_EQ(LiveVariantUrl("http://h/a/m.m3u8?t=x/y", "v.m3u8"), "http://h/a/m.m3u8?t=x/v.m3u8");
  EXPECT_EQ(LiveVariantUrl("master.m3u8", "v.m3u8"), "v.m3u8");
  EXPECT_EQ(LiveVariantUrl("", "v.m3u8"), "v.m3u8");
  // "http" anywhere marks a reference to take as it stands
  EXPECT_EQ(LiveVariantUrl("http://h/a/m.m3u8", "sub/http_low.m3u8"), "sub/http_low.m3u8");
}

// A master playlist naming `first` and then a live variant.
std::string Master(const std::string& first, const std::string& end = "\n") {
  return "#EXTM3U" + end + "#EXT-X-STREAM-INF:B=1" + end + first + end + "#EXT-X-STREAM-INF:B=2" + end + "live.m3u8" + end;
}

// The verdict for `url`, starting from the opposite of `expected` so that a
// call that leaves the flag alone cannot pass.
bool Verdict(const char* url, const std::string& kind, bool expected) {
  Record().isLive = !expected;
  CheckLiveStreaming(url, kind);
  return NativeIsLive();
}

TEST(LiveDetection, VerdictsTheFetchesThatMadeThemAndTheLogLine) {
  test::HttpServer& http = test::SharedServer();
  test::HttpServer& https = test::SharedServer(true);  // untrusted, yet read
  const std::string vod = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\na.ts\n#EXT-X-ENDLIST\n";
  const std::string dynamic = "<MPD profiles=\"x\"\n\ttype=\"dynamic\"\n>";
  const std::string liveAsEither = "#EXT-X-STREAM-INF type=\"dynamic\"";  // as a manifest and as a master
  http.serve("/h/vod.m3u8", vod);
  http.serve("/h/live.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXT-X-MEDIA-SEQUENCE:7\n#EXTINF:1,\na.ts\n");
  https.serve("/h/vod.m3u8", vod);
  https.serve("/h/vod-first.m3u8", Master("vod.m3u8"));

  // path, the body served there, kind, verdict, requests the server saw
  const std::tuple<const char*, std::string, const char*, bool, std::size_t> cases[] = {
      {"/dyn.mpd", dynamic, "mpd", true, 1},
      {"/quoted.mpd", "<MPD type='dynamic'/>", "mpd", false, 1},  // the spellings themselves: LiveText
      {"/empty.mpd", "", "mpd", false, 1},
      {"/h/vod.m3u8", vod, "m3u8", true, 1},  // a media playlist given directly: live, ending or not
      // The first variant alone decides; the second is never read.
      {"/h/vod-first.m3u8", Master("vod.m3u8"), "m3u8", false, 2},
      {"/h/live-first.m3u8", Master("live.m3u8"), "m3u8", true, 2},
      {"/h/crlf.m3u8", Master("vod.m3u8?x=1", "\r\n"), "m3u8", false, 2},
      {"/h/absolute.m3u8", Master(https.url("/h/vod.m3u8")), "m3u8", false, 1},  // fetched as it stands
      // A variant that cannot be read, or none to follow: live.
      {"/h/dead-variant.m3u8", Master(test::DeadLocation("/v.m3u8")), "m3u8", true, 1},
      {"/h/missing-variant.m3u8", Master("missing.m3u8"), "m3u8", true, 2},
      {"/h/no-playlist.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:B=1\nvideo.mp4\n", "m3u8", true, 1},
      // Other kinds (compared case-sensitively) are not live and never fetched.
      {"/dyn.mpd", dynamic, "MPD", false, 0}, {"/h/vod.m3u8", vod, "M3U8", false, 0},
      {"/clip.mp4", liveAsEither, "mp4", false, 0}, {"/clip.mp4", liveAsEither, "", false, 0},
      {"/clip.mp4", liveAsEither, "m3u8?x=1", false, 0}, {"/clip.mp4", liveAsEither, "mpd ", false, 0},
  };
  for (const auto& [path, body, kind, live, fetches] : cases) {
    http.serve(path, body);
    http.clearRequests();
    EXPECT_EQ(Verdict(http.url(path).c_str(), kind, live), live) << path << " as " << kind;
    const auto requests = http.requests();
    EXPECT_EQ(requests.size(), fetches) << path << " as " << kind;
    for (const auto& request : requests) EXPECT_EQ(request.find('?'), std::string::npos) << request;  // a variant's query is dropped
  }
  EXPECT_FALSE(Verdict(https.url("/h/vod-first.m3u8").c_str(), "m3u8", false));
  EXPECT_TRUE(Verdict(test::DeadLocation("/master.m3u8").c_str(), "m3u8", true));  // unreadable HLS counts as live
  EXPECT_FALSE(Verdict(test::DeadLocation("/manifest.mpd").c_str(), "mpd", false));
  EXPECT_TRUE(Verdict(nullptr, "m3u8", true));
  EXPECT_FALSE(Verdict(nullptr, "mpd", false));

  // The check logs its own line (the verdict's query logs another).
  SetLogEnabled(1);
  testing::internal::CaptureStdout();
  EXPECT_FALSE(Verdict("clip.m3u8", "ts", false));
  SetLogEnabled(0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Korvid Native Windows Log : method : CheckLiveStreaming (L 577) \n"
                                                    "Korvid Native Windows Log : method : NativeIsLive (L 693) \n");
}

}  // namespace
}  // namespace korvid::net
