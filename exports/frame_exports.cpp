// Frame delivery: the host pulls the newest picture into its own buffer.
#include "core/log.h"
#include "core/log_lines.h"
#include "exports/korvid_exports.h"
#include "multi/slot_tables.h"
#include "video/frame_copy.h"
#include "video/frame_geometry.h"

using namespace korvid;

namespace {

constexpr int32_t kDelivered = static_cast<int32_t>(video::kFrameBytes);

}  // namespace

KORVID_EXPORT int32_t NativeGetRawData(uint8_t* buffer) {
  LogMethod("NativeGetRawData", log_line::kNativeGetRawData);
  if (buffer != nullptr) video::MainFrameCopy().deliverTo(buffer);
  return kDelivered;
}

KORVID_EXPORT int32_t NativeGetMultipleRawData(uint8_t* buffer, int32_t index) {
  LogMethod("NativeGetMultipleRawData", log_line::kNativeGetMultipleRawData);
  video::FrameCopy* copy = multi::Slots().frameTarget(index).copy;
  if (buffer != nullptr && copy != nullptr) copy->deliverTo(buffer);
  return kDelivered;
}

KORVID_EXPORT int32_t NativeSetTextureFromUnity(void* /*ignored*/) {
  LogMethod("NativeSetTextureFromUnity", log_line::kNativeSetTextureFromUnity);
  return 0;
}

KORVID_EXPORT void NativeSetHWND(void* /*ignored*/) {
  LogMethod("NativeSetHWND", log_line::kNativeSetHWND);
}
