// Playback on the real engine: a clip played to its end, then replaced by one
// that goes through a host's whole routine, with the events, their order, the
// picture, the clock and the state the host sees; and network sources: HLS
// over a loopback HTTP server, rtmp from nginx, a live playlist and its
// pause-by-stopping.
#include <tuple>

#include "core/player_record.h"
#include "support/background_process.h"
#include "support/engine_session.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {
namespace {

class Playback : public EngineTest {
 protected:
  // Forgets the events seen so far, runs `call`, which answers 0, and waits for `count` events `code`.
  bool After(const std::function<int32_t()>& call, int32_t code, long count = 1) {
    events_.clear();
    EXPECT_EQ(call(), 0);
    return WaitFor(code, count);
  }
};

TEST_F(Playback, AClipRunsToItsEndThenTheNextGoesThroughPauseSeekResumeStopRestartAndClose) {
  NativeSetAutoPlay(true);
  std::string log = LoggedBy([&] {
    EXPECT_EQ(NativeOpenURI(ColourClip("blue", 2, true).c_str()), 0);
    WaitFor(3, 1, 20s) && WaitFor(12);  // the end, then this engine's stop report
  });
  ASSERT_EQ(Count(3), 1) << Seen();
  EXPECT_TRUE(HasRun({14, 6, 1, 2})) << Seen();
  EXPECT_EQ(Count(9), 0) << Seen();
  EXPECT_NE(NativeGetPlayerState(), 4);
  ExpectLogged(log, {{"sdl_lock", 500}, {"TimeChanged", 1135}, {"EndOfContent", 1110}, {"Stopped", 1095}});

  // The next open replaces the clip; with auto-play off it pauses at the start.
  NativeSetAutoPlay(false);
  events_.clear();
  int32_t opened = -2, front = 0, parameters = -1;
  log = LoggedBy([&] {
    opened = NativeOpenURI(ColourClip("red", 10).c_str());
    front = NativeQueueFrontParamEvent();
    parameters = NativeQueueFrontParam1() | NativeQueueFrontParam2() | NativeQueueFrontParam3();
    WaitFor(9, 2);  // the automatic pause, and the engine's own pause report
  });
  ASSERT_EQ(opened, 0);
  // Opening, buffering, then at 100 percent: buffering, finished, ready, playing, paused.
  EXPECT_EQ(front, 257);
  EXPECT_EQ(parameters, 0);
  EXPECT_TRUE(HasRun({14, 6, 1, 2, 9})) << Seen();
  ASSERT_GE(Count(9), 2) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 4);
  ExpectLogged(log, {{"NativeOpenURI", 1140}, {"Opening", 1087}, {"Buffering", 1000}, {"Playing", 1058},
                     {"Paused", 1076}});
  EXPECT_NEAR(NativeGetTotalTime(), 10000, 300);
  EXPECT_EQ(std::pair(NativeGetVideoWidth(), NativeGetVideoHeight()), std::pair(160u, 90u));

  // Seek while paused: the engine plays, jumps and pauses there, without ready.
  // This engine reports one more completed buffering after pausing, which
  // pauses again; seek once it has settled.
  ASSERT_TRUE(WaitForQuiet());
  ASSERT_TRUE(After([] { return NativeSeek(4000); }, 13)) << Seen();
  EXPECT_EQ(Count(1), 0) << Seen();
  EXPECT_TRUE(Until([] { return NativeGetPlayerState() == 4 && std::abs(NativeGetCurrentTime() - 4000) <= 600; }))
      << Seen() << " at " << NativeGetCurrentTime();

  // Resume, then pause and pause again, which resumes; the clock runs and the
  // picture arrives red, green, blue, padding, scaled over the whole frame.
  ASSERT_TRUE(WaitForQuiet());
  events_.clear();
  for (const auto& [call, event, count, state] : {std::tuple{&NativeResume, 2, 1, 3}, std::tuple{&NativePause, 9, 1, 4},
                                                   std::tuple{&NativePause, 2, 2, 3}}) {
    EXPECT_EQ(call(), 0);
    ASSERT_TRUE(WaitFor(event, count)) << Seen();
    EXPECT_EQ(NativeGetPlayerState(), state) << event;
  }
  const int32_t before = NativeGetCurrentTime();
  EXPECT_TRUE(Until([&] { return NativeGetCurrentTime() >= before + 500; })) << before;
  EXPECT_TRUE(Until([&] {
    EXPECT_EQ(NativeGetRawData(frame_.data()), kFrameBytes);
    return Shows(frame_, 255, 0, 0) && Shows(frame_, 255, 0, 0, 1919, 1079) && Shows(frame_, 255, 0, 0, 0, 0);
  })) << PixelText(frame_) << " " << PixelText(frame_, 1919, 1079);

  // Seek while playing: buffering, finished, seek completed, no ready; the
  // clock follows the jump back.
  ASSERT_TRUE(After([] { return NativeSeek(2000); }, 13)) << Seen();
  EXPECT_TRUE(HasRun({14, 6, 13})) << Seen();
  EXPECT_EQ(Count(1), 0) << Seen();
  EXPECT_TRUE(Until([] { return NativeGetCurrentTime() >= 1500 && NativeGetCurrentTime() < 3500; }))
      << NativeGetCurrentTime();

  // Stop is queued and shown at once; the engine's own stop report adds a
  // second 12. Restarting: the stop flag keeps opening out of the queue, and
  // ready out of the first completed buffering, which then clears the flag.
  NativeSetAutoPlay(true);
  Drain();
  events_.clear();
  EXPECT_EQ(NativeStop(), 0);
  EXPECT_EQ(NativeGetPlayerState(), 2);
  EXPECT_EQ(NativeQueueFrontParamEvent(), 12);
  ASSERT_TRUE(WaitFor(12, 2)) << Seen();
  ASSERT_TRUE(After(NativeResume, 2)) << Seen();
  EXPECT_EQ(Count(257), 0) << Seen();
  EXPECT_TRUE(HasRun({6, 2})) << Seen();

  // Closed, the engine's stop stays out of the queue: only NativeStop's own 12.
  NativeClose();
  EXPECT_EQ(NativeGetPlayerState(), 1);
  events_.clear();
  EXPECT_EQ(NativeStop(), 0);
  ASSERT_TRUE(WaitForQuiet(1500ms));
  EXPECT_EQ(Count(12), 1) << Seen();
}

using StreamingPlayback = Playback;

TEST_F(StreamingPlayback, OnDemandHlsThenRtmpWithoutAnyFetchThenALiveStreamPausesByStopping) {
  HttpServer server;
  const LiveHlsPackager live(server.folder("/live"));
  const RtmpStream rtmp("green");
  server.serveDirectory("/hls/", HlsOnDemandSet());
  NativeSetAutoPlay(true);
  ASSERT_TRUE(After([&] { return NativeOpenURI(server.url("/hls/master.m3u8").c_str()); }, 2)) << Seen();
  EXPECT_FALSE(NativeIsLive());

  // rtmp is live by its scheme, without asking the server.
  int32_t opened = -1;
  const std::string log = LoggedBy([&] {
    // The publisher needs a moment to connect; retry the open a bounded number of times.
    for (int attempt = 0; attempt < 10 && opened != 0; ++attempt) {
      if (attempt > 0) std::this_thread::sleep_for(500ms);
      opened = NativeOpenURI(rtmp.url().c_str());
    }
  });
  ASSERT_EQ(opened, 0);
  EXPECT_TRUE(NativeIsLive());
  EXPECT_EQ(log.find("CheckLiveStreaming"), std::string::npos);
  EXPECT_TRUE(Until([&] { return NativeGetRawData(frame_.data()) == kFrameBytes && Shows(frame_, 0, 128, 0); }, 15s))
      << PixelText(frame_);

  ASSERT_TRUE(After([&] { return NativeOpenURI(server.url("/live/master.m3u8").c_str()); }, 2)) << Seen();
  ASSERT_TRUE(NativeIsLive());

  // The stream is stopped, and the stopped report reaches the host as a pause.
  ASSERT_TRUE(After(NativePause, 9)) << Seen();
  EXPECT_EQ(Count(12), 0) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 4);
  EXPECT_EQ(NativeGetTotalTime(), Record().pausedLength.load());
  EXPECT_GE(NativeGetTotalTime(), 1000);
  EXPECT_EQ(NativeSeek(1000), -3);  // a stopped live stream cannot seek

  ASSERT_TRUE(After(NativeResume, 2)) << Seen();  // restarts the stream
}

}  // namespace
}  // namespace korvid::test
