// Network sources on the real engine: HLS over a loopback HTTP server, a live
// playlist and its pause-by-stopping, and rtmp from nginx.
#include <thread>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "support/background_process.h"
#include "support/engine_session.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {
namespace {

using StreamingPlayback = EngineTest;

TEST_F(StreamingPlayback, OnDemandHlsPlaysFromTheLoopbackServer) {
  HttpServer server;
  server.serveDirectory("/hls/", HlsOnDemandSet());
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(server.url("/hls/master.m3u8").c_str()), 0);
  EXPECT_FALSE(NativeIsLive());
  ASSERT_TRUE(WaitFor(2)) << Seen();
  EXPECT_TRUE(ContainsRun(events_, {6, 1, 2})) << Seen();
  EXPECT_EQ(NativeGetRawData(frame_.data()), kFrameBytes);
}

TEST_F(StreamingPlayback, LiveStreamPausesByStopping) {
  const LiveHlsPackager live;
  HttpServer server;
  server.serveDirectory("/live/", live.directory());
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(server.url("/live/master.m3u8").c_str()), 0);
  ASSERT_TRUE(NativeIsLive());
  ASSERT_TRUE(WaitFor(2)) << Seen();
  events_.clear();

  // The stream is stopped, and the stopped report reaches the host as a pause.
  EXPECT_EQ(NativePause(), 0);
  ASSERT_TRUE(WaitFor(9)) << Seen();
  EXPECT_EQ(Count(events_, 12), 0) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 4);
  EXPECT_EQ(NativeGetTotalTime(), Record().pausedLength.load());
  EXPECT_GE(NativeGetTotalTime(), 1000);
  EXPECT_EQ(NativeSeek(1000), -3);  // a stopped live stream cannot seek

  events_.clear();
  EXPECT_EQ(NativeResume(), 0);  // restarts the stream
  ASSERT_TRUE(WaitFor(2)) << Seen();
}

TEST_F(StreamingPlayback, RtmpIsLiveWithoutAnyFetch) {
  RtmpServer rtmp;
  rtmp.publish("green", "stream");
  NativeSetAutoPlay(true);
  NativeSetLogLevel(1);
  int32_t opened = -1;
  const std::string log = Captured([&] {
    // The publisher needs a moment to connect; retry the open a bounded number of times.
    for (int attempt = 0; attempt < 10 && opened != 0; ++attempt) {
      if (attempt > 0) std::this_thread::sleep_for(500ms);
      opened = NativeOpenURI(rtmp.url("stream").c_str());
    }
  });
  NativeSetLogLevel(0);
  ASSERT_EQ(opened, 0);
  EXPECT_TRUE(NativeIsLive());
  EXPECT_EQ(log.find("CheckLiveStreaming"), std::string::npos);
  EXPECT_NE(log.find(LogLine("NativeOpenURI", 1140)), std::string::npos);
  EXPECT_TRUE(Until([&] { return NativeGetRawData(frame_.data()) == kFrameBytes && Shows(frame_, 0, 128, 0); }, 15s))
      << PixelText(frame_);
}

}  // namespace
}  // namespace korvid::test
