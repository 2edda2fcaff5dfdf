// SPDX-License-Identifier: MIT
//
// Cutting a name like "01. Artist - Title" into its parts.
#pragma once

#include <string_view>
#include <vector>

namespace melorin {

struct NamePart {
  std::u16string_view text;  ///< As it is written, without white space at the ends; views the name.
  bool is_number = false;    ///< A track number that stands for itself.
};

/// The parts of a name in order; at least one unless the name is white space. At most kMostParts: what is
/// behind stays in the last one. The rules stand in the .cpp file.
std::vector<NamePart> SplitName(std::u16string_view name);
inline constexpr size_t kMostParts = 5;

/// ASCII white space, no-break and ideographic spaces.
bool IsSpace(char16_t c);
std::u16string_view Trim(std::u16string_view text);
bool IsDash(char16_t c);  ///< Of any length and width.
/// For an opening bracket the closing one, else 0.
char16_t ClosingBracket(char16_t c);

}  // namespace melorin
