// SPDX-License-Identifier: MIT
#include "skin/skin_findings.h"

namespace melorin {

namespace {

constexpr size_t kLongestShown = 60;

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

std::string ShownText(std::string_view utf8) {
  size_t size = utf8.size();
  if (size > kLongestShown) {
    size = kLongestShown;
    while (size > kLongestShown - 4 && IsContinuation(utf8[size]))
      --size;
  }
  std::string shown(utf8.substr(0, size));
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = '?';
  if (size < utf8.size()) shown += "…";
  return shown;
}

std::string QuotedText(std::string_view utf8) {
  return "\"" + ShownText(utf8) + "\"";
}

}  // namespace melorin
