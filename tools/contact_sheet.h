// A grid of scaled-down frames written as one PNG, for a person to look at.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace korvid::demo {

class ContactSheet {
 public:
  // `columns` tiles a row, each tile `tileWidth` wide with the frame's aspect.
  ContactSheet(int columns, int tileWidth);

  // Adds one host frame (1920 x 1080, red, green, blue, padding) as the next tile.
  void add(const std::vector<uint8_t>& frame);
  std::size_t tiles() const { return tiles_.size(); }

  // Writes the sheet; false when the file cannot be written.
  bool writePng(const std::string& path) const;

 private:
  int columns_;
  int tileWidth_;
  int tileHeight_;
  std::vector<std::vector<uint8_t>> tiles_;  // RGB, tileWidth_ x tileHeight_
};

}  // namespace korvid::demo
