// What only the Windows build does, run under Wine: the DLL as a Unity host
// loads it (by name, its entry points looked up by name), the path separator, text-
// mode subtitle files, and start-up without a working engine.
#include <gtest/gtest.h>

#include <windows.h>

#include <SDL.h>

#include <cstdint>
#include <string>

#include "core/open_media.h"
#include "subtitles/cue_parser.h"
#include "subtitles/subtitle_source.h"
#include "support/media.h"

namespace {

// The library loaded the way the host loads it; unloaded at the end.
class LoadedLibrary {
 public:
  LoadedLibrary() : module_(LoadLibraryA("WindowsKorvidSDK.dll")) {}
  ~LoadedLibrary() {
    if (module_ != nullptr) FreeLibrary(module_);
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  bool loaded() const { return module_ != nullptr; }
  FARPROC find(const std::string& name) const { return GetProcAddress(module_, name.c_str()); }

  // The export `name` as a function of type `Signature`.
  template <typename Signature>
  Signature* get(const char* name) const {
    // Through the generic function pointer type, which any function pointer converts to.
    return reinterpret_cast<Signature*>(reinterpret_cast<void (*)()>(find(name)));
  }

 private:
  HMODULE module_;
};

TEST(Windows, LocalPathsReachTheEngineWithBackslashes) {
  EXPECT_EQ(korvid::EnginePath("C:/media/clips/a b.mp4"), "C:\\media\\clips\\a b.mp4");
  EXPECT_EQ(korvid::EnginePath("..\\mixed/path.mkv"), "..\\mixed\\path.mkv");
}

TEST(Windows, SubRipFilesAreReadInTextMode) {
  const std::string path = korvid::test::WriteWorkFile(
      "crlf.srt", "1\r\n00:00:01,000 --> 00:00:02,500\r\nHello\r\nWorld\r\n\r\n2\r\n00:00:03,000 --> 00:00:04,000\r\nBye\r\n");
  const std::string text = korvid::subtitles::ReadWholeFile(path);
  EXPECT_EQ(text, "1\n00:00:01,000 --> 00:00:02,500\nHello\nWorld\n\n2\n00:00:03,000 --> 00:00:04,000\nBye\n");
  const korvid::subtitles::CueList cues = korvid::subtitles::ParseSrtCues(text, 0);
  ASSERT_NE(cues, nullptr);
  EXPECT_EQ(cues->endMs, 2500);
  EXPECT_EQ(cues->text, "Hello\nWorld");
  ASSERT_NE(cues->next, nullptr);
  EXPECT_EQ(cues->next->text, "Bye\n");
}

// The export table itself is compared with the list by tests/check_exports.sh.
TEST(Windows, TheHostBindsExportsByName) {
  const LoadedLibrary library;
  ASSERT_TRUE(library.loaded()) << "LoadLibrary failed: " << GetLastError();
  EXPECT_EQ(library.get<uint8_t()>("NativeGetVersionMajor")(), 1);
  EXPECT_EQ(library.get<uint8_t()>("NativeGetVersionMinor")(), 0);
  EXPECT_EQ(library.get<uint8_t()>("NativeGetVersionPatch")(), 0);
}

TEST(Windows, StartUpWithoutAWorkingEngine) {
  const LoadedLibrary library;
  ASSERT_TRUE(library.loaded());
  const auto setLogLevel = library.get<void(uint8_t)>("NativeSetLogLevel");
  const auto init = library.get<int32_t(uint8_t)>("NativeInit");
  const auto shutdown = library.get<void()>("NativeShutdown");
  const auto multiStream = library.get<void(int32_t)>("NativeSetMultiStream");

  // Single player: the engine cannot be made. The failure is printed whatever
  // the log switch says; the method line follows the switch's earlier value.
  setLogLevel(1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(init(0), -1);
  EXPECT_EQ(init(0), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Korvid Native Windows Log : method : NativeInit (L 1753) \n"
            "LibVLC initialization failure.\n"
            "LibVLC initialization failure.\n");

  // Several players: engine failures are not checked, and the hidden preview
  // window, its renderer and the slot textures come from SDL2.dll's dummy driver.
  multiStream(2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(init(1), 0);
  SDL_Window* const preview = SDL_GetWindowFromID(1);  // the same SDL2.dll serves this program
  ASSERT_NE(preview, nullptr);
  EXPECT_STREQ(SDL_GetWindowTitle(preview), "Preview");
  EXPECT_NE(SDL_GetWindowFlags(preview) & SDL_WINDOW_HIDDEN, 0u);
  EXPECT_NE(SDL_GetRenderer(preview), nullptr);
  shutdown();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Korvid Native Windows Log : method : NativeShutdown (L 1258) \n");
}

}  // namespace
