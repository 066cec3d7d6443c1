#include "core/open_media.h"

#include <algorithm>
#include <cstring>

#include "core/engine_adapter.h"
#include "core/event_handlers.h"
#include "core/player_record.h"
#include "core/platform.h"
#include "net/live_detection.h"
#include "video/lock_callbacks.h"
#include "video/preview_objects.h"

namespace korvid {
namespace {

// Waits, without a time limit and without spinning, until the engine plays
// or reports its error state.
int32_t WaitUntilPlayingOrError(libvlc_media_player_t* player, libvlc_media_t* media,
                                const engine::PlaybackWatch& watch) {
  for (;;) {
    const uint64_t seen = watch.reports();
    const auto outcome = watch.outcome();
    if (outcome == engine::PlaybackWatch::Outcome::kError || libvlc_media_get_state(media) == libvlc_Error) {
      return open_result::kEngineError;
    }
    if (outcome == engine::PlaybackWatch::Outcome::kPlaying || libvlc_media_player_is_playing(player) != 0) {
      return open_result::kPlaying;
    }
    watch.waitBeyond(seen);
  }
}

}  // namespace

std::string UriExtension(const std::string& text) {
  const std::size_t dot = text.rfind('.');
  if (dot == std::string::npos || dot + 1 == text.size()) return {};
  if (text.find_first_of("/\\", dot + 1) != std::string::npos) return {};
  return text.substr(dot + 1);
}

bool HasSchemePrefix(const char* location, const char* prefix) {
  return location != nullptr && std::strncmp(location, prefix, 4) == 0;
}

std::string EnginePath(std::string path) {
  std::replace(path.begin(), path.end(), '/', platform::kPathSeparator);
  return path;
}

int32_t OpenMainMedia(const char* location) {
  PlayerRecord& r = Record();
  libvlc_instance_t* engine = r.mainEngine.get();
  libvlc_media_player_t* player = r.mainPlayer.get();
  if (location == nullptr || engine == nullptr || player == nullptr) return open_result::kNoMedia;

  const bool network = HasSchemePrefix(location, "http") || HasSchemePrefix(location, "rtmp");
  const std::string working = network ? std::string(location) : EnginePath(location);
  r.mainMedia.reset(network ? libvlc_media_new_location(engine, location)
                            : libvlc_media_new_path(engine, working.c_str()));
  libvlc_media_t* media = r.mainMedia.get();
  if (media == nullptr) return open_result::kNoMedia;

  const std::string extension = UriExtension(working);
  if (extension == "mpd") r.isManifestMpd = true;
  if (HasSchemePrefix(location, "rtmp")) {
    r.isLive = true;
  } else {
    net::CheckLiveStreaming(location, extension);
  }

  video::PreviewSet fresh = video::MakePreviewWindow();
  fresh.texture = video::MakeFrameTexture(fresh.renderer.get());
  fresh.mutex.reset(SDL_CreateMutex());
  // The previous set is destroyed when this call returns; no video thread
  // touches SDL objects, so nothing else is waiting on it.
  const video::PreviewSet retired = video::ReplaceMainPreview(std::move(fresh));

  engine::DrainWorker();  // a stop still queued for the previous media runs first
  engine::SetMedia(player, media);
  libvlc_event_manager_t* events = libvlc_media_player_event_manager(player);
  if (libvlc_event_manager_t* previous = r.eventManager.exchange(events)) DetachEventHandlers(previous);
  AttachEventHandlers(events);
  video::AttachFrameOutput(player, &video::MainLockCallback);

  const engine::PlaybackWatch watch(player);
  if (libvlc_media_player_play(player) == -1) {
    r.stateCode = state_code::kClosed;
    return open_result::kRefused;
  }
  return WaitUntilPlayingOrError(player, media, watch);
}

}  // namespace korvid
