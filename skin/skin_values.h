// SPDX-License-Identifier: MIT
//
// The syntax of values in skin descriptions.
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

// Each leaves `out` as the element's default where its comment does not say otherwise.

/// "left,top,right,bottom". Missing: an empty rectangle.
SkinValue ParseSkinRect(std::string_view text, SkinRect& out);
/// True exactly for "true" in any case, false for anything else but an empty text.
SkinValue ParseSkinFlag(std::string_view text, bool& out);
/// "#rrggbb".
SkinValue ParseSkinColour(std::string_view text, SkinColour& out);
/// "left", "top+right", …: a part that no word names keeps its default. Missing: 0.
SkinValue ParseSkinAlign(std::string_view text, int32_t& out);
SkinValue ParseSkinInteger(std::string_view text, int32_t& out);

}  // namespace melorin
