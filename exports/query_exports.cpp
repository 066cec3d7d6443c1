// Player queries and settings, and the entry points that only log.
#include "core/log.h"
#include "core/log_lines.h"
#include "core/player_queries.h"
#include "core/player_record.h"
#include "core/video_size.h"
#include "exports/korvid_exports.h"

using namespace korvid;

KORVID_EXPORT int32_t NativeGetCurrentTime() {
  LogMethod("NativeGetCurrentTime", log_line::kNativeGetCurrentTime);
  return CurrentTimeMs();
}

KORVID_EXPORT int32_t NativeGetTotalTime() {
  LogMethod("NativeGetTotalTime", log_line::kNativeGetTotalTime);
  return TotalTimeMs();
}

KORVID_EXPORT uint32_t NativeGetVideoHeight() {
  LogMethod("NativeGetVideoHeight", log_line::kNativeGetVideoHeight);
  return QueryVideoHeight();
}

KORVID_EXPORT uint32_t NativeGetVideoWidth() {
  LogMethod("NativeGetVideoWidth", log_line::kNativeGetVideoWidth);
  return QueryVideoWidth();
}

KORVID_EXPORT int32_t NativeGetPlayerState() {
  LogMethod("NativeGetPlayerState", log_line::kNativeGetPlayerState);
  return PlayerState();
}

KORVID_EXPORT int32_t NativeSetMute(bool mute) {
  LogMethod("NativeSetMute", log_line::kNativeSetMute);
  SetMute(mute);
  return 0;
}

KORVID_EXPORT int32_t NativeSetVolume(float volume) {
  LogMethod("NativeSetVolume", log_line::kNativeSetVolume);
  SetVolume(volume);
  return 0;
}

KORVID_EXPORT int32_t NativeSetAutoPlay(bool autoPlay) {
  LogMethod("NativeSetAutoPlay", log_line::kNativeSetAutoPlay);
  Record().autoPlay = autoPlay;
  return 0;
}

KORVID_EXPORT int32_t NativeSetProperty(int32_t id, int32_t value) {
  LogMethod("NativeSetProperty", log_line::kNativeSetProperty);
  SetProperty(id, value);
  return 0;
}

KORVID_EXPORT int32_t NativeSetLoop(bool /*ignored*/) {
  LogMethod("NativeSetLoop", log_line::kNativeSetLoop);
  return 0;
}

KORVID_EXPORT int32_t NativeSetLowLatency(bool /*ignored*/) {
  LogMethod("NativeSetLowLatency", log_line::kNativeSetLowLatency);
  return 0;
}

KORVID_EXPORT int32_t NativeGetMilisecondsEndBuffered() {
  LogMethod("NativeGetMilisecondsEndBuffered", log_line::kNativeGetMilisecondsEndBuffered);
  return 0;
}

KORVID_EXPORT void NativeSetContentInfo(const char* /*ignored*/) {
  LogMethod("NativeSetContentInfo", log_line::kNativeSetContentInfo);
}

KORVID_EXPORT int32_t NativeGetContentInfo() {
  LogMethod("NativeGetContentInfo", log_line::kNativeGetContentInfo);
  return 0;
}
