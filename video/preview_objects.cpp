#include "video/preview_objects.h"

#include <utility>

#include "core/no_destructor.h"
#include "video/frame_geometry.h"

namespace korvid::video {
namespace {

struct MainPreviewState {
  PreviewSet set;
  std::atomic<SDL_Texture*> texture{nullptr};  // published copy of set.texture for the video thread
};

MainPreviewState& State() {
  static NoDestructor<MainPreviewState> state;
  return *state;
}

}  // namespace

PreviewSet MakePreviewWindow() {
  PreviewSet set;
  set.window.reset(SDL_CreateWindow("Preview", 0, 0, kFrameWidth, kFrameHeight, SDL_WINDOW_HIDDEN));
  set.renderer.reset(SDL_CreateRenderer(set.window.get(), -1, 0));
  return set;
}

UniqueTexture MakeFrameTexture(SDL_Renderer* renderer) {
  if (renderer == nullptr) return nullptr;
  return UniqueTexture(
      SDL_CreateTexture(renderer, kTextureFormat, SDL_TEXTUREACCESS_STREAMING, kFrameWidth, kFrameHeight));
}

PreviewSet& MainPreview() { return State().set; }

SDL_Texture* MainFrameTexture() { return State().texture.load(std::memory_order_acquire); }

PreviewSet ReplaceMainPreview(PreviewSet fresh) {
  State().texture.store(fresh.texture.get(), std::memory_order_release);
  return std::exchange(State().set, std::move(fresh));
}

void DestroyMainPreviewAndQuit() {
  State().texture.store(nullptr, std::memory_order_release);
  State().set = PreviewSet{};
  SDL_Quit();
}

}  // namespace korvid::video
