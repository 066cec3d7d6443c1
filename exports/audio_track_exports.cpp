// Audio tracks of the main player: count, switch, current id.
#include "core/log.h"
#include "core/log_lines.h"
#include "exports/korvid_exports.h"
#include "tracks/audio_tracks.h"

using namespace korvid;

KORVID_EXPORT int32_t KORVIDUnity_GetAudioStreamCount() {
  LogMethod("KORVIDUnity_GetAudioStreamCount", log_line::kKORVIDUnity_GetAudioStreamCount);
  return tracks::AudioStreamCount();
}

KORVID_EXPORT int32_t KORVIDUnity_SetAudioStream(int32_t trackId) {
  LogMethod("KORVIDUnity_SetAudioStream", log_line::kKORVIDUnity_SetAudioStream);
  return tracks::SetAudioStream(trackId);
}

KORVID_EXPORT int32_t KORVIDUnity_GetCurrentAudioStreamID() {
  LogMethod("KORVIDUnity_GetCurrentAudioStreamID", log_line::kKORVIDUnity_GetCurrentAudioStreamID);
  return tracks::CurrentAudioStreamId();
}
