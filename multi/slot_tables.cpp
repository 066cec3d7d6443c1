#include "multi/slot_tables.h"

#include <utility>

#include "core/engine_adapter.h"
#include "core/no_destructor.h"

namespace korvid::multi {

SlotTables::Entry* SlotTables::entry(int32_t index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= entries_.size()) return nullptr;
  return entries_[static_cast<std::size_t>(index)].get();
}

void SlotTables::releasePlayersFrom(std::size_t first) {
  std::vector<libvlc_media_player_t*> players;
  {
    const std::lock_guard lock(mutex_);
    for (std::size_t i = first; i < entries_.size(); ++i) players.push_back(entries_[i]->player.release());
  }
  // Each release joins that player's video thread, whose lock callback still
  // finds its texture and copy in the tables.
  for (libvlc_media_player_t* player : players) {
    engine::ReleasePlayer(player);
  }
}

void SlotTables::resize(int32_t count) {
  const std::size_t target = count > 0 ? static_cast<std::size_t>(count) : 0;
  releasePlayersFrom(target);
  std::vector<std::unique_ptr<Entry>> dropped;
  {
    const std::lock_guard lock(mutex_);
    while (entries_.size() > target) {
      dropped.push_back(std::move(entries_.back()));
      entries_.pop_back();
    }
    while (entries_.size() < target) entries_.push_back(std::make_unique<Entry>());
    for (const auto& e : entries_) {
      e->live = false;
      e->stopped = false;
    }
  }
  // `dropped` is released here, outside the lock.
}

int32_t SlotTables::size() const {
  const std::lock_guard lock(mutex_);
  return static_cast<int32_t>(entries_.size());
}

libvlc_media_player_t* SlotTables::player(int32_t index) const {
  const std::lock_guard lock(mutex_);
  const Entry* e = entry(index);
  return e != nullptr ? e->player.get() : nullptr;
}

libvlc_media_t* SlotTables::media(int32_t index) const {
  const std::lock_guard lock(mutex_);
  const Entry* e = entry(index);
  return e != nullptr ? e->media.get() : nullptr;
}

libvlc_instance_t* SlotTables::engine(int32_t index) const {
  const std::lock_guard lock(mutex_);
  const Entry* e = entry(index);
  return e != nullptr ? e->engine.get() : nullptr;
}

void SlotTables::setEngine(int32_t index, libvlc_instance_t* engine) {
  const std::lock_guard lock(mutex_);
  if (Entry* e = entry(index)) {
    e->engine.reset(engine);
  } else if (engine != nullptr) {
    libvlc_release(engine);
  }
}

void SlotTables::setTexture(int32_t index, UniqueTexture texture) {
  const std::lock_guard lock(mutex_);
  if (Entry* e = entry(index)) e->texture = std::move(texture);
}

template <typename Handle>
typename Handle::pointer SlotTables::exchange(int32_t index, Handle Entry::*field, typename Handle::pointer value) {
  const std::lock_guard lock(mutex_);
  Entry* e = entry(index);
  if (e == nullptr) return value;
  typename Handle::pointer old = (e->*field).release();
  (e->*field).reset(value);
  return old;
}

void SlotTables::setPlayer(int32_t index, libvlc_media_player_t* player) {
  engine::ReleasePlayer(exchange(index, &Entry::player, player));
}

void SlotTables::setMedia(int32_t index, libvlc_media_t* media) {
  if (libvlc_media_t* old = exchange(index, &Entry::media, media)) libvlc_media_release(old);
}

bool SlotTables::liveFlag(int32_t index) const {
  const std::lock_guard lock(mutex_);
  const Entry* e = entry(index);
  return e != nullptr && e->live;
}

void SlotTables::setLiveFlag(int32_t index, bool live) {
  const std::lock_guard lock(mutex_);
  if (Entry* e = entry(index)) e->live = live;
}

bool SlotTables::stoppedFlag(int32_t index) const {
  const std::lock_guard lock(mutex_);
  const Entry* e = entry(index);
  return e != nullptr && e->stopped;
}

void SlotTables::setStoppedFlag(int32_t index, bool stopped) {
  const std::lock_guard lock(mutex_);
  if (Entry* e = entry(index)) e->stopped = stopped;
}

void SlotTables::appendFrameCopy() {
  auto copy = std::make_unique<video::FrameCopy>();
  const std::lock_guard lock(mutex_);
  frameCopies_.push_back(std::move(copy));
}

FrameTarget SlotTables::frameTarget(int32_t index) const {
  const std::lock_guard lock(mutex_);
  FrameTarget target;
  if (const Entry* e = entry(index)) target.texture = e->texture.get();
  if (index >= 0 && static_cast<std::size_t>(index) < frameCopies_.size()) {
    target.copy = frameCopies_[static_cast<std::size_t>(index)].get();
  }
  return target;
}

void SlotTables::addPath(std::string path) {
  const std::lock_guard lock(mutex_);
  paths_.push_back(std::move(path));
}

std::vector<std::string> SlotTables::paths() const {
  const std::lock_guard lock(mutex_);
  return paths_;
}

void SlotTables::clear() {
  releasePlayersFrom(0);
  std::vector<std::unique_ptr<Entry>> entries;
  std::vector<std::unique_ptr<video::FrameCopy>> copies;
  {
    const std::lock_guard lock(mutex_);
    entries.swap(entries_);
    copies.swap(frameCopies_);
    paths_.clear();
  }
  // No player is left to draw into the textures and copies released here.
  entries.clear();
  copies.clear();
}

SlotTables& Slots() {
  static NoDestructor<SlotTables> slots;
  return *slots;
}

}  // namespace korvid::multi
