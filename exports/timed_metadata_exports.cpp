// Timed metadata: entry points the host's scripts expect; on this platform
// they carry no function.
#include "core/log.h"
#include "core/log_lines.h"
#include "exports/korvid_exports.h"

using namespace korvid;

KORVID_EXPORT int32_t NativeSetTimedMetadta_CustomTags(const char* /*ignored*/) {
  LogMethod("NativeSetTimedMetadta_CustomTags", log_line::kNativeSetTimedMetadta_CustomTags);
  return 0;
}

KORVID_EXPORT int32_t NativeGetTimedMetadta_EncodingType(int32_t /*ignored*/, const char* /*ignoredText*/) {
  LogMethod("NativeGetTimedMetadta_EncodingType", log_line::kNativeGetTimedMetadta_EncodingType);
  return 0;
}

KORVID_EXPORT int32_t NativeGetTimedMetadta_DataByte(int32_t /*ignored*/, const char* /*ignoredText*/) {
  LogMethod("NativeGetTimedMetadta_DataByte", log_line::kNativeGetTimedMetadta_DataByte);
  return 0;
}
