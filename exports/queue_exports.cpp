// The event queue the host polls.
#include "core/event_queue.h"
#include "core/log.h"
#include "core/log_lines.h"
#include "exports/korvid_exports.h"

using namespace korvid;

namespace {

constexpr int32_t kEmpty = -1;

template <int32_t QueuedEvent::*Field>
int32_t Front() {
  const auto front = Events().front();
  return front ? (*front).*Field : kEmpty;
}

}  // namespace

KORVID_EXPORT bool NativeQueueIsEmpty() {
  LogMethod("NativeQueueIsEmpty", log_line::kNativeQueueIsEmpty);
  return Events().empty();
}

KORVID_EXPORT void NativeQueuePop() {
  LogMethod("NativeQueuePop", log_line::kNativeQueuePop);
  Events().pop();
}

KORVID_EXPORT bool NativeQueueFrontIsString() {
  LogMethod("NativeQueueFrontIsString", log_line::kNativeQueueFrontIsString);
  return false;
}

KORVID_EXPORT void NativeQueueFrontString(const char* /*ignored*/) {
  LogMethod("NativeQueueFrontString", log_line::kNativeQueueFrontString);
}

KORVID_EXPORT int32_t NativeQueueFrontParamEvent() {
  LogMethod("NativeQueueFrontParamEvent", log_line::kNativeQueueFrontParamEvent);
  return Front<&QueuedEvent::eventCode>();
}

KORVID_EXPORT int32_t NativeQueueFrontParam1() {
  LogMethod("NativeQueueFrontParam1", log_line::kNativeQueueFrontParam1);
  return Front<&QueuedEvent::param1>();
}

KORVID_EXPORT int32_t NativeQueueFrontParam2() {
  LogMethod("NativeQueueFrontParam2", log_line::kNativeQueueFrontParam2);
  return Front<&QueuedEvent::param2>();
}

KORVID_EXPORT int32_t NativeQueueFrontParam3() {
  LogMethod("NativeQueueFrontParam3", log_line::kNativeQueueFrontParam3);
  return Front<&QueuedEvent::param3>();
}

KORVID_EXPORT int32_t GetNativeQueueSize() {
  LogMethod("GetNativeQueueSize", log_line::kGetNativeQueueSize);
  const std::size_t size = Events().size();
  return size == 0 ? kEmpty : static_cast<int32_t>(size);  // an empty queue reads -1, never 0
}
