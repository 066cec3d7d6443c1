// Every picture has the same geometry whatever the source's size: the engine
// scales into it.
#pragma once

#include <cstddef>
#include <cstdint>

#include <SDL.h>

namespace korvid::video {

inline constexpr int kFrameWidth = 1920;
inline constexpr int kFrameHeight = 1080;
inline constexpr int kBytesPerPixel = 4;
inline constexpr int kFramePitch = kFrameWidth * kBytesPerPixel;  // 7680
inline constexpr std::size_t kFrameBytes = static_cast<std::size_t>(kFramePitch) * kFrameHeight;  // 8,294,400
// A frame copy is twice a frame: one picture for the host, one being drawn.
inline constexpr std::size_t kFrameCopyBytes = 2 * kFrameBytes;
// The engine's pixel layout: blue, green, red, padding.
inline constexpr const char* kEngineChroma = "RV32";
inline constexpr Uint32 kTextureFormat = SDL_PIXELFORMAT_BGRA8888;

}  // namespace korvid::video
