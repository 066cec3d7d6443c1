#include "video/pixel_reorder.h"

#include "core/platform.h"

#if KORVID_HAVE_X86_VECTORS
#include <tmmintrin.h>
#endif

namespace korvid::video {
namespace {

#if KORVID_HAVE_X86_VECTORS
// One byte shuffle per four pixels: as fast as a plain copy of the frame.
KORVID_TARGET_SSSE3 std::size_t ReorderSsse3(const uint8_t* source, uint8_t* target, std::size_t bytes) {
  const __m128i order = _mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15);
  std::size_t done = 0;
  for (; done + 64 <= bytes; done += 64) {
    for (int lane = 0; lane < 4; ++lane) {
      const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + done) + lane);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(target + done) + lane, _mm_shuffle_epi8(pixels, order));
    }
  }
  return done;
}
#endif

}  // namespace

void ReorderPixelsScalar(const uint8_t* source, uint8_t* target, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; i += 8) {
    target[i + 0] = source[i + 2];
    target[i + 1] = source[i + 1];
    target[i + 2] = source[i + 0];
    target[i + 3] = source[i + 3];
    target[i + 4] = source[i + 6];
    target[i + 5] = source[i + 5];
    target[i + 6] = source[i + 4];
    target[i + 7] = source[i + 7];
  }
}

void ReorderPixels(const uint8_t* source, uint8_t* target, std::size_t bytes) {
  std::size_t done = 0;
#if KORVID_HAVE_X86_VECTORS
  static const bool vectors = platform::CpuHasSsse3();
  if (vectors) done = ReorderSsse3(source, target, bytes);
#endif
  ReorderPixelsScalar(source + done, target + done, bytes - done);
}

}  // namespace korvid::video
