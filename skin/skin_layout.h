// SPDX-License-Identifier: MIT
//
// How the bitmaps of a skin's controls are laid out. Sizes are those of the bitmap at hand, at either scale:
// a part is always found by dividing, never by counting pixels.
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
//               bar_image: one cell.
//   window      image: one cell, the window at its least size; resize_rect says which part grows: what lies
//   to
//               its left, right, top and bottom stays. The player window and the mini player have the size of
//               their image.
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

/// The cell of a button's image for a state. `wide`, `high`: the button's position, scaled.
SkinRect ButtonCell(const Bitmap& image, int32_t wide, int32_t high, ControlState state, bool on);
/// Where a control of a window of `default_size` lies when the window has another size.
SkinRect AlignedPosition(const SkinRect& position, int32_t align, int32_t default_width,
                         int32_t default_height, int32_t width, int32_t height);

}  // namespace melorin
