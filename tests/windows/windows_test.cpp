// What only the Windows build does, run under Wine beside a stand-in engine:
// the DLL as a Unity host loads it (by name, its entry points looked up by
// name), starting without a working engine. (Windows paths and text-mode
// subtitle files are played through the real engine: engine_windows_test.cpp.)
#include <gtest/gtest.h>

#include <windows.h>

#include <SDL.h>

#include <cstdint>
#include <string>

namespace {

// The export `name` of `library` as a function of type `Signature`, through the
// generic function pointer type, which any function pointer converts to.
template <typename Signature>
Signature* Export(HMODULE library, const char* name) {
  return reinterpret_cast<Signature*>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
}

// The export table itself is compared with the list by tests/check_exports.sh.
TEST(Windows, TheHostLoadsTheDllByNameAndStartsItWithoutAWorkingEngine) {
  const HMODULE library = LoadLibraryA("WindowsKorvidSDK.dll");
  ASSERT_NE(library, nullptr) << "LoadLibrary failed: " << GetLastError();
  EXPECT_EQ(Export<uint8_t()>(library, "NativeGetVersionMajor")(), 1);

  // Single player: the engine cannot be made. The failure is printed whatever
  // the log switch says; the method line follows the switch's earlier value.
  const auto init = Export<int32_t(uint8_t)>(library, "NativeInit");
  Export<void(uint8_t)>(library, "NativeSetLogLevel")(1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(init(0), -1);
  EXPECT_EQ(init(0), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Korvid Native Windows Log : method : NativeInit (L 1753) \n"
            "LibVLC initialization failure.\n"
            "LibVLC initialization failure.\n");

  // Several players: engine failures are not checked, and the hidden preview
  // window, its renderer and the slot textures come from SDL2.dll's dummy driver.
  Export<void(int32_t)>(library, "NativeSetMultiStream")(2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(init(1), 0);
  SDL_Window* const preview = SDL_GetWindowFromID(1);  // the same SDL2.dll serves this program
  EXPECT_NE(preview, nullptr);
  EXPECT_STREQ(SDL_GetWindowTitle(preview), "Preview");
  EXPECT_NE(SDL_GetWindowFlags(preview) & SDL_WINDOW_HIDDEN, 0u);
  EXPECT_NE(SDL_GetRenderer(preview), nullptr);
  Export<void()>(library, "NativeShutdown")();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Korvid Native Windows Log : method : NativeShutdown (L 1258) \n");
  EXPECT_TRUE(FreeLibrary(library));
}

}  // namespace
