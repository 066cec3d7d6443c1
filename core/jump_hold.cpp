#include "core/jump_hold.h"

#include "core/no_destructor.h"

namespace korvid::engine {

void Hold::OnReport(const libvlc_event_t* event, void* self) {
  auto* hold = static_cast<Hold*>(self);
  {
    const std::lock_guard lock(hold->mutex_);
    if (!hold->listening_) return;
    Heard& heard = hold->heard_;
    switch (event->type) {
      case libvlc_MediaPlayerBuffering:
        if (event->u.media_player_buffering.new_cache < 100.0f) {
          heard.started = true;
        } else if (heard.started) {
          heard.buffered = true;
        }
        break;
      case libvlc_MediaPlayerPaused:
        heard.paused = true;
        break;
      case libvlc_MediaPlayerTimeChanged:
        // A jump that buffers nothing is judged on its fourth report.
        if (!heard.time && (heard.buffered || ++heard.unbuffered >= 4)) {
          heard.time = event->u.media_player_time_changed.new_time;
        }
        break;
      default:
        heard.over = true;
        break;
    }
  }
  hold->changed_.notify_all();
}

Hold& TheHold() {
  static NoDestructor<Hold> hold;
  return *hold;
}

}  // namespace korvid::engine
