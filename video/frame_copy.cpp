#include "video/frame_copy.h"

#include <utility>

#include "core/no_destructor.h"
#include "video/frame_geometry.h"
#include "video/pixel_reorder.h"

namespace korvid::video {

FrameCopy::FrameCopy()
    : bytes_(AllocatePictureMemory(kFrameCopyBytes)), shown_(bytes_.get()), drawing_(bytes_.get() + kFrameBytes) {}

uint8_t* FrameCopy::swapForNextPicture() {
  const std::lock_guard lock(mutex_);
  std::swap(shown_, drawing_);
  return drawing_;
}

void FrameCopy::deliverTo(uint8_t* hostBuffer) const {
  const std::lock_guard lock(mutex_);
  ReorderPixels(shown_, hostBuffer, kFrameBytes);
}

FrameCopy& MainFrameCopy() {
  // Never destroyed: a video thread may still draw into it at process exit.
  static NoDestructor<FrameCopy> copy;
  return *copy;
}

}  // namespace korvid::video
