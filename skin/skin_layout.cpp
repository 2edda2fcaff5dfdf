// SPDX-License-Identifier: MIT
#include "skin/skin_layout.h"

namespace melorin {

namespace {

/// One axis: `part` is 1 (kept to the low edge), 2 (grows with the window) or 3 (kept to the high edge).
void AlignAxis(int32_t part, int32_t grown, int32_t& low, int32_t& high) {
  if (part == 3) low += grown;
  if (part >= 2) high += grown;
}

}  // namespace

SkinRect AlignedPosition(const SkinRect& position, int32_t align, int32_t default_width,
                         int32_t default_height, int32_t width, int32_t height) {
  SkinRect placed = position;
  AlignAxis(align & kAlignHorizontalMask, width - default_width, placed.left, placed.right);
  AlignAxis((align & kAlignVerticalMask) >> 4, height - default_height, placed.top, placed.bottom);
  return placed;
}

}  // namespace melorin
