// Multi-instance set-up: the slot count and the entry points that only log.
#include <string>

#include "core/log.h"
#include "core/log_lines.h"
#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "multi/slot_tables.h"

using namespace korvid;

KORVID_EXPORT void NativeSetMultiStream(int32_t count) {
  LogMethod("NativeSetMultiStream", log_line::kNativeSetMultiStream);
  Record().currentInstance = 0;
  Record().instanceCount = count;
  multi::Slots().resize(count);
}

KORVID_EXPORT void NativeSetMultiPaths(const char* path) {
  LogMethod("NativeSetMultiPaths", log_line::kNativeSetMultiPaths);
  multi::Slots().addPath(path != nullptr ? std::string(path) : std::string());
}

KORVID_EXPORT void NativeSetMultiProperty() {
  LogMethod("NativeSetMultiProperty", log_line::kNativeSetMultiProperty);
}

KORVID_EXPORT void NativeSetMultiHTTPHeader(int32_t /*ignored*/, const char* /*ignoredText*/) {
  LogMethod("NativeSetMultiHTTPHeader", log_line::kNativeSetMultiHTTPHeader);
}
