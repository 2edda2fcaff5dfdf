// SPDX-License-Identifier: MIT
//
// The syntax of values in skin descriptions. Numbers are read as C's scanf does: white space and a sign
// before one, anything behind the last. Thread: any.
#pragma once

#include <cstdint>
#include <string_view>

#include "skin/skin_description.h"

namespace melorin {

enum class SkinValue {
  kTaken,
  kMissing,  ///< Empty.
  kInvalid,
};

/// Numbers beyond this, either way, are kept to it: no window reaches so far, and whoever adds and scales
/// them need not fear that they wrap.
inline constexpr int32_t kFarthestSkinPixel = 32767;

// Each leaves `out` as the element's default where its comment does not say otherwise.

/// "left,top,right,bottom". Missing: an empty rectangle. One that is empty or turned round is taken as it
/// stands.
SkinValue ParseSkinRect(std::string_view text, SkinRect& out);
/// True exactly for "true" in any case, false for anything else but an empty text. Other words than "true"
/// and "false" count as invalid.
SkinValue ParseSkinFlag(std::string_view text, bool& out);
/// "#rrggbb"; a field may have one digit where no other follows it.
SkinValue ParseSkinColour(std::string_view text, SkinColour& out);
/// "left", "top+right", …: a part that no word names keeps its default. Missing: 0. Invalid: a word is none
/// of the six; the other is taken all the same.
SkinValue ParseSkinAlign(std::string_view text, int32_t& out);
/// A decimal number. Invalid: it does not begin with one.
SkinValue ParseSkinInteger(std::string_view text, int32_t& out);

}  // namespace melorin
