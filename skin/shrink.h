// SPDX-License-Identifier: MIT
//
// Smaller copies of bitmaps.
#pragma once

#include <cstdint>

#include "skin/bitmap.h"

namespace melorin {

/// As large as fits into the size in the bitmap's own proportions, at least a pixel each way and never larger
/// than it is. Every pixel is the mean of the area it covers. Empty for an empty bitmap or no size.
Bitmap ShrunkToFit(const Bitmap& bitmap, int32_t width, int32_t height);

}  // namespace melorin
