// SPDX-License-Identifier: MIT
#include "lyrics/lrc_text.h"

#include "platform/text.h"

namespace melorin {

namespace {

constexpr std::string_view kIdeographicSpace = "\xA1\xA1";

bool IsSpace(std::string_view character) {
  const char first = character.front();
  return first == ' ' || (first >= '\t' && first <= '\r') || character == kIdeographicSpace;
}

}  // namespace

size_t FirstCharacterSize(std::string_view gbk) {
  if (!IsGbkLead(static_cast<unsigned char>(gbk[0])) || gbk.size() == 1) return 1;
  // The second byte of a pair is no digit.
  const bool four = gbk.size() >= 4 && gbk[1] >= '0' && gbk[1] <= '9';
  return four ? 4 : 2;
}

size_t CountCharacters(std::string_view gbk) {
  if (IsAscii(gbk)) return gbk.size();
  size_t count = 0;
  for (; !gbk.empty(); ++count)
    gbk.remove_prefix(FirstCharacterSize(gbk));
  return count;
}

std::string_view TrimSpaces(std::string_view gbk) {
  while (!gbk.empty()) {
    const size_t size = FirstCharacterSize(gbk);
    if (!IsSpace(gbk.substr(0, size))) break;
    gbk.remove_prefix(size);
  }
  // Only from the front can it be told which bytes belong together.
  size_t kept = 0;
  for (size_t i = 0; i < gbk.size();) {
    const size_t size = FirstCharacterSize(gbk.substr(i));
    if (!IsSpace(gbk.substr(i, size))) kept = i + size;
    i += size;
  }
  return gbk.substr(0, kept);
}

bool IsBracketed(std::string_view gbk) {
  return gbk.size() >= 2 && gbk.front() == '[' && FindLastGbk(gbk, ']') == gbk.size() - 1;
}

}  // namespace melorin
