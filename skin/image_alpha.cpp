// SPDX-License-Identifier: MIT
#include "skin/image_alpha.h"

#include <algorithm>

namespace melorin {

uint32_t Premultiplied(uint32_t straight) {
  // Two colours at once, and (t + t / 256) / 256 for t = n + 128 is n / 255 rounded. No branches, so that the
  // compiler takes several pixels in one step.
  const uint32_t alpha = straight >> 24;
  const uint32_t odd = (straight & 0xFF00FF) * alpha + 0x800080;
  const uint32_t even = (straight >> 8 & 0xFF) * alpha + 0x80;
  return alpha << 24 | ((odd + (odd >> 8 & 0xFF00FF)) >> 8 & 0xFF00FF) | ((even + (even >> 8)) & 0xFF00);
}

uint32_t Straight(uint32_t premultiplied) {
  const uint32_t alpha = premultiplied >> 24;
  if (alpha == 255) return premultiplied;
  if (alpha == 0) return 0;
  const auto part = [&](int shift) {
    return std::min(((premultiplied >> shift & 255) * 255 + alpha / 2) / alpha, 255u) << shift;
  };
  return alpha << 24 | part(16) | part(8) | part(0);
}

void FinishPixels(std::span<uint32_t> pixels, SkinColour transparent) {
  // No pixel without its alpha equals what stands for none.
  uint32_t key = 0xFFFFFFFF;
  if (transparent != kNoColour) {
    const auto colour = static_cast<uint32_t>(transparent);
    key = (colour & 255) << 16 | (colour & 0xFF00) | (colour >> 16 & 255);
  }
  for (uint32_t& pixel : pixels)
    pixel = (pixel & 0xFFFFFF) == key ? 0 : Premultiplied(pixel);
}

}  // namespace melorin
