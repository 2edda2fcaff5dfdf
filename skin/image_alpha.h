// SPDX-License-Identifier: MIT
//
// Colours and their alpha, for pixels 0xAARRGGBB.
#pragma once

#include <cstdint>
#include <span>

#include "skin/skin_description.h"

namespace melorin {

/// Colours multiplied by alpha, rounded to nearest.
uint32_t Premultiplied(uint32_t straight);
/// The reverse: multiplied again, it gives the same pixel.
uint32_t Straight(uint32_t premultiplied);

/// Makes a bitmap's pixels of straight ones in place; those of the colour become transparent, whatever their
/// alpha.
void FinishPixels(std::span<uint32_t> pixels, SkinColour transparent);

}  // namespace melorin
