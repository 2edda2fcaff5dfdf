// SPDX-License-Identifier: MIT
//
// Bitmap: an image in memory as windows are composed from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace melorin {

/// Rows from the top down, 0xAARRGGBB, colours multiplied by alpha: the layout of a 32-bit DIB that
/// AlphaBlend and UpdateLayeredWindow take.
struct Bitmap {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint32_t> pixels;

  Bitmap() = default;
  Bitmap(int32_t wide, int32_t high)
      : width(wide), height(high), pixels(static_cast<size_t>(wide) * static_cast<size_t>(high)) {}
  bool IsEmpty() const { return pixels.empty(); }
  uint32_t* Row(int32_t y) { return pixels.data() + static_cast<ptrdiff_t>(y) * width; }
  const uint32_t* Row(int32_t y) const { return pixels.data() + static_cast<ptrdiff_t>(y) * width; }
};

}  // namespace melorin
