// SPDX-License-Identifier: MIT
//
// Lyrics3, after Petr Strnad's descriptions of version 1.00 and 2.00. Version 2: "LYRICSBEGIN", fields of a
// three-letter name, five digits of size and the text, then six digits of size and "LYRICS200". Version 1:
// "LYRICSBEGIN", at most 5,100 bytes of lyrics, "LYRICSEND".
#include "tags/lyrics3.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "tags/legacy_text.h"

namespace melorin {

namespace {

constexpr std::string_view kBegin = "LYRICSBEGIN";
constexpr std::string_view kEnd1 = "LYRICSEND";
constexpr std::string_view kEnd2 = "LYRICS200";
constexpr int64_t kSizeDigits = 6;
constexpr int64_t kLongestVersion1 = 5100;

struct FieldId {
  std::string_view id;
  std::string_view field;
};
/// The indications (IND) and picture links (IMG) say nothing to a listener.
constexpr FieldId kFields[] = {
    {"LYR", "Lyrics"}, {"INF", "Comment"}, {"AUT", "Composer"},
    {"EAL", "Album"},  {"EAR", "Artist"},  {"ETT", "Title"},
};

std::string_view Text(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A number written in digits and nothing else; -1 otherwise.
int64_t Digits(std::string_view text) {
  int64_t number = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') return -1;
    number = number * 10 + (digit - '0');
  }
  return number;
}

void SetLonger(TagFields& fields, std::string_view name, std::string_view text) {
  text = text.substr(0, text.find('\0'));
  while (!text.empty() && (text.back() == ' ' || text.back() == '\r' || text.back() == '\n'))
    text.remove_suffix(1);
  if (!text.empty()) fields.Set(name, DecodeLegacy(text), true);
}

}  // namespace

bool ReadLyrics3v2(CachedSource& file, int64_t floor, int64_t& end, TagFields& fields) {
  constexpr auto mark = static_cast<int64_t>(kEnd2.size());
  const int64_t body_end = end - mark - kSizeDigits;
  if (body_end - static_cast<int64_t>(kBegin.size()) < floor) return false;
  const std::string_view tail = Text(file.At(body_end, kSizeDigits + mark));
  if (tail.size() != kSizeDigits + mark || tail.substr(kSizeDigits) != kEnd2) return false;
  const int64_t size = Digits(tail.substr(0, kSizeDigits));
  const int64_t begin = body_end - size;
  if (size < static_cast<int64_t>(kBegin.size()) || begin < floor) return false;
  std::string_view body = Text(file.At(begin, size));
  if (static_cast<int64_t>(body.size()) != size || !body.starts_with(kBegin)) return false;
  body.remove_prefix(kBegin.size());
  while (body.size() >= 8) {
    const int64_t length = Digits(body.substr(3, 5));
    if (length < 0) break;
    const std::string_view id = body.substr(0, 3);
    body.remove_prefix(8);
    const std::string_view text = body.substr(0, static_cast<size_t>(length));
    for (const FieldId& known : kFields)
      if (known.id == id) SetLonger(fields, known.field, text);
    body.remove_prefix(text.size());
  }
  end = begin;
  return true;
}

bool ReadLyrics3v1(CachedSource& file, int64_t floor, int64_t& end, TagFields& fields) {
  constexpr auto mark = static_cast<int64_t>(kEnd1.size());
  const int64_t body_end = end - mark;
  if (body_end < floor || Text(file.At(body_end, mark)) != kEnd1) return false;
  const int64_t from = std::max(floor, body_end - kLongestVersion1 - static_cast<int64_t>(kBegin.size()));
  const std::string_view room = Text(file.At(from, body_end - from));
  const size_t begin = room.rfind(kBegin);
  if (begin == std::string_view::npos) return false;
  SetLonger(fields, "Lyrics", room.substr(begin + kBegin.size()));
  end = from + static_cast<int64_t>(begin);
  return true;
}

}  // namespace melorin
