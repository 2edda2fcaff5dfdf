// SPDX-License-Identifier: MIT
#include "skin/skin_layout.h"

#include <algorithm>
#include <cmath>

#include "skin/bitmap_draw.h"

namespace melorin {

namespace {

int32_t Near(int32_t coordinate) {
  return std::clamp(coordinate, -kFarthestPixel / 2, kFarthestPixel / 2);
}
SkinRect Near(const SkinRect& rect) {
  return {Near(rect.left), Near(rect.top), Near(rect.right), Near(rect.bottom)};
}

/// One axis: `part` is 1 (kept to the low edge), 2 (grows with the window) or 3 (kept to the high edge).
void AlignAxis(int32_t part, int32_t grown, int32_t& low, int32_t& high) {
  if (part == 3) low += grown;
  if (part >= 2) high += grown;
}

/// NaN counts as 0.
double Part(double value) {
  return value > 0 ? std::min(value, 1.0) : 0.0;
}
int32_t PartOf(double value, int32_t length) {
  return static_cast<int32_t>(std::lround(Part(value) * std::max(length, 0)));
}

/// The column of a state in a row of `cells`.
int32_t StateColumn(ControlState state, int32_t cells) {
  switch (state) {
    case ControlState::kHover:
      return cells >= 3 ? 1 : 0;
    case ControlState::kPressed:
      return cells >= 3 ? 2 : cells - 1;
    case ControlState::kDisabled:
      return cells >= 4 ? 3 : 0;
    case ControlState::kNormal:
      break;
  }
  return 0;
}

}  // namespace

SkinRect ScaledPosition(const SkinRect& position, int32_t scale) {
  const SkinRect near = Near(position);
  return {near.left * scale, near.top * scale, near.right * scale, near.bottom * scale};
}

SkinRect CentredIn(const SkinRect& area, int32_t width, int32_t height) {
  const int32_t left = area.left + (area.Width() - width) / 2;
  const int32_t top = area.top + (area.Height() - height) / 2;
  return {left, top, left + width, top + height};
}

SkinRect GridCell(const Bitmap& image, int32_t columns, int32_t rows, int32_t column, int32_t row) {
  const int32_t width = image.width / columns;
  const int32_t height = image.height / rows;
  return {column * width, row * height, (column + 1) * width, (row + 1) * height};
}

SkinRect ButtonCell(const Bitmap& image, int32_t wide, int32_t high, ControlState state, bool on) {
  const int32_t cells =
      wide > 0 ? static_cast<int32_t>(std::clamp((int64_t{2} * image.width + wide) / (int64_t{2} * wide),
                                                 int64_t{1}, int64_t{4}))
               : 4;
  const bool has_on_row = high > 0 && image.height / 2 >= high;
  if (on && !has_on_row && state != ControlState::kDisabled) state = ControlState::kPressed;
  return GridCell(image, cells, has_on_row ? 2 : 1, StateColumn(state, cells), on && has_on_row ? 1 : 0);
}

SkinRect ThumbCell(const Bitmap& image, ControlState state) {
  return GridCell(image, 4, 1, StateColumn(state, 4), 0);
}

SkinRect LedCell(const Bitmap& image, char character) {
  const size_t cell = kLedCharacters.find(character);
  if (cell == std::string_view::npos) return {};
  return GridCell(image, kLedCells, 1, static_cast<int32_t>(cell), 0);
}

SkinRect AlignedPosition(const SkinRect& position, int32_t align, int32_t default_width,
                         int32_t default_height, int32_t width, int32_t height) {
  SkinRect placed = Near(position);
  AlignAxis(align & kAlignHorizontalMask, Near(width) - Near(default_width), placed.left, placed.right);
  AlignAxis((align & kAlignVerticalMask) >> 4, Near(height) - Near(default_height), placed.top,
            placed.bottom);
  return placed;
}

SkinRect SliderThumb(const SkinRect& position, int32_t thumb_width, int32_t thumb_height, bool vertical,
                     double value) {
  SkinRect thumb = CentredIn(position, thumb_width, thumb_height);
  if (vertical) {
    thumb.top = position.bottom - thumb_height - PartOf(value, position.Height() - thumb_height);
    thumb.bottom = thumb.top + thumb_height;
  } else {
    thumb.left = position.left + PartOf(value, position.Width() - thumb_width);
    thumb.right = thumb.left + thumb_width;
  }
  return thumb;
}

double SliderValueAt(const SkinRect& position, int32_t thumb_width, int32_t thumb_height, bool vertical,
                     int32_t at) {
  const int32_t way = vertical ? position.Height() - thumb_height : position.Width() - thumb_width;
  if (way <= 0) return 0;
  const int32_t gone = vertical ? position.bottom - (thumb_height - thumb_height / 2) - at
                                : at - position.left - thumb_width / 2;
  return Part(static_cast<double>(gone) / way);
}

SkinRect EqualizerBandPosition(const SkinRect& eqfactor, int32_t eq_interval, int32_t band) {
  SkinRect place = Near(eqfactor);
  const int64_t right = int64_t{band} * (int64_t{place.Width()} + Near(eq_interval));
  const auto moved = static_cast<int32_t>(std::clamp<int64_t>(right, -kFarthestPixel, kFarthestPixel));
  place.left += moved;
  place.right += moved;
  return place;
}

SkinRect ToolbarButtonPosition(const SkinRect& toolbar, int32_t button) {
  const int32_t width = toolbar.Width() / kToolbarButtons;
  const int32_t left = toolbar.left + button * width;
  return {left, toolbar.top, left + width, toolbar.bottom};
}

int32_t ToolbarButtonAt(const SkinRect& toolbar, int32_t x, int32_t y) {
  const int32_t width = toolbar.Width() / kToolbarButtons;
  if (width <= 0 || x < toolbar.left || y < toolbar.top || y >= toolbar.bottom) return -1;
  const int32_t button = (x - toolbar.left) / width;
  return button < kToolbarButtons ? button : -1;
}

SkinRect ScrollBarPosition(const SkinRect& area, int32_t bar_width) {
  return {std::max(area.left, area.right - bar_width), area.top, area.right, area.bottom};
}

ScrollBarParts LayOutScrollBar(const SkinRect& position, int32_t button_height, int32_t least_thumb,
                               double page, double scroll) {
  const int32_t button = std::clamp(button_height, 0, std::max(position.Height() / 2, 0));
  ScrollBarParts parts;
  parts.up = {position.left, position.top, position.right, position.top + button};
  parts.down = {position.left, position.bottom - button, position.right, position.bottom};
  parts.track = {position.left, parts.up.bottom, position.right, parts.down.top};
  const int32_t track = parts.track.Height();
  const int32_t least = std::max(least_thumb, 1);
  if (page >= 1 || track <= least) return parts;
  const int32_t length = std::max(PartOf(page, track), least);
  const int32_t top = parts.track.top + PartOf(scroll, track - length);
  parts.thumb = {position.left, top, position.right, top + length};
  return parts;
}

double ScrollAt(const ScrollBarParts& parts, int32_t thumb_top) {
  const int32_t way = parts.track.Height() - parts.thumb.Height();
  if (parts.thumb.IsEmpty() || way <= 0) return 0;
  return Part(static_cast<double>(thumb_top - parts.track.top) / way);
}

GrowingAxis LayOutGrowing(int32_t image, int32_t grow_low, int32_t grow_high, int32_t length) {
  GrowingAxis axis;
  axis.image_low = std::clamp(grow_low, 0, image);
  axis.image_high = std::clamp(grow_high, axis.image_low, image);
  axis.low = std::min(axis.image_low, length);
  axis.high = std::max(length - (image - axis.image_high), axis.low);
  return axis;
}

}  // namespace melorin
