// SPDX-License-Identifier: MIT
#include "playlist/list_find.h"

#include <algorithm>

#include "platform/text.h"

namespace melorin {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool StartsWith(const char* text, const char* end, std::string_view word) {
  if (static_cast<size_t>(end - text) < word.size()) return false;
  for (size_t i = 0; i < word.size(); ++i)
    if (Lower(text[i]) != word[i]) return false;
  return true;
}

/// UTF-8 needs no care: no character is part of another. `word` has small letters.
bool ContainsUtf8(std::string_view text, std::string_view word) {
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end; ++at)
    if (Lower(*at) == word.front() && StartsWith(at, end, word)) return true;
  return false;
}

/// Like StartsWith, but trail bytes that equal letters compare exactly.
bool StartsWithGbk(const char* text, const char* end, std::string_view word) {
  if (static_cast<size_t>(end - text) < word.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    if (Lower(text[i]) != word[i]) return false;
    if (IsGbkLead(static_cast<unsigned char>(word[i])) && i + 1 < word.size()) {
      ++i;
      if (text[i] != word[i]) return false;
    }
  }
  return true;
}

/// Only where a character begins: a four-byte one is two pairs, of which the second begins none.
bool ContainsGbk(std::string_view text, std::string_view word) {
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at < end; ++at) {
    if (Lower(*at) == word.front() && StartsWithGbk(at, end, word)) return true;
    if (!IsGbkLead(static_cast<unsigned char>(*at)) || end - at < 2) continue;
    const bool four_bytes = at[1] >= '0' && at[1] <= '9';
    at += four_bytes && end - at >= 4 ? 3 : 1;
  }
  return false;
}

}  // namespace

ListSearch::ListSearch(std::u16string_view words) {
  const auto is_space = [](char16_t c) { return c == u' ' || c == u'\t' || c == u'\u3000'; };
  for (auto at = words.begin();;) {
    at = std::find_if_not(at, words.end(), is_space);
    if (at == words.end()) break;
    const auto end = std::find_if(at, words.end(), is_space);
    std::u16string word(at, end);
    for (char16_t& c : word)
      if (c < 0x80) c = static_cast<unsigned char>(Lower(static_cast<char>(c)));
    bool lossy = false;
    std::string gbk = GbkFromUtf16(word, &lossy);
    if (lossy) gbk.clear();
    words_.push_back({Utf8FromUtf16(word), std::move(gbk)});
    at = end;
  }
}

bool ListSearch::Matches(const PlayListItem& item) const {
  std::string tags[3];
  bool have_tags = false;
  const auto in_tags = [&](const std::string& word) {
    if (!have_tags) {
      have_tags = true;
      tags[0] = item.TagValue("Title");
      tags[1] = item.TagValue("Artist");
      tags[2] = item.TagValue("Album");
    }
    return std::any_of(std::begin(tags), std::end(tags),
                       [&](const std::string& tag) { return ContainsUtf8(tag, word); });
  };
  return !words_.empty() && std::all_of(words_.begin(), words_.end(), [&](const Word& word) {
    const bool in_texts = !word.gbk.empty() &&
                          (ContainsGbk(item.TitleGbk(), word.gbk) || ContainsGbk(item.PathGbk(), word.gbk));
    return in_texts || in_tags(word.utf8);
  });
}

std::optional<size_t> FindEntry(const Playlist& list, const ListSearch& search, size_t from) {
  const size_t count = list.Size();
  if (from >= count) from = 0;
  for (size_t step = 0; step < count; ++step) {
    const size_t index = from + step < count ? from + step : from + step - count;
    if (search.Matches(*list.At(index))) return index;
  }
  return std::nullopt;
}

std::vector<size_t> FindEntries(const Playlist& list, const ListSearch& search) {
  std::vector<size_t> found;
  for (size_t i = 0; i < list.Size(); ++i)
    if (search.Matches(*list.At(i))) found.push_back(i);
  return found;
}

}  // namespace melorin
