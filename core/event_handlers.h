// The engine's player events turned into queued events and state codes, plus
// the player's automatic behaviour: the pause after the first buffering when
// auto-play is off, the deferred seek, and the report of a paused live stream.
#pragma once

#include <vlc/vlc.h>

namespace korvid {

// Attaches the seven handlers, in their fixed order, to the main player's events.
void AttachEventHandlers(libvlc_event_manager_t* events);
void DetachEventHandlers(libvlc_event_manager_t* events);

// True when the current player's stop flag is set (the main player's, or in
// multi-instance mode the current slot's).
bool StopFlag();

}  // namespace korvid
