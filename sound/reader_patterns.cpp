// SPDX-License-Identifier: MIT
//
// See reader_patterns.h.
#include "sound/reader_patterns.h"

namespace melorin {
namespace {

void AppendLowered(std::u16string_view text, std::u16string& out) {
  for (const char16_t c : text)
    out += c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

}  // namespace

std::optional<ReaderPatterns> ParseDescription(std::u16string_view description) {
  const size_t open = description.find(u'(');
  if (open == std::u16string_view::npos) return std::nullopt;
  const size_t close = description.find(u')', open + 1);
  if (close == std::u16string_view::npos) return std::nullopt;
  return ReaderPatterns{std::u16string(description.substr(0, open)),
                        std::u16string(description.substr(open + 1, close - open - 1))};
}

std::u16string ExtensionList(std::u16string_view patterns) {
  std::u16string list;
  list.reserve(patterns.size() + 2);
  list += u';';
  AppendLowered(patterns, list);
  list += u';';
  return list;
}

std::optional<std::u16string_view> ExtensionOf(std::u16string_view path) {
  const size_t dot = path.rfind(u'.');
  if (dot == std::u16string_view::npos) return std::nullopt;
  return path.substr(dot + 1);
}

std::u16string ExtensionPattern(std::u16string_view extension) {
  std::u16string pattern;
  pattern.reserve(extension.size() + 4);
  pattern += u";*.";
  AppendLowered(extension, pattern);
  pattern += u';';
  return pattern;
}

}  // namespace melorin
