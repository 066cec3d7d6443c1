// Engine scenarios that only the Windows build runs, under Wine against the
// engine's own Windows release: a paused clip started from its beginning, network sources
// with their live verdicts, pictures and lengths, many start-up and shut-down
// cycles in one process, and the engine's plug-ins kept in a folder of their
// own. (Windows paths with "\\": NativeSeparators in the shared engine tests.)

#include <windows.h>
// After windows.h.
#include <tlhelp32.h>

#include <filesystem>

#include "multi/slot_tables.h"
#include "support/background_process.h"
#include "support/engine_session.h"

namespace korvid::test {
namespace {

bool Corners(const std::vector<uint8_t>& frame, int r, int g, int b) {
  return Shows(frame, r, g, b) && Shows(frame, r, g, b, 0, 0) && Shows(frame, r, g, b, 1919, 1079);
}

using StartPlayBack = EngineTest;

// From a pause, the clip starts again from its beginning and plays.
TEST_F(StartPlayBack, RestartsAPausedClipFromItsBeginning) {
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(ColourClip("0x00FF00", 30, true).c_str()), 0);
  ASSERT_TRUE(Until([] { return NativeGetCurrentTime() >= 5000; })) << NativeGetCurrentTime();
  EXPECT_EQ(NativePause(), 0);
  ASSERT_TRUE(Until([] { return libvlc_media_player_get_state(Record().mainPlayer.get()) == libvlc_Paused; }));
  events_.clear();
  EXPECT_EQ(NativeStartPlayBack(), 0);
  // Four seconds of margin: the clock would have to run that long between two looks.
  ASSERT_TRUE(Until([] { return NativeGetCurrentTime() < 1000; })) << NativeGetCurrentTime();
  ASSERT_TRUE(WaitFor(2)) << Seen();
  EXPECT_TRUE(Until([] { return NativeGetCurrentTime() >= 1500; })) << NativeGetCurrentTime();
  EXPECT_EQ(NativeGetPlayerState(), 3);
  EXPECT_TRUE(Until([&] { return NativeGetRawData(frame_.data()) == kFrameBytes && Corners(frame_, 0, 255, 0); }))
      << PixelText(frame_);
}

// Six seconds of yellow as DASH: a static manifest over 1-second segments of
// fragmented MP4 (ffmpeg would pick WebM segments for VP9, which this engine
// release's DASH reader does not take).
std::string DashSet() {
  const std::string dir = WorkDir() + "/dash";
  std::filesystem::create_directories(dir);
  RunCommand("cd " + ShellQuote(ShellPath(dir)) +
             " && ffmpeg -nostdin -loglevel error -y -f lavfi -i color=c=yellow:s=160x90:r=25 -t 6 -c:v libvpx-vp9"
             " -deadline realtime -cpu-used 8 -b:v 200k -g 25 -f dash -dash_segment_type mp4 -seg_duration 1"
             " manifest.mpd");
  return dir;
}

libvlc_media_player_t* Player() { return Record().mainPlayer.get(); }

using WindowsStreaming = EngineTest;

// Each source opened with auto-play on: its live verdict, a picture, and the
// total time (the engine's length, and for a live stream that length plus a
// second, read as a stable pair: the engine may refresh the length; this
// release gives a live window no length, so the total is 1000).
TEST_F(WindowsStreaming, ProgressiveHlsAndDashThenALiveWindowPausesByStoppingAndRtmpHasNoAccessHere) {
  HttpServer server;
  server.serve("/progressive.mp4", ReadFile(ColourClip("blue", 8, false, "faststart.mp4")));
  server.serveDirectory("/hls/", HlsOnDemandSet());
  server.serveDirectory("/live/", HlsLiveSet());
  server.serveDirectory("/dash/", DashSet());
  NativeSetAutoPlay(true);
  struct Source {
    std::string path;
    bool live;
    int32_t length;  // in ms; 0: live, compared with the engine's
    int r, g, b;     // the picture's colour; -1: a test pattern, any picture
  };
  const Source sources[] = {
      {"/progressive.mp4", false, 8000, 0, 0, 255}, {"/hls/master.m3u8", false, 6000, -1, -1, -1},
      {"/hls/low/index.m3u8", true, 0, -1, -1, -1},  // a media playlist given directly always counts as live
      {"/dash/manifest.mpd", false, 6000, 255, 255, 0}, {"/live/master.m3u8", true, 0, -1, -1, -1}};
  for (const Source& source : sources) {
    SCOPED_TRACE(source.path);
    events_.clear();
    ASSERT_EQ(NativeOpenURI(server.url(source.path).c_str()), 0);
    EXPECT_EQ(NativeIsLive(), source.live);
    EXPECT_TRUE(WaitFor(2)) << Seen();
    std::fill(frame_.begin(), frame_.end(), 0);
    EXPECT_TRUE(Until([&] {
      EXPECT_EQ(NativeGetRawData(frame_.data()), kFrameBytes);
      return source.r < 0 ? std::any_of(frame_.begin(), frame_.end(), [](uint8_t byte) { return byte > 64; })
                          : Corners(frame_, source.r, source.g, source.b);
    })) << PixelText(frame_);
    if (source.length > 0) {
      EXPECT_TRUE(Until([&] { return std::abs(NativeGetTotalTime() - source.length) <= 300; })) << NativeGetTotalTime();
    } else {
      EXPECT_TRUE(Until([&] {
        const int64_t engine = libvlc_media_player_get_length(Player());
        return engine >= kLeastLiveLength && engine == libvlc_media_player_get_length(Player()) &&
               NativeGetTotalTime() == engine + 1000;
      })) << NativeGetTotalTime() << " vs " << libvlc_media_player_get_length(Player());
    }
  }

  // The live window (opened last) is stopped, and the stopped report reaches the host as a pause.
  events_.clear();
  EXPECT_EQ(NativePause(), 0);
  ASSERT_TRUE(WaitFor(9)) << Seen();
  EXPECT_EQ(Count(12), 0) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 4);
  EXPECT_EQ(NativeGetTotalTime(), Record().pausedLength.load());
  EXPECT_GE(NativeGetTotalTime(), 1000);
  EXPECT_EQ(NativeSeek(1000), -3);
  events_.clear();
  EXPECT_EQ(NativeResume(), 0);
  EXPECT_TRUE(WaitFor(2)) << Seen();

  // rtmp is live by its scheme. This engine release reads rtmp only through
  // its decoder plug-in, which is absent here: the open fails.
  const RtmpStream rtmp("green");
  EXPECT_EQ(NativeOpenURI(rtmp.url().c_str()), -1);
  EXPECT_TRUE(NativeIsLive());
}

// The process's threads. Every engine instance and player keeps threads of
// its own until it is released (Wine counts no handles: GetProcessHandleCount
// answers 0 there).
long Threads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 thread{};
  thread.dwSize = sizeof thread;
  long count = 0;
  for (BOOL more = Thread32First(snapshot, &thread); more; more = Thread32Next(snapshot, &thread)) {
    count += thread.th32OwnerProcessID == GetCurrentProcessId();
  }
  CloseHandle(snapshot);
  return count;
}

using WindowsCycles = EngineTestOf<0>;

// The way an editor enters and leaves play mode, 20 times in each mode, each
// time with media playing. After the first round (which starts the threads
// that live as long as the process) every shut-down ends the threads its
// start-up and media began.
TEST_F(WindowsCycles, TwentyStartUpsAndShutDownsInEachModeReleaseTheirThreads) {
  const std::string clip = ColourClip("blue", 30, true);
  long baseline = 0;
  for (int cycle = 0; cycle <= 20; ++cycle) {
    SCOPED_TRACE(cycle);
    ASSERT_EQ(StartUp(), 0);
    NativeSetAutoPlay(true);
    ASSERT_EQ(NativeOpenURI(clip.c_str()), 0);
    NativeShutdown();
    EXPECT_EQ(Player(), nullptr);
    ASSERT_EQ(StartUp(2), 0);
    NativeSetAutoPlay(true);
    NativeStartChosenPlayer(0, clip.c_str());
    NativeStartChosenPlayer(1, clip.c_str());
    ASSERT_TRUE(Until([] { return SlotState(0) == 3 && SlotState(1) == 3; }));
    if (cycle > 0) {
      EXPECT_GT(Threads(), baseline + 4);  // the count sees the engines' threads
    }
    NativeShutdown();
    EXPECT_EQ(multi::Slots().size(), 0);
    if (cycle == 0) baseline = Threads();
    EXPECT_TRUE(Until([&] { return Threads() <= baseline; })) << Threads() << " threads, " << baseline << " after the first";
  }
}

// The engine's plug-ins in a folder apart from the DLLs, as a Unity project
// keeps them (outside Assets/). The engine reads VLC_PLUGIN_PATH with the C
// runtime's getenv, whose copy of the environment SetEnvironmentVariableA (what
// .NET's Environment.SetEnvironmentVariable calls) does not reach; _putenv_s
// of msvcrt.dll, which the C# binding's KorvidEngineFiles calls, does.
// scripts/test-windows.sh runs each test in a process of its own, in a folder
// without plugins/, and names the folder in KORVID_TEST_PLUGIN_FOLDER.
class EnginePluginFolder : public EngineTestOf<0> {
 protected:
  // A copy: the C runtime's strings move when its environment changes.
  const std::string folder_ = std::getenv("KORVID_TEST_PLUGIN_FOLDER") ? std::getenv("KORVID_TEST_PLUGIN_FOLDER") : "";
};

TEST_F(EnginePluginFolder, SetInTheWindowsEnvironmentIsNotSeen) {
  ASSERT_FALSE(folder_.empty());
  ASSERT_TRUE(SetEnvironmentVariableA("VLC_PLUGIN_PATH", folder_.c_str()));
  EXPECT_EQ(Captured([] { EXPECT_EQ(NativeInit(0), -1); }), "LibVLC initialization failure.\n");
}

TEST_F(EnginePluginFolder, SetInTheCRuntimesEnvironmentIsSeen) {
  using PutEnv = int(__cdecl*)(const char*, const char*);
  const auto putEnv = reinterpret_cast<PutEnv>(
      reinterpret_cast<void (*)()>(GetProcAddress(LoadLibraryA("msvcrt.dll"), "_putenv_s")));
  ASSERT_FALSE(folder_.empty());
  ASSERT_EQ(putEnv("VLC_PLUGIN_PATH", folder_.c_str()), 0);
  ASSERT_EQ(NativeInit(0), 0);
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(ColourClip("red", 10, true).c_str()), 0);
  EXPECT_TRUE(Until([&] { return NativeGetRawData(frame_.data()) == kFrameBytes && Corners(frame_, 255, 0, 0); }))
      << PixelText(frame_);
}

}  // namespace
}  // namespace korvid::test
