// SPDX-License-Identifier: MIT
#include "visual/light_trail.h"

#include <algorithm>

namespace melorin {

void LightTrail::SetSize(int32_t width, int32_t height) {
  width_ = std::max(width, 0);
  height_ = std::max(height, 0);
  const size_t size = Stride() * (static_cast<size_t>(height_) + 2);
  light_.assign(size, 0);
  next_.assign(size, 0);
  dark_ = true;
}

void LightTrail::Fade(uint32_t keep) {
  if (dark_) return;
  keep = std::min<uint32_t>(keep, 256);
  const size_t stride = Stride();
  uint32_t all = 0;
  for (int32_t y = 0; y < height_; ++y) {
    const uint8_t* from = Line(light_, y);
    uint8_t* to = next_.data() + (from - light_.data());
    for (int32_t x = 0; x < width_; ++x, ++from, ++to) {
      // Half stays where it is, an eighth goes to each side. Rounding down makes it end.
      const uint32_t sum = 4u * *from + from[-1] + from[1] + *(from - stride) + *(from + stride);
      const uint32_t light = sum * keep >> 11;
      *to = static_cast<uint8_t>(light);
      all |= light;
    }
  }
  light_.swap(next_);
  dark_ = all == 0;
}

void LightTrail::Light(int32_t x, int32_t top, int32_t bottom) {
  if (x < 0 || x >= width_) return;
  top = std::max(top, 0);
  bottom = std::min(bottom, height_);
  for (int32_t y = top; y < bottom; ++y)
    light_[static_cast<size_t>(y + 1) * Stride() + 1 + static_cast<size_t>(x)] = 255;
  dark_ = dark_ && top >= bottom;
}

void LightTrail::Clear() {
  std::fill(light_.begin(), light_.end(), uint8_t{0});
  dark_ = true;
}

}  // namespace melorin
