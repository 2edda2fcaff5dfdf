// SPDX-License-Identifier: MIT
//
// Images to bitmaps and back: BMP (1, 4, 8, 16, 24 and 32 bits a pixel, plain and run-length), PNG by libpng.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "skin/bitmap.h"
#include "skin/skin_description.h"

namespace melorin {

/// No side of an image is longer, and it has no more pixels: a few bytes may claim any size.
inline constexpr int32_t kLongestImageSide = 8192;
inline constexpr int64_t kMostImagePixels = 16 << 20;

/// By the first bytes, not by a name. Pixels of `transparent` colour become transparent, in any image. False
/// for anything that is no whole image of a kind we read. Thread: any.
bool DecodeImage(std::span<const uint8_t> bytes, SkinColour transparent, Bitmap& out);

bool EncodePng(const Bitmap& bitmap, std::vector<uint8_t>& out);

}  // namespace melorin
