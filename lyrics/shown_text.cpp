// SPDX-License-Identifier: MIT
#include "lyrics/shown_text.h"

#include "lyrics/hanzi_fold.h"

namespace melorin {
namespace {

size_t SkipDigits(std::string_view text, size_t at) {
  while (at < text.size() && text[at] >= '0' && text[at] <= '9')
    ++at;
  return at;
}

/// How long the time is that begins the text: "<minutes:seconds>", with or without a fraction. 0: none does.
size_t WordTimeSize(std::string_view text) {
  const size_t colon = SkipDigits(text, 1);
  if (colon == 1 || colon >= text.size() || text[colon] != ':') return 0;
  size_t end = SkipDigits(text, colon + 1);
  if (end == colon + 1) return 0;
  if (end < text.size() && (text[end] == '.' || text[end] == ':')) end = SkipDigits(text, end + 1);
  return end < text.size() && text[end] == '>' ? end + 1 : 0;
}

std::string WithoutWordTimes(std::string_view text) {
  std::string shown;
  // No byte of a two-byte or four-byte character is a "<".
  for (size_t at = 0; at < text.size();) {
    const size_t size = text[at] == '<' ? WordTimeSize(text.substr(at)) : 0;
    if (size == 0) {
      shown += text[at++];
      continue;
    }
    at += size;
    // One of the spaces on either side is enough.
    if (at < text.size() && text[at] == ' ' && (shown.empty() || shown.back() == ' ')) ++at;
  }
  return shown;
}

}  // namespace

std::string ShownTextGbk(std::string_view text_gbk, int32_t char_set) {
  std::string text = WithoutWordTimes(text_gbk);
  if (char_set == 1) return SimplifiedGbk(text);
  if (char_set == 2) return TraditionalGbk(text);
  return text;
}

}  // namespace melorin
