// SPDX-License-Identifier: MIT
//
// The system's message font at a window's dpi, and the dialog units that follow from it. Where that font has
// no Chinese characters, which would then come from any font, 微软雅黑 takes its place.
#pragma once

#include <windows.h>

#include <string_view>

#include "app/gdi.h"

namespace melorin {

/// Thread: the UI thread.
class DialogFont {
 public:
  explicit DialogFont(int dpi);

  HFONT get() const { return font_.get(); }
  int Dpi() const { return dpi_; }
  /// Dialog units to pixels: a quarter of a character's average width, an eighth of its height.
  int X(int units) const { return MulDiv(units, base_x_, 4); }
  int Y(int units) const { return MulDiv(units, base_y_, 8); }
  /// Pixels that one line takes; "&" marks the access key.
  int TextWidth(std::u16string_view text) const;
  /// Pixels that the text takes when it is broken into lines of that width.
  int TextHeight(std::u16string_view text, int width) const;

 private:
  GdiObject<HFONT> font_;
  int dpi_;
  int base_x_ = 6;
  int base_y_ = 16;
};

/// Of the screen where the window is; null: of the system.
int DpiOfWindow(HWND window);

}  // namespace melorin
