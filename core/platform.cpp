#include "core/platform.h"

#if KORVID_HAVE_X86_VECTORS && defined(_MSC_VER)
#include <intrin.h>
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
