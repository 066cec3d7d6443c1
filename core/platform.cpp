#include "core/platform.h"

#if KORVID_PLATFORM_WINDOWS
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>
#endif
#if KORVID_HAVE_X86_VECTORS && defined(_MSC_VER)
#include <intrin.h>
#endif

#if KORVID_PLATFORM_WINDOWS
// The library has no load-time work of its own: it only tells the loader that
// it wants no thread attach and detach calls, and leaves unloading to the runtime.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
  return TRUE;
}
#endif

namespace korvid::platform {

bool CpuHasSsse3() {
#if KORVID_HAVE_X86_VECTORS && (defined(__GNUC__) || defined(__clang__))
  return __builtin_cpu_supports("ssse3") != 0;
#elif KORVID_HAVE_X86_VECTORS && defined(_MSC_VER)
  int registers[4] = {};
  __cpuid(registers, 1);
  return (registers[2] & (1 << 9)) != 0;
#else
  return false;
#endif
}

}  // namespace korvid::platform
