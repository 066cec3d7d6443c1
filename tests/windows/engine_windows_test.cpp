// Engine scenarios that only the Windows build runs, under Wine against the
// engine's own Windows release: many start-up and shut-down cycles in one
// process, and the engine's plug-ins kept in a folder of their own.
// (NativeStartPlayBack from a pause: the shared playback routine; Windows
// paths with "\\": NativeSeparators in the shared engine tests; network
// sources: StreamingPlayback.)

#include <windows.h>
// After windows.h.
#include <tlhelp32.h>

#include "support/engine_session.h"

namespace korvid::test {
namespace {

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
    ASSERT_EQ(StartUp(2), 0);
    NativeSetAutoPlay(true);
    NativeStartChosenPlayer(0, clip.c_str());
    NativeStartChosenPlayer(1, clip.c_str());
    ASSERT_TRUE(Until([] { return SlotState(0) == 3 && SlotState(1) == 3; }));
    if (cycle > 0) {
      EXPECT_GT(Threads(), baseline + 4);  // the count sees the engines' threads
    }
    NativeShutdown();
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
  EXPECT_TRUE(Until([&] { return NativeGetRawData(frame_.data()) == kFrameBytes && Shows(frame_, 255, 0, 0); }))
      << PixelText(frame_);
}

}  // namespace
}  // namespace korvid::test
