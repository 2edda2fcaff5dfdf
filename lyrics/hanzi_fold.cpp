// SPDX-License-Identifier: MIT
#include "lyrics/hanzi_fold.h"

#include "lyrics/hanzi_tables.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// A table of pairs, sorted by the first of each. The character itself when it is not there.
template <size_t kUnits>
char16_t LookUp(const char16_t (&pairs)[kUnits], char16_t c) {
  size_t low = 0;
  size_t high = kUnits / 2;  // The zero at the end is cut off.
  while (low < high) {
    const size_t middle = (low + high) / 2;
    if (pairs[2 * middle] < c)
      low = middle + 1;
    else
      high = middle;
  }
  return low < kUnits / 2 && pairs[2 * low] == c ? pairs[2 * low + 1] : c;
}

template <size_t kUnits>
std::string ConvertGbk(const char16_t (&pairs)[kUnits], std::string_view gbk) {
  if (IsAscii(gbk)) return std::string(gbk);
  std::u16string text = Utf16FromGbk(gbk);
  for (char16_t& c : text)
    if (c >= 0x80) c = LookUp(pairs, c);
  return GbkFromUtf16(text);
}

constexpr bool IsHanzi(char16_t c) {
  return (c >= 0x3400 && c <= 0x9FFF) || (c >= 0xF900 && c <= 0xFAFF);
}

}  // namespace

char16_t FoldForComparing(char16_t c) {
  if (c == 0x3000) return ' ';
  if (c >= 0xFF01 && c <= 0xFF5E) c = static_cast<char16_t>(c - 0xFEE0);
  if (c < 0x80) return c >= 'A' && c <= 'Z' ? static_cast<char16_t>(c + ('a' - 'A')) : c;
  if (IsHanzi(c)) return LookUp(kHanziFolded, c);
  return LookUp(kLettersFolded, c);
}

std::string SimplifiedGbk(std::string_view gbk) {
  return ConvertGbk(kHanziSimplified, gbk);
}

std::string TraditionalGbk(std::string_view gbk) {
  return ConvertGbk(kHanziTraditional, gbk);
}

}  // namespace melorin
