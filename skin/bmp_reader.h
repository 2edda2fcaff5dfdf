// SPDX-License-Identifier: MIT
//
// Reads BMP files: 1, 4, 8, 16, 24 and 32 bits a pixel, plain, run-length coded (4 and 8 bits) and with bit
// fields (16 and 32), from the bottom up or from the top down, with the headers of OS/2 1 (12 bytes) and of
// Windows from 3 to 5 (40 to 124 bytes). Format: Microsoft, "Bitmap Storage" and BITMAPV5HEADER.
#pragma once

#include <cstdint>
#include <span>

#include "skin/bitmap.h"

namespace melorin {

bool LooksLikeBmp(std::span<const uint8_t> bytes);

/// Straight pixels, not yet multiplied by alpha. Alpha counts only when some pixel has one that is not 0:
/// many programs leave the fourth byte empty. Pixels that run-length data jumps over are transparent. False
/// unless the whole image is there.
bool ReadBmp(std::span<const uint8_t> bytes, Bitmap& out);

}  // namespace melorin
