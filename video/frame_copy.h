// The plug-in's copy of a player's last picture, which the host reads.
//
// The engine's video thread stores into it from its lock callback and the
// host's thread delivers from it; one mutex per copy keeps the host from ever
// receiving a picture that mixes two decoded pictures.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

namespace korvid::video {

class FrameCopy {
 public:
  FrameCopy();  // zero-filled

  // Copies one frame from the texture memory. Video thread; no allocation.
  void storeFrom(const uint8_t* pixels);
  // Reorders the frame into the host's buffer of one frame. Host thread.
  void deliverTo(uint8_t* hostBuffer) const;
  // Memory the engine may draw into when the texture cannot be locked: the
  // copy's unused second half, which nothing reads.
  uint8_t* spareHalf();

 private:
  mutable std::mutex mutex_;
  std::unique_ptr<uint8_t[]> bytes_;
};

// The main player's copy; exists (zero-filled) from first use to process exit.
FrameCopy& MainFrameCopy();

}  // namespace korvid::video
