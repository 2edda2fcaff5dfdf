// SPDX-License-Identifier: MIT
//
// PNG by libpng: all kinds of it, as straight pixels 0xAARRGGBB of 8 bits a colour. Gamma and colour profiles
// are left alone, since skins name colours by the numbers that stand in the file.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "skin/bitmap.h"

namespace melorin {

bool LooksLikePng(std::span<const uint8_t> bytes);

/// False unless the whole image is there, to the end mark. May throw std::bad_alloc.
bool ReadPng(std::span<const uint8_t> bytes, Bitmap& out);

/// Without an alpha channel when every pixel is opaque.
bool WritePng(const Bitmap& straight, std::vector<uint8_t>& out);

}  // namespace melorin
