// SPDX-License-Identifier: MIT
//
// Reads the description of a skin, and says what its author should look at.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "skin/skin_description.h"

namespace melorin {

struct SkinFinding {
  enum class Kind {
    kMissing,  ///< An attribute, element or file that the player would use is not there.
    kInvalid,  ///< A value that cannot be read; the default stands in for it.
    kUnknown,  ///< An element or attribute that the player does not know; it is passed over.
  };
  Kind kind = Kind::kMissing;
  std::string path;  ///< "skin/player_window/play@position"; UTF-8.
  std::string text;  ///< One sentence in English; UTF-8.
};

enum class SkinReadResult {
  kRead,
  kNoXml,         ///< Not well-formed, or no text at all.
  kNoSkin,        ///< The root is another's.
  kWrongVersion,  ///< Not version 2.
};

/// From the bytes of "Skin.xml". `findings`, when given, is filled in the order of the file, at most 1000;
/// also when the skin is rejected. Thread: any.
SkinReadResult ReadSkinDescription(std::span<const uint8_t> bytes, SkinDescription& out,
                                   std::vector<SkinFinding>* findings = nullptr);

}  // namespace melorin
