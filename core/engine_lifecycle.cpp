#include "core/engine_lifecycle.h"

#include <algorithm>

#include "core/engine_adapter.h"
#include "core/event_handlers.h"
#include "core/event_queue.h"
#include "core/log.h"
#include "core/no_destructor.h"
#include "core/player_record.h"
#include "core/video_size.h"
#include "multi/slot_tables.h"
#include "subtitles/subtitle_lifecycle.h"
#include "tracks/audio_lifecycle.h"
#include "video/frame_copy.h"
#include "video/lock_callbacks.h"
#include "video/preview_objects.h"

namespace korvid {
namespace {

// The engine unloads its plug-ins when its last instance is released, and
// each time it loads them again it keeps about 13 KB for good (a bare engine
// client that makes and releases the same objects shows the same:
// bench/soak_growth.cpp). One quiet instance, made at the first start-up and
// held for the life of the process, keeps them loaded. It has no player, no
// media and no log file, and nothing the host calls reaches it: the engines of
// each start-up are still made with the fixed options and released at
// shut-down, and the engine's own log file is written as before.
void HoldEnginePlugins() {
  static constexpr const char* kQuiet[] = {"--ignore-config", "--quiet"};
  static NoDestructor<EngineHandle> holder;
  if (!*holder) holder->reset(libvlc_new(2, kQuiet));
}

void ResetRecord(uint8_t logLevel) {
  PlayerRecord& r = Record();
  r.autoPlay = false;
  r.isStopped = false;
  r.isClosed = false;
  r.startRequested = false;
  r.isManifestMpd = false;
  r.isLive = false;
  // Compared as unsigned on purpose: a size of -1 set by the host becomes the default.
  r.subtitleBufferSize = std::min(r.subtitleBufferSize.load(), kDefaultSubtitleBufferSize);
  tracks::ResetOnInit();
  subtitles::ResetOnInit();
  ResetVideoSize();
  r.stateCode = state_code::kNone;
  r.liveTime = 0;
  SetLogEnabled(logLevel);
}

int32_t StartSinglePlayer() {
  PlayerRecord& r = Record();
  // A previous engine is given up; its player (if any) keeps it alive until released.
  r.mainEngine.reset(engine::NewInstance());
  if (!r.mainEngine) {
    LogAlways("LibVLC initialization failure.\n");
    return -1;
  }
  RetireMainPlayer();
  r.mainPlayer.reset(libvlc_media_player_new(r.mainEngine.get()));
  return 0;
}

int32_t StartSlots() {
  const int32_t count = Record().instanceCount.load();
  multi::SlotTables& slots = multi::Slots();
  for (int32_t i = 0; i < count; ++i) {
    slots.setEngine(i, engine::NewInstance());
    slots.appendFrameCopy();
  }
  video::PreviewSet preview = video::MakePreviewWindow();
  for (int32_t i = 0; i < count; ++i) slots.setTexture(i, video::MakeFrameTexture(preview.renderer.get()));
  preview.mutex.reset(SDL_CreateMutex());
  video::ReplaceMainPreview(std::move(preview));
  return 0;
}

}  // namespace

void RetireMainPlayer() {
  PlayerRecord& r = Record();
  engine::DrainWorker();
  if (libvlc_event_manager_t* events = r.eventManager.exchange(nullptr)) DetachEventHandlers(events);
  r.mainPlayer.reset();
}

int32_t StartEngine(uint8_t logLevel) {
  ResetRecord(logLevel);
  video::ReserveTeardownScratch();
  video::MainFrameCopy();
  HoldEnginePlugins();
  return MultiInstanceMode() ? StartSlots() : StartSinglePlayer();
}

void ShutdownEngine() {
  PlayerRecord& r = Record();
  if (!MultiInstanceMode()) {
    if (r.mainEngine) {
      RetireMainPlayer();
      r.mainMedia.reset();
      tracks::ReleaseOnShutdown();  // the audio track list first, then the subtitle one
    }
    video::DestroyMainPreviewAndQuit();
    subtitles::ReleaseOnShutdown();
    Events().clear();
    // The engine goes last, once nothing runs on it.
    r.mainEngine.reset();
    return;
  }
  engine::DrainWorker();
  multi::Slots().clear();
  video::DestroyMainPreviewAndQuit();
  subtitles::ReleaseOnShutdown();
  Events().clear();
  r.instanceCount = 1;
  r.currentInstance = 0;
  r.liveTime = 0;
  r.stateCode = state_code::kNone;
}

}  // namespace korvid
