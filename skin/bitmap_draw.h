// SPDX-License-Identifier: MIT
//
// Drawing into bitmaps: filling, copying, repeating and stretching, all of it clipped. Everything but
// EnlargedBitmap works without allocating. Areas and cells are pixels of the bitmap they belong to and may
// lie anywhere, also outside of it, within kFarthestPixel. Source and target are different bitmaps. Thread:
// one at a time for a target.
#pragma once

#include <cstdint>

#include "skin/bitmap.h"
#include "skin/skin_description.h"

namespace melorin {

/// Far outside of any window, and far from overflowing when it is added, doubled or multiplied by a width.
inline constexpr int32_t kFarthestPixel = 1 << 20;

/// How pixels come to a target.
enum class Combine {
  kReplace,  ///< As they are, with their transparency: the first layer of a window.
  kOver,     ///< Over what is there, as transparent as they are.
};

SkinRect BitmapBounds(const Bitmap& bitmap);
/// Empty, with equal sides, when the two do not meet.
SkinRect Intersection(const SkinRect& a, const SkinRect& b);
/// The least area that holds both; an empty one counts for nothing.
SkinRect Union(const SkinRect& a, const SkinRect& b);

/// The pixel of a colour.
uint32_t PixelOf(SkinColour colour, uint32_t alpha = 255);
/// The colour between two: 0 gives `from`, 255 gives `to`.
SkinColour MixColours(SkinColour from, SkinColour to, uint32_t part);

/// Every channel times `by` / 255, rounded exactly.
inline uint32_t ScalePixel(uint32_t pixel, uint32_t by) {
  constexpr uint32_t kPair = 0x00FF00FF;
  uint32_t low = (pixel & kPair) * by + 0x00800080;
  low = ((low + ((low >> 8) & kPair)) >> 8) & kPair;
  uint32_t high = ((pixel >> 8) & kPair) * by + 0x00800080;
  high = (high + ((high >> 8) & kPair)) & ~kPair;
  return low | high;
}
inline uint32_t PixelOver(uint32_t below, uint32_t above) {
  return above + ScalePixel(below, 255 - (above >> 24));
}

void FillArea(Bitmap& target, const SkinRect& area, uint32_t pixel, Combine combine = Combine::kOver);
/// `top` at the first row, `bottom` at the last, evenly between them.
void FillGradient(Bitmap& target, const SkinRect& area, SkinColour top, SkinColour bottom);

/// The cell, pixel for pixel, with its left top corner at (x, y); nothing outside `clip` is touched.
void DrawCell(Bitmap& target, const SkinRect& clip, int32_t x, int32_t y, const Bitmap& source,
              const SkinRect& cell, Combine combine = Combine::kOver);
/// The cell again and again from the area's left top corner.
void DrawTiled(Bitmap& target, const SkinRect& area, const Bitmap& source, const SkinRect& cell,
               Combine combine = Combine::kOver);
/// The cell stretched to the area, with even steps between its pixels; nothing from beside the cell gets in.
void DrawStretched(Bitmap& target, const SkinRect& area, const Bitmap& source, const SkinRect& cell,
                   Combine combine = Combine::kOver);

/// A pixel of text: `coverage` of 255 parts of it are in the colour of the opaque pixel `ink`.
inline void DrawCoverage(uint32_t& target, uint32_t ink, uint32_t coverage) {
  if (coverage != 0) target = PixelOver(target, ScalePixel(ink, coverage));
}

/// Each pixel `times` × `times`: keeps the edges of pixel art, and of the cells in an image.
Bitmap EnlargedBitmap(const Bitmap& source, int32_t times);

}  // namespace melorin
