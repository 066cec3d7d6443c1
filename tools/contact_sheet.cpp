#include "tools/contact_sheet.h"

#include <png.h>

#include <cstdio>
#include <algorithm>
#include <memory>

namespace korvid::demo {
namespace {

constexpr int kFrameWidth = 1920;
constexpr int kFrameHeight = 1080;
constexpr int kGap = 4;

struct FileCloser {
  void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};

}  // namespace

ContactSheet::ContactSheet(int columns, int tileWidth)
    : columns_(columns), tileWidth_(tileWidth), tileHeight_(tileWidth * kFrameHeight / kFrameWidth) {}

void ContactSheet::add(const std::vector<uint8_t>& frame) {
  std::vector<uint8_t> tile(static_cast<std::size_t>(tileWidth_) * tileHeight_ * 3);
  for (int y = 0; y < tileHeight_; ++y) {
    const int sy = y * kFrameHeight / tileHeight_;
    for (int x = 0; x < tileWidth_; ++x) {
      const int sx = x * kFrameWidth / tileWidth_;
      const uint8_t* pixel = &frame[(static_cast<std::size_t>(sy) * kFrameWidth + sx) * 4];
      uint8_t* out = &tile[(static_cast<std::size_t>(y) * tileWidth_ + x) * 3];
      out[0] = pixel[0];
      out[1] = pixel[1];
      out[2] = pixel[2];
    }
  }
  tiles_.push_back(std::move(tile));
}

bool ContactSheet::writePng(const std::string& path) const {
  if (tiles_.empty()) return false;
  const int columns = std::min<int>(columns_, static_cast<int>(tiles_.size()));
  const int rows = (static_cast<int>(tiles_.size()) + columns - 1) / columns;
  const int width = columns * tileWidth_ + (columns + 1) * kGap;
  const int height = rows * tileHeight_ + (rows + 1) * kGap;
  std::vector<uint8_t> sheet(static_cast<std::size_t>(width) * height * 3, 32);
  for (std::size_t t = 0; t < tiles_.size(); ++t) {
    const int left = kGap + static_cast<int>(t % columns) * (tileWidth_ + kGap);
    const int top = kGap + static_cast<int>(t / columns) * (tileHeight_ + kGap);
    for (int y = 0; y < tileHeight_; ++y) {
      std::copy_n(&tiles_[t][static_cast<std::size_t>(y) * tileWidth_ * 3], tileWidth_ * 3,
                  &sheet[(static_cast<std::size_t>(top + y) * width + left) * 3]);
    }
  }

  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
  if (!file) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  if (info == nullptr || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, file.get());
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int y = 0; y < height; ++y) png_write_row(png, &sheet[static_cast<std::size_t>(y) * width * 3]);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace korvid::demo
