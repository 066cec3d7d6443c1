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

// x86-64 vector code: compiled for the SSSE3 target whatever the baseline, and
// used only after a run-time check of the CPU.
#if defined(__x86_64__) || defined(_M_X64)
#define KORVID_HAVE_X86_VECTORS 1
#else
#define KORVID_HAVE_X86_VECTORS 0
#endif
#if KORVID_HAVE_X86_VECTORS && (defined(__GNUC__) || defined(__clang__))
#define KORVID_TARGET_SSSE3 __attribute__((target("ssse3")))
#else
#define KORVID_TARGET_SSSE3
#endif

namespace korvid::platform {

inline constexpr bool kIsWindows = KORVID_PLATFORM_WINDOWS != 0;

// The separator a local path is written with before it reaches the engine.
inline constexpr char kPathSeparator = kIsWindows ? '\\' : '/';

// True when the CPU runs SSSE3 instructions (false off x86-64).
bool CpuHasSsse3();

}  // namespace korvid::platform
