// The off-screen SDL objects that own the frame textures: a hidden window
// titled "Preview", its renderer, the streaming textures and a mutex made and
// destroyed with them.
#pragma once

#include <SDL.h>

#include "core/handles.h"

namespace korvid::video {

// Members are destroyed texture first, window last.
struct PreviewSet {
  UniqueWindow window;
  UniqueRenderer renderer;
  UniqueMutex mutex;
  UniqueTexture texture;  // the main player's; slot textures live with the slots
};

// The hidden window and its renderer (either may be null if SDL fails).
PreviewSet MakePreviewWindow();
// One 1920 x 1080 streaming texture on `renderer`, or null.
UniqueTexture MakeFrameTexture(SDL_Renderer* renderer);

// The main player's set. Host thread only: no video thread touches SDL (the
// engine draws into the players' frame copies).
PreviewSet& MainPreview();
// Makes `fresh` the main set and hands back the previous one.
PreviewSet ReplaceMainPreview(PreviewSet fresh);

// Destroys the main set and shuts SDL down.
void DestroyMainPreviewAndQuit();

}  // namespace korvid::video
