#include "video/picture_memory.h"

#include <new>

namespace korvid::video {

PictureMemory AllocatePictureMemory(std::size_t bytes) {
  PictureMemory memory(static_cast<uint8_t*>(std::calloc(bytes, 1)));
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace korvid::video
