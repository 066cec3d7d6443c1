// Side subtitles, the engine's subtitle tracks and the caption streams.
#include "core/log.h"
#include "core/log_lines.h"
#include "exports/korvid_exports.h"
#include "subtitles/caption_streams.h"
#include "subtitles/spu_tracks.h"
#include "subtitles/subtitle_source.h"
#include "subtitles/subtitle_update.h"

using namespace korvid;

KORVID_EXPORT bool NativeOpenSubtitleURI(const char* uri) {
  LogMethod("NativeOpenSubtitleURI", log_line::kNativeOpenSubtitleURI);
  return subtitles::OpenSubtitleUri(uri);
}

KORVID_EXPORT int32_t NativeUpdateSubtitle(char* buffer) {
  LogMethod("NativeUpdateSubtitle", log_line::kNativeUpdateSubtitle);
  return subtitles::UpdateSubtitle(buffer);
}

KORVID_EXPORT bool NativeCheckSpuContent() {
  LogMethod("NativeCheckSpuContent", log_line::kNativeCheckSpuContent);
  return subtitles::CheckSpuContent();
}

KORVID_EXPORT void NativeSetActiveSpuContent(bool enable) {
  LogMethod("NativeSetActiveSpuContent", log_line::kNativeSetActiveSpuContent);
  subtitles::SetActiveSpuContent(enable);
}

KORVID_EXPORT int32_t NativeGetCaptionEncodingType() {
  LogMethod("NativeGetCaptionEncodingType", log_line::kNativeGetCaptionEncodingType);
  return subtitles::kCaptionEncodingType;
}

KORVID_EXPORT void KORVIDUnity_SetCaptionStream(int32_t index) {
  LogMethod("KORVIDUnity_SetCaptionStream", log_line::kKORVIDUnity_SetCaptionStream);
  subtitles::SetCaptionStream(index);
}

KORVID_EXPORT int32_t KORVIDUnity_GetCaptionStreamCount() {
  LogMethod("KORVIDUnity_GetCaptionStreamCount", log_line::kKORVIDUnity_GetCaptionStreamCount);
  return subtitles::CaptionStreamCount();
}

KORVID_EXPORT int32_t KORVIDUnity_GetCaptionStreamID(int32_t index) {
  LogMethod("KORVIDUnity_GetCaptionStreamID", log_line::kKORVIDUnity_GetCaptionStreamID);
  return index;  // a caption stream's id is its position
}
