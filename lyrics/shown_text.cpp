// SPDX-License-Identifier: MIT
#include "lyrics/shown_text.h"

#include "lyrics/hanzi_fold.h"
#include "lyrics/word_times.h"

namespace melorin {
namespace {

std::string WithoutWordTimes(std::string_view text) {
  std::string shown;
  // No byte of a two-byte or four-byte character is a "<".
  for (size_t at = 0; at < text.size();) {
    const size_t size = WordTimeSize(text.substr(at));
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
