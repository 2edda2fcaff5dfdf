// SPDX-License-Identifier: MIT
//
// Reads the description of a skin, and says what its author should look at. skin_check.h looks at the skin's
// bitmaps too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "skin/skin_description.h"

namespace melorin {

struct SkinFinding {
  enum class Kind {
    kMissing,  ///< An attribute, element or file that the player would use is not there.
    kInvalid,  ///< A value or file that cannot be read; the default stands in for it.
    kUnknown,  ///< An element or attribute that the player does not know or already has.
    kPoor,     ///< All is there, but it will not look as it was meant to.
  };
  Kind kind = Kind::kMissing;
  std::string path;  ///< "skin/player_window/play@position"; UTF-8.
  std::string text;  ///< One sentence in English; UTF-8.
};

/// More are not kept.
inline constexpr size_t kMostSkinFindings = 1000;

/// In bytes. Those of real skins have a few thousand; a tree takes many times the memory of its text.
inline constexpr size_t kLargestSkinDescription = 4u << 20;

enum class SkinReadResult {
  kRead,
  kNoXml,         ///< Not well-formed, no text at all, or larger than kLargestSkinDescription.
  kNoSkin,        ///< The root is another's.
  kWrongVersion,  ///< Not version 2. `out` has the root's attributes and nothing else.
};

/// From the bytes of "Skin.xml". `findings`, when given, is filled anew in the order of the file, also when
/// the skin is rejected; what is missing stands behind what is there. Of elements with the same name in the
/// same place the last counts, of such attributes the first. Thread: any.
SkinReadResult ReadSkinDescription(std::span<const uint8_t> bytes, SkinDescription& out,
                                   std::vector<SkinFinding>* findings = nullptr);

}  // namespace melorin
