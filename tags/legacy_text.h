// SPDX-License-Identifier: MIT
//
// Text in tags whose encoding is not stated, or stated wrongly: the rule that tells GBK from Latin-1.
#pragma once

#include <string>
#include <string_view>

namespace melorin {

/// What the bytes of one text say about their encoding.
struct LegacyEvidence {
  enum class Kind {
    kAscii,    ///< Nothing to decide.
    kUtf8,     ///< Well-formed UTF-8, and no GBK text would be that by chance.
    kGbk,      ///< Runs of hanzi that no Latin-1 text has.
    kWestern,  ///< Not well-formed GBK.
    kScored,   ///< Both are possible: see `score`.
  };
  Kind kind = Kind::kAscii;
  /// Above 0: GBK is the likelier reading.
  int score = 0;
  /// One two-byte pair is all there is, so the neighbours have the say.
  bool single_pair = false;
};

/// Tags mark GBK text as Latin-1, because the oldest tag formats have no mark for GBK and programs wrote the
/// system's code page there. See the .cpp file for the rule.
LegacyEvidence WeighLegacy(std::string_view bytes);

/// To UTF-8, by the evidence. `neighbours_gbk`: other texts of the same tag are surely GBK.
std::string DecodeLegacy(std::string_view bytes, const LegacyEvidence& evidence, bool neighbours_gbk);
std::string DecodeLegacy(std::string_view bytes);

}  // namespace melorin
