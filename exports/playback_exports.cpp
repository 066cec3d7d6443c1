// Opening and transport control.
#include "core/log.h"
#include "core/log_lines.h"
#include "core/open_media.h"
#include "core/playback_control.h"
#include "exports/korvid_exports.h"

using namespace korvid;

KORVID_EXPORT int32_t NativeOpenURI(const char* location) {
  LogMethod("NativeOpenURI", log_line::kNativeOpenURI);
  return OpenMainMedia(location);
}

KORVID_EXPORT int32_t NativeStartPlayBack() {
  LogMethod("NativeStartPlayBack", log_line::kNativeStartPlayBack);
  return StartPlayBack();
}

KORVID_EXPORT int32_t NativePause() {
  LogMethod("NativePause", log_line::kNativePause);
  return Pause();
}

KORVID_EXPORT int32_t NativeResume() {
  LogMethod("NativeResume", log_line::kNativeResume);
  return Resume();
}

KORVID_EXPORT int32_t NativeStop() {
  LogMethod("NativeStop", log_line::kNativeStop);
  return Stop();
}

KORVID_EXPORT int32_t NativeSeek(int32_t positionMs) {
  LogMethod("NativeSeek", log_line::kNativeSeek);
  return Seek(positionMs);
}

KORVID_EXPORT void NativeClose() {
  LogMethod("NativeClose", log_line::kNativeClose);
  Close();
}
