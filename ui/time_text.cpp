// SPDX-License-Identifier: MIT
#include "ui/time_text.h"

namespace melorin {
namespace {

void AppendNumber(std::u16string& text, uint32_t number, bool two_digits) {
  if (number >= 10) AppendNumber(text, number / 10, false);
  if (number < 10 && two_digits) text += u'0';
  text += static_cast<char16_t>(u'0' + number % 10);
}

}  // namespace

std::u16string TimeText(uint32_t seconds) {
  std::u16string text;
  const uint32_t hours = seconds / 3600;
  if (hours > 0) {
    AppendNumber(text, hours, false);
    text += u':';
  }
  AppendNumber(text, seconds / 60 % 60, hours > 0);
  text += u':';
  AppendNumber(text, seconds % 60, true);
  return text;
}

}  // namespace melorin
