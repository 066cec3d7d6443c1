// Platform facts, decided once. The rest of the code tests these capabilities
// instead of compilers or operating systems.
#pragma once

#if defined(_WIN32)
#define KORVID_PLATFORM_WINDOWS 1
#else
#define KORVID_PLATFORM_WINDOWS 0
#endif

// Marks one exported entry point: undecorated C name, visible from the host.
#if KORVID_PLATFORM_WINDOWS
#define KORVID_EXPORT extern "C" __declspec(dllexport)
#else
#define KORVID_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace korvid::platform {

inline constexpr bool kIsWindows = KORVID_PLATFORM_WINDOWS != 0;

// The separator a local path is written with before it reaches the engine.
inline constexpr char kPathSeparator = kIsWindows ? '\\' : '/';

}  // namespace korvid::platform
