// SPDX-License-Identifier: MIT
#include "skin/text_line.h"

#include <algorithm>

#include "platform/text.h"

namespace melorin {

std::u16string TextLine(std::string_view text_gbk) {
  // Two code units come from two bytes at least.
  std::u16string line = Utf16FromGbk(text_gbk.substr(0, kLongestLine * 4));
  if (line.size() > kLongestLine) line.resize(kLongestLine);
  for (char16_t& unit : line)
    if (unit < u' ' || unit == 0x7F) unit = u' ';
  return line;
}

TextPlace PlaceText(const SkinRect& area, int32_t align, int32_t width, int32_t height, int32_t shift) {
  TextPlace place = {area.left, area.top};
  const int32_t spare = std::max(area.Width() - width, 0);
  if ((align & kAlignHorizontalMask) == kAlignCentre) place.x += spare / 2;
  if ((align & kAlignHorizontalMask) == kAlignRight) place.x += spare;
  // A line that is too high loses as much above as below.
  const int32_t below = area.Height() - height;
  if ((align & kAlignVerticalMask) == kAlignVCentre) place.y += below / 2;
  if ((align & kAlignVerticalMask) == kAlignBottom) place.y += below;
  place.x -= shift;
  return place;
}

}  // namespace melorin
