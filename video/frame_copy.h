// The plug-in's copy of a player's last picture, which the host reads.
//
// A copy holds two pictures, one in each half of its memory: the engine draws
// the next picture into one half while the host reads the other. Each lock
// callback hands the half the engine finished drawing to the host and gives
// the engine the other one, so the host always reads the picture drawn before
// the current lock (one picture behind the engine) and no picture is copied on
// the video thread. One mutex per copy makes that swap wait for a delivery in
// progress, so the host never receives a picture that mixes two decoded ones.
#pragma once

#include <cstdint>
#include <mutex>

#include "video/picture_memory.h"

namespace korvid::video {

class FrameCopy {
 public:
  FrameCopy();  // both halves zero-filled

  // At each lock of the engine: the half it drew into since the previous
  // call becomes the picture the host reads, and the other half is returned
  // for the engine's next picture. Video thread; no allocation; waits only
  // while a delivery reads the copy.
  uint8_t* swapForNextPicture();
  // Reorders the picture the host reads into the host's buffer of one frame.
  // Host thread.
  void deliverTo(uint8_t* hostBuffer) const;

 private:
  mutable std::mutex mutex_;
  PictureMemory bytes_;
  uint8_t* shown_;    // the half the host reads
  uint8_t* drawing_;  // the half the engine draws into
};

// The main player's copy; exists (zero-filled) from first use to process exit.
// Engine start makes it, so that the first open does not.
FrameCopy& MainFrameCopy();

}  // namespace korvid::video
