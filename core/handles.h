// One owning type per foreign handle. Each releases with the library's own
// release function; each accepts null.
//
// SharedHandle is for handles that other threads read while the host's thread
// replaces them (the engine's event thread reads the current player): reading
// is an atomic load, replacing releases the previous handle after the new one
// is published.
#pragma once

#include <SDL.h>
#include <vlc/vlc.h>

#include <atomic>
#include <memory>

#include "core/engine_adapter.h"

namespace korvid {

template <typename T, void (*Release)(T*)>
class SharedHandle {
 public:
  using pointer = T*;
  SharedHandle() = default;
  SharedHandle(const SharedHandle&) = delete;
  SharedHandle& operator=(const SharedHandle&) = delete;
  ~SharedHandle() { reset(); }

  T* get() const noexcept { return ptr_.load(std::memory_order_acquire); }
  explicit operator bool() const noexcept { return get() != nullptr; }

  // Takes ownership of `handle` and releases the one held before.
  void reset(T* handle = nullptr) noexcept {
    if (T* old = ptr_.exchange(handle, std::memory_order_acq_rel)) Release(old);
  }
  // Gives up ownership without releasing.
  T* release() noexcept { return ptr_.exchange(nullptr, std::memory_order_acq_rel); }

 private:
  std::atomic<T*> ptr_{nullptr};
};

namespace handle_release {
inline void Engine(libvlc_instance_t* h) { libvlc_release(h); }
inline void Player(libvlc_media_player_t* h) { engine::ReleasePlayer(h); }
inline void Media(libvlc_media_t* h) { libvlc_media_release(h); }
inline void Window(SDL_Window* h) { SDL_DestroyWindow(h); }
inline void Renderer(SDL_Renderer* h) { SDL_DestroyRenderer(h); }
inline void Texture(SDL_Texture* h) { SDL_DestroyTexture(h); }
inline void Mutex(SDL_mutex* h) { SDL_DestroyMutex(h); }
}  // namespace handle_release

using EngineHandle = SharedHandle<libvlc_instance_t, handle_release::Engine>;
using PlayerHandle = SharedHandle<libvlc_media_player_t, handle_release::Player>;
using MediaHandle = SharedHandle<libvlc_media_t, handle_release::Media>;
using WindowHandle = SharedHandle<SDL_Window, handle_release::Window>;
using RendererHandle = SharedHandle<SDL_Renderer, handle_release::Renderer>;
using TextureHandle = SharedHandle<SDL_Texture, handle_release::Texture>;
using MutexHandle = SharedHandle<SDL_mutex, handle_release::Mutex>;

}  // namespace korvid

namespace korvid {

// Single-owner handles for objects only the host's thread touches.
template <auto Release>
struct ReleaseWith {
  template <typename T>
  void operator()(T* handle) const noexcept {
    Release(handle);
  }
};
using UniqueWindow = std::unique_ptr<SDL_Window, ReleaseWith<handle_release::Window>>;
using UniqueRenderer = std::unique_ptr<SDL_Renderer, ReleaseWith<handle_release::Renderer>>;
using UniqueTexture = std::unique_ptr<SDL_Texture, ReleaseWith<handle_release::Texture>>;
using UniqueMutex = std::unique_ptr<SDL_mutex, ReleaseWith<handle_release::Mutex>>;

}  // namespace korvid
