// The per-slot tables of multi-instance playback: a slot is the media, player,
// engine, texture, frame copy and two flags at one index.
//
// The tables are read by the engine's video threads (each slot's lock callback
// looks up its frame copy) while the host's thread fills them, so one
// mutex guards them. Players are always released outside that mutex: a
// release joins the player's video thread, whose callback may be waiting on it.
#pragma once

#include <vlc/vlc.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "core/handles.h"
#include "video/frame_copy.h"

namespace korvid::multi {

// What a slot's lock callback draws into.
struct FrameTarget {
  SDL_Texture* texture = nullptr;
  video::FrameCopy* copy = nullptr;
};

class SlotTables {
 public:
  // Sizes the tables to `count` slots (new entries empty, dropped ones
  // released) and clears every live and stopped flag.
  void resize(int32_t count);
  // Number of entries, i.e. the count last given to resize.
  int32_t size() const;

  libvlc_media_player_t* player(int32_t index) const;
  libvlc_media_t* media(int32_t index) const;
  libvlc_instance_t* engine(int32_t index) const;

  void setEngine(int32_t index, libvlc_instance_t* engine);
  void setTexture(int32_t index, UniqueTexture texture);
  // Install a new player or media in the slot; the previous one is released.
  void setPlayer(int32_t index, libvlc_media_player_t* player);
  void setMedia(int32_t index, libvlc_media_t* media);

  bool liveFlag(int32_t index) const;
  void setLiveFlag(int32_t index, bool live);
  bool stoppedFlag(int32_t index) const;
  void setStoppedFlag(int32_t index, bool stopped);

  // Frame copies are appended by start-up, one per slot, in slot order.
  void appendFrameCopy();
  FrameTarget frameTarget(int32_t index) const;

  void addPath(std::string path);
  std::vector<std::string> paths() const;

  // Releases every player, media, texture, engine and copy and empties all tables.
  void clear();

 private:
  struct Entry {
    // Destroyed media first and texture last. A slot's player draws into the
    // slot's frame copy, never into the texture.
    UniqueTexture texture;
    EngineHandle engine;
    PlayerHandle player;
    MediaHandle media;
    bool live = false;
    bool stopped = false;
  };

  Entry* entry(int32_t index) const;
  // Puts `value` into the slot's `field` and hands back what it held, or
  // `value` itself when there is no such slot: the caller releases it, outside the lock.
  template <typename Handle>
  typename Handle::pointer exchange(int32_t index, Handle Entry::*field, typename Handle::pointer value);
  // Releases the players of the slots from `first` on, leaving the rest of
  // their entries in place.
  void releasePlayersFrom(std::size_t first);

  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<Entry>> entries_;
  std::vector<std::unique_ptr<video::FrameCopy>> frameCopies_;
  std::vector<std::string> paths_;
};

SlotTables& Slots();

}  // namespace korvid::multi
