// The off-screen SDL objects that own the frame textures: a hidden window
// titled "Preview", its renderer, the streaming textures and a mutex made and
// destroyed with them.
#pragma once

#include <SDL.h>

#include <atomic>

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

// The main player's set. Host thread only, except the texture, which the lock
// callback reads through MainFrameTexture().
PreviewSet& MainPreview();
SDL_Texture* MainFrameTexture();
// Makes `fresh` the main set and hands back the previous one, which the caller
// destroys once no video thread can draw into its texture.
PreviewSet ReplaceMainPreview(PreviewSet fresh);

// Destroys the main set and shuts SDL down.
void DestroyMainPreviewAndQuit();

}  // namespace korvid::video
