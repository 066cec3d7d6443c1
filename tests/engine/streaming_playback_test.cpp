// Network sources on the real engine: HLS over a loopback HTTP server, a
// live-looking playlist and its pause-by-stopping, and rtmp from nginx.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "support/engine_session.h"
#include "support/http_server.h"
#include "support/live_packager.h"
#include "support/media_clips.h"
#include "support/rtmp_server.h"
#include "support/stream_sets.h"

namespace korvid::test {
namespace {

class StreamingPlayback : public testing::Test {
 protected:
  EngineSession session_;
  std::vector<int32_t> events_;
};

TEST_F(StreamingPlayback, OnDemandHlsPlaysFromTheLoopbackServer) {
  HttpServer server;
  server.serveDirectory("/hls/", HlsOnDemandSet());
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(server.url("/hls/master.m3u8").c_str()), 0);
  EXPECT_FALSE(NativeIsLive());
  ASSERT_TRUE(WaitForEvent(2, events_)) << Describe(events_);
  EXPECT_TRUE(ContainsRun(events_, {6, 1, 2})) << Describe(events_);
  std::vector<uint8_t> frame(8294400);
  EXPECT_EQ(NativeGetRawData(frame.data()), 8294400);
}

TEST_F(StreamingPlayback, LiveStreamPausesByStopping) {
  const LiveHlsPackager live;
  HttpServer server;
  server.serveDirectory("/live/", live.directory());
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(server.url("/live/master.m3u8").c_str()), 0);
  ASSERT_TRUE(NativeIsLive());
  ASSERT_TRUE(WaitForEvent(2, events_)) << Describe(events_);
  events_.clear();

  EXPECT_EQ(NativePause(), 0);
  // The stream is stopped, and the stopped report reaches the host as a pause.
  ASSERT_TRUE(WaitForEvent(9, events_)) << Describe(events_);
  EXPECT_EQ(std::count(events_.begin(), events_.end(), 12), 0) << Describe(events_);
  EXPECT_EQ(NativeGetPlayerState(), 4);
  EXPECT_EQ(NativeGetTotalTime(), Record().pausedLength.load());
  EXPECT_GE(NativeGetTotalTime(), 1000);
  EXPECT_EQ(NativeSeek(1000), -3);  // a stopped live stream cannot seek

  // Resuming restarts the stream.
  events_.clear();
  EXPECT_EQ(NativeResume(), 0);
  ASSERT_TRUE(WaitForEvent(2, events_)) << Describe(events_);
}

TEST_F(StreamingPlayback, RtmpIsLiveWithoutAnyFetch) {
  RtmpServer rtmp;
  rtmp.publish("green", "stream");
  NativeSetAutoPlay(true);
  NativeSetLogLevel(1);
  testing::internal::CaptureStdout();
  // The publisher needs a moment to connect; retry the open a bounded number of times.
  int32_t opened = -1;
  for (int attempt = 0; attempt < 10 && opened != 0; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(std::chrono::milliseconds(500));
    opened = NativeOpenURI(rtmp.url("stream").c_str());
  }
  NativeSetLogLevel(0);
  std::fflush(stdout);
  const std::string log = testing::internal::GetCapturedStdout();
  ASSERT_EQ(opened, 0);
  EXPECT_TRUE(NativeIsLive());
  EXPECT_EQ(log.find("CheckLiveStreaming"), std::string::npos);
  EXPECT_NE(log.find("NativeOpenURI (L 1140)"), std::string::npos);

  std::vector<uint8_t> frame(8294400);
  EXPECT_TRUE(WaitUntil(
      [&] {
        NativeGetRawData(frame.data());
        const Pixel p = PixelAt(frame, 960, 540);
        return p.g > 90 && p.r < 60 && p.b < 60;
      },
      events_, std::chrono::seconds(15)));
}

}  // namespace
}  // namespace korvid::test
