// SPDX-License-Identifier: MIT
//
// Names that files bring may be of any length; menus, tips and questions show as much as a reader takes in.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace melorin {

/// What a menu or a question shows of a name, UTF-16 units.
inline constexpr size_t kShortName = 60;

/// The text, or its beginning and "…", together no longer than `most`; no character is cut in two.
inline std::u16string ShortText(std::u16string_view text, size_t most) {
  if (text.size() <= most) return std::u16string(text);
  size_t kept = most - 1;
  if (kept > 0 && (text[kept] & 0xFC00) == 0xDC00) --kept;
  return std::u16string(text.substr(0, kept)) + u'…';
}

}  // namespace melorin
