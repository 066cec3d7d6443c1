#include "video/frame_copy.h"

#include <cstring>

#include "core/no_destructor.h"
#include "video/frame_geometry.h"
#include "video/pixel_reorder.h"

namespace korvid::video {

FrameCopy::FrameCopy() : bytes_(std::make_unique<uint8_t[]>(kFrameCopyBytes)) {}

void FrameCopy::storeFrom(const uint8_t* pixels) {
  const std::lock_guard lock(mutex_);
  std::memcpy(bytes_.get(), pixels, kFrameBytes);
}

void FrameCopy::deliverTo(uint8_t* hostBuffer) const {
  const std::lock_guard lock(mutex_);
  ReorderPixels(bytes_.get(), hostBuffer, kFrameBytes);
}

uint8_t* FrameCopy::spareHalf() { return bytes_.get() + kFrameBytes; }

FrameCopy& MainFrameCopy() {
  // Never destroyed: a video thread may still store into it at process exit.
  static NoDestructor<FrameCopy> copy;
  return *copy;
}

}  // namespace korvid::video
