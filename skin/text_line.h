// SPDX-License-Identifier: MIT
//
// What every TextPainter does the same way: one line of text, cut to a width and placed in an area.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "skin/skin_description.h"
#include "skin/text_painter.h"

namespace melorin {

/// Characters larger than this are as large as this.
inline constexpr int32_t kLargestTextPixels = 512;
/// What a line holds; a longer text is cut. No window shows more.
inline constexpr size_t kLongestLine = 2000;

/// The system's usual face for Chinese: "微软雅黑".
inline constexpr char16_t kUsualFace[] = u"微软雅黑";

/// UTF-16 of one line.
std::u16string TextLine(std::string_view text_gbk);

/// The text, or as much of its beginning as fits together with "…" into the width; whole characters. `fits`
/// says how many code units of the text find place in a width.
template <typename Width, typename Fits>
void CutToWidth(std::u16string& line, int32_t width, const Width& width_of, const Fits& fits) {
  if (width_of(line) <= width) return;
  constexpr char16_t kEllipsis = u'\u2026';
  size_t kept = fits(line, width - width_of(std::u16string(1, kEllipsis)));
  // Never between the halves of a surrogate pair.
  if (kept > 0 && kept < line.size() && (line[kept] & 0xFC00) == 0xDC00) --kept;
  line.resize(kept);
  while (!line.empty() && line.back() == u' ')
    line.pop_back();
  line.push_back(kEllipsis);
}

/// The left top corner of a line of that size. A line that is wider than the area begins at its left edge.
struct TextPlace {
  int32_t x = 0;
  int32_t y = 0;
};
TextPlace PlaceText(const SkinRect& area, int32_t align, int32_t width, int32_t height, int32_t shift);

}  // namespace melorin
