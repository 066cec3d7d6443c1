// Memory for whole pictures, zero-filled without writing it: calloc takes a
// block this large straight from the system, whose pages are zero and are
// only mapped when first written. A copy that is never drawn into costs no
// resident memory, and making one costs no pass over 16 MB.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace korvid::video {

struct FreePictureMemory {
  void operator()(uint8_t* bytes) const noexcept { std::free(bytes); }
};

using PictureMemory = std::unique_ptr<uint8_t[], FreePictureMemory>;

// Throws std::bad_alloc when the system has no room.
PictureMemory AllocatePictureMemory(std::size_t bytes);

}  // namespace korvid::video
