// SPDX-License-Identifier: MIT
//
// TextPainter: the seam to the system's fonts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "skin/bitmap.h"
#include "skin/skin_description.h"

namespace melorin {

struct TextStyle {
  std::string font_gbk;  ///< Face; empty: the system's usual one for Chinese.
  int32_t pixels = 12;   ///< Height of the characters.
  int32_t weight = 400;
  SkinColour colour = 0;
  int32_t align = kAlignLeft | kAlignVCentre;
  bool ellipsis = true;  ///< Text that is too long ends in "…"; false: it is cut.
};

/// Texts are one line: control characters are drawn as spaces. A face that the system does not have gives way
/// to the usual one. Thread: one at a time.
class TextPainter {
 public:
  virtual ~TextPainter() = default;
  /// Into `area` of the bitmap (its own pixels, not scaled ones); nothing outside is touched. `shift`: pixels
  /// that the text is moved to the left, for titles that slide.
  virtual void Draw(Bitmap& target, const SkinRect& area, std::string_view text_gbk, const TextStyle& style,
                    int32_t shift = 0) = 0;
  virtual int32_t WidthOf(std::string_view text_gbk, const TextStyle& style) = 0;
};

/// Draws with the fonts of the system, in grey steps at the edges on any background. Null when the system has
/// none.
std::unique_ptr<TextPainter> CreateTextPainter();

}  // namespace melorin
