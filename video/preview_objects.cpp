#include "video/preview_objects.h"

#include <utility>

#include "core/no_destructor.h"
#include "video/frame_geometry.h"

namespace korvid::video {
namespace {

PreviewSet& State() {
  static NoDestructor<PreviewSet> set;
  return *set;
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

PreviewSet& MainPreview() { return State(); }

PreviewSet ReplaceMainPreview(PreviewSet fresh) { return std::exchange(State(), std::move(fresh)); }

void DestroyMainPreviewAndQuit() {
  State() = PreviewSet{};
  SDL_Quit();
}

}  // namespace korvid::video
