// Multi-instance control: start, choose, rewind and query one slot.
#include "core/log.h"
#include "core/log_lines.h"
#include "exports/korvid_exports.h"
#include "multi/multi_control.h"

using namespace korvid;

KORVID_EXPORT void NativeStartChosenPlayer(int32_t index, const char* uri) {
  LogMethod("NativeStartChosenPlayer", log_line::kNativeStartChosenPlayer);
  multi::StartChosenPlayer(index, uri);
}

KORVID_EXPORT void NativeControlInstance(int32_t index) {
  LogMethod("NativeControlInstance", log_line::kNativeControlInstance);
  multi::ChooseInstance(index);
}

KORVID_EXPORT int32_t NativeMultiInstanceStop(int32_t index) {
  LogMethod("NativeMultiInstanceStop", log_line::kNativeMultiInstanceStop);
  return multi::StopSlot(index);
}

KORVID_EXPORT int32_t NativeMultiInstanceGetCurrentTime(int32_t index) {
  LogMethod("NativeMultiInstanceGetCurrentTime", log_line::kNativeMultiInstanceGetCurrentTime);
  return multi::SlotCurrentTimeMs(index);
}

KORVID_EXPORT int32_t NativeMultiInstanceGetTotalTime(int32_t index) {
  LogMethod("NativeMultiInstanceGetTotalTime", log_line::kNativeMultiInstanceGetTotalTime);
  return multi::SlotTotalTimeMs(index);
}

KORVID_EXPORT bool NativeMultiInstanceIsLive(int32_t index) {
  LogMethod("NativeMultiInstanceIsLive", log_line::kNativeMultiInstanceIsLive);
  return multi::SlotIsLive(index);
}
