// SPDX-License-Identifier: MIT
#include "skin/skin_values.h"

#include <algorithm>
#include <array>

#include "doc/settings_values.h"
#include "platform/text.h"

namespace melorin {

namespace {

int32_t WithinReach(int32_t number) {
  return std::clamp(number, -kFarthestSkinPixel, kFarthestSkinPixel);
}

struct AlignWord {
  std::string_view word;
  int32_t value;
  int32_t mask;
};
constexpr std::array<AlignWord, 6> kAlignWords = {{
    {"left", kAlignLeft, kAlignHorizontalMask},
    {"center", kAlignCentre, kAlignHorizontalMask},
    {"right", kAlignRight, kAlignHorizontalMask},
    {"top", kAlignTop, kAlignVerticalMask},
    {"vcenter", kAlignVCentre, kAlignVerticalMask},
    {"bottom", kAlignBottom, kAlignVerticalMask},
}};

bool ApplyAlignWord(std::string_view word, int32_t& align) {
  for (const AlignWord& known : kAlignWords) {
    if (!EqualNoCaseUtf8(word, known.word)) continue;
    align = (align & ~known.mask) | known.value;
    return true;
  }
  return false;
}

}  // namespace

SkinValue ParseSkinRect(std::string_view text, SkinRect& out) {
  if (text.empty()) {
    out = {};
    return SkinValue::kMissing;
  }
  SettingsRect rect;
  if (!ParseSetting(text, &rect)) return SkinValue::kInvalid;
  out = {WithinReach(rect.left), WithinReach(rect.top), WithinReach(rect.right), WithinReach(rect.bottom)};
  return SkinValue::kTaken;
}

SkinValue ParseSkinFlag(std::string_view text, bool& out) {
  if (text.empty()) return SkinValue::kMissing;
  out = EqualNoCaseUtf8(text, "true");
  return out || EqualNoCaseUtf8(text, "false") ? SkinValue::kTaken : SkinValue::kInvalid;
}

SkinValue ParseSkinColour(std::string_view text, SkinColour& out) {
  if (text.empty()) return SkinValue::kMissing;
  SettingsColour colour;
  if (!ParseSetting(text, &colour)) return SkinValue::kInvalid;
  out = static_cast<SkinColour>(colour.value);
  return SkinValue::kTaken;
}

SkinValue ParseSkinAlign(std::string_view text, int32_t& out) {
  if (text.empty()) {
    out = 0;
    return SkinValue::kMissing;
  }
  // What stands behind a second "+" belongs to the second word, which then is none.
  const size_t plus = text.find('+');
  bool all_known = ApplyAlignWord(text.substr(0, plus), out);
  if (plus != std::string_view::npos) all_known &= ApplyAlignWord(text.substr(plus + 1), out);
  return all_known ? SkinValue::kTaken : SkinValue::kInvalid;
}

SkinValue ParseSkinInteger(std::string_view text, int32_t& out) {
  if (text.empty()) return SkinValue::kMissing;
  int32_t number = 0;
  if (!HasNumber(text) || !ParseSetting(text, &number)) return SkinValue::kInvalid;
  out = WithinReach(number);
  return SkinValue::kTaken;
}

}  // namespace melorin
