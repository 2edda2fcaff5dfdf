// SPDX-License-Identifier: MIT
//
// How the bitmaps of a skin's controls are laid out, and where the parts of a control lie. Sizes are those of
// the bitmap at hand, at either scale: a part is always found by dividing, never by counting pixels.
//
//   button      4 cells side by side: normal, hover, pressed, disabled. A second row of 4, where the image is
//               at least twice as high as the button's position, is for the button while it is on (mute,
//               ontop, enabled, and the buttons of windows that are shown); without it, "pressed" shows that.
//               2 or 3 cells (normal, pressed; normal, hover, pressed) and 1 are understood too: the number
//               of cells is the image's width by the position's, rounded.
//   slider      bar_image: one cell, of the position's size. fill_image: the same size, shown from the left
//               (vertical: from the bottom) to the thumb's middle. thumb_image: 4 cells as a button's.
//   led         12 cells side by side: 0 1 2 3 4 5 6 7 8 9 : -
//   toolbar     kToolbarButtons cells side by side, in 4 rows as a button's states: 添加 删除 列表 排序 查找
//               编辑 模式.
//   scrollbar   buttons_image: 4 cells side by side as a button's, in 2 rows: up, down. thumb_image: 4 cells.
//               bar_image: one cell; where the bar is longer, its middle row of pixels is repeated.
//   window      image: one cell, the window at its least size; resize_rect says which part grows: what lies
//               to its left, right, top and bottom stays. The player window and the mini player have the size
//               of their image.
//
// A cell that is smaller than the place it is for lies in the middle of it; of a larger one the middle shows.
// All functions are pure; positions that come from a file may hold any numbers. Thread: any.
#pragma once

#include <cstdint>
#include <string_view>

#include "skin/bitmap.h"
#include "skin/skin_description.h"

namespace melorin {

enum class ControlState { kNormal, kHover, kPressed, kDisabled };

inline constexpr int32_t kLedCells = 12;
inline constexpr std::string_view kLedCharacters = "0123456789:-";
inline constexpr int32_t kToolbarButtons = 7;
inline constexpr int32_t kToolbarRows = 4;

/// The pixels of a position at a scale. Edges farther away than kFarthestPixel / 2 come nearer.
SkinRect ScaledPosition(const SkinRect& position, int32_t scale);
/// A rectangle of that size in the middle of an area.
SkinRect CentredIn(const SkinRect& area, int32_t width, int32_t height);

/// The cell of a button's image for a state. `wide`, `high`: the button's position, scaled.
SkinRect ButtonCell(const Bitmap& image, int32_t wide, int32_t high, ControlState state, bool on);
/// One of `columns` × `rows` cells.
SkinRect GridCell(const Bitmap& image, int32_t columns, int32_t rows, int32_t column, int32_t row);
/// The cell of the thumb of a slider or scroll bar.
SkinRect ThumbCell(const Bitmap& image, ControlState state);
/// Empty for characters that have none, also the space.
SkinRect LedCell(const Bitmap& image, char character);

/// Where a control of a window of `default_size` lies when the window has another size.
SkinRect AlignedPosition(const SkinRect& position, int32_t align, int32_t default_width,
                         int32_t default_height, int32_t width, int32_t height);

// Sliders. The thumb goes from one end of the position to the other and never beyond; `value` is 0 to 1 of
// its way, from the left or from the bottom, and is cut to that.

SkinRect SliderThumb(const SkinRect& position, int32_t thumb_width, int32_t thumb_height, bool vertical,
                     double value);
/// The value that brings the thumb's middle to `at` (x, or y of a vertical one); what the user drags to. 0
/// when the thumb has no way to go.
double SliderValueAt(const SkinRect& position, int32_t thumb_width, int32_t thumb_height, bool vertical,
                     int32_t at);

/// The slider of a band, from 0 (the lowest) to 9.
SkinRect EqualizerBandPosition(const SkinRect& eqfactor, int32_t eq_interval, int32_t band);

/// The place of a button of the toolbar, from 0.
SkinRect ToolbarButtonPosition(const SkinRect& toolbar, int32_t button);
/// -1 when there is none.
int32_t ToolbarButtonAt(const SkinRect& toolbar, int32_t x, int32_t y);

/// The place of a scroll bar: the right edge of what it scrolls.
SkinRect ScrollBarPosition(const SkinRect& area, int32_t bar_width);

/// What a vertical scroll bar consists of. No part overlaps another but the thumb the track.
struct ScrollBarParts {
  SkinRect up;
  SkinRect down;
  SkinRect track;
  SkinRect thumb;  ///< Empty when everything is in view, or when the track is too short for one.
};
/// `button_height`: of each button, less where the bar is too short. `least_thumb`: pixels. `page`: 0 to 1,
/// the part of everything that is in view. `scroll`: 0 to 1 of the way.
ScrollBarParts LayOutScrollBar(const SkinRect& position, int32_t button_height, int32_t least_thumb,
                               double page, double scroll);
/// 0 to 1: how far is scrolled when the thumb is dragged until its top is at `thumb_top`.
double ScrollAt(const ScrollBarParts& parts, int32_t thumb_top);

/// How a window's image, `image` pixels long in one direction, covers `length` pixels: what lies before and
/// behind the growing part keeps its size, the end loses what does not fit any more.
struct GrowingAxis {
  int32_t image_low = 0;  ///< The growing part in the image …
  int32_t image_high = 0;
  int32_t low = 0;  ///< … and in the window.
  int32_t high = 0;
};
GrowingAxis LayOutGrowing(int32_t image, int32_t grow_low, int32_t grow_high, int32_t length);

}  // namespace melorin
