#include "video/pixel_reorder.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define KORVID_HAVE_SSE2 1
#else
#define KORVID_HAVE_SSE2 0
#endif

namespace korvid::video {
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
#if KORVID_HAVE_SSE2
  // Four 128-bit lanes a step; each 32-bit pixel keeps green and padding and
  // trades its low and third bytes.
  const __m128i keep = _mm_set1_epi32(static_cast<int>(0xFF00FF00u));
  const __m128i low = _mm_set1_epi32(0x000000FF);
  for (; done + 64 <= bytes; done += 64) {
    for (int lane = 0; lane < 4; ++lane) {
      const auto* in = reinterpret_cast<const __m128i*>(source + done) + lane;
      auto* out = reinterpret_cast<__m128i*>(target + done) + lane;
      const __m128i v = _mm_loadu_si128(in);
      const __m128i swapped = _mm_or_si128(
          _mm_and_si128(v, keep),
          _mm_or_si128(_mm_slli_epi32(_mm_and_si128(v, low), 16), _mm_and_si128(_mm_srli_epi32(v, 16), low)));
      _mm_storeu_si128(out, swapped);
    }
  }
#endif
  ReorderPixelsScalar(source + done, target + done, bytes - done);
}

}  // namespace korvid::video
