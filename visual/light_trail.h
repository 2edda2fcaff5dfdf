// SPDX-License-Identifier: MIT
//
// The afterglow of a trace that moves: how bright each pixel of a display still is. Knows no colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace melorin {

/// Thread: one. SetSize allocates, nothing else does.
class LightTrail {
 public:
  /// In pixels; all dark.
  void SetSize(int32_t width, int32_t height);
  /// Every pixel spreads to its neighbours and keeps `keep` / 256 of its light.
  void Fade(uint32_t keep);
  /// Full light for rows top to bottom - 1 of a column; within the size.
  void Light(int32_t x, int32_t top, int32_t bottom);
  void Clear();

  int32_t Width() const { return width_; }
  int32_t Height() const { return height_; }
  /// 0 to 255.
  const uint8_t* Row(int32_t y) const { return Line(light_, y); }
  bool IsDark() const { return dark_; }

 private:
  // A dark frame around the pixels spares asking for the edges.
  size_t Stride() const { return static_cast<size_t>(width_) + 2; }
  const uint8_t* Line(const std::vector<uint8_t>& plane, int32_t y) const {
    return plane.data() + static_cast<size_t>(y + 1) * Stride() + 1;
  }

  int32_t width_ = 0;
  int32_t height_ = 0;
  std::vector<uint8_t> light_;
  std::vector<uint8_t> next_;
  bool dark_ = true;
};

}  // namespace melorin
