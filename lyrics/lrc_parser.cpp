// SPDX-License-Identifier: MIT
//
// LRC text to a lyric. One parser for the two forms that text comes in: UTF-16, and plain code page 936,
// whose two-byte characters are one UTF-16 unit each, so that both give the same lines. The latter spares
// most files the way to UTF-16 and back.
#include <algorithm>
#include <bit>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "lyrics/lrc_time.h"
#include "lyrics/lyric_doc.h"
#include "platform/text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace melorin {

namespace {

constexpr size_t kUsualLine = 32;
constexpr int kTitleLeadMs = 1000;
/// What the texts of all lines may take together. One long line with hundreds of time tags is that many
/// lines, so a small file could take any amount.
constexpr size_t kMostTextBytes = 8u << 20;

template <class Char>
bool IsBreak(Char c) {
  return c == '\r' || c == '\n';
}
/// Of a line; a zero ends the text.
template <class Char>
bool IsEnd(Char c) {
  return IsBreak(c) || c == 0;
}

struct Utf16Form {
  using Char = char16_t;

  /// Past `count` units at most, never between the halves of a character.
  static const Char* Advance(const Char* at, const Char* end, size_t count) {
    if (static_cast<size_t>(end - at) <= count) return end;
    const Char* const cut = at + count;
    const bool halves = (cut[-1] & 0xFC00) == 0xD800 && (*cut & 0xFC00) == 0xDC00;
    return halves ? cut - 1 : cut;
  }
  static const Char* FindEnd(const Char* at, const Char* end) { return std::find_if(at, end, IsEnd<Char>); }
  static const Char* Find(const Char* at, const Char* end, Char wanted) { return std::find(at, end, wanted); }
  static std::string ToGbk(std::u16string_view text) { return GbkFromUtf16(text); }
};

struct GbkForm {
  using Char = char;

  static const Char* Advance(const Char* at, const Char* end, size_t count) {
    if (static_cast<size_t>(end - at) <= count) return end;
    for (; at != end && count != 0; --count)
      at += Size(at);
    return at;
  }
  static const Char* FindEnd(const Char* at, const Char* end) {
    const auto in_block = [](auto block, auto equal) {
      return equal(block, '\r') | equal(block, '\n') | equal(block, '\0');
    };
    return Search(at, end, in_block, IsEnd<Char>);
  }
  static const Char* Find(const Char* at, const Char* end, Char wanted) {
    if (at != end && *at == wanted) return at;  // Where most lines have it.
    for (const Char* from = at; from != end; ++from) {
      from = Search(
          from, end, [=](auto block, auto equal) { return equal(block, wanted); },
          [=](Char c) { return c == wanted; });
      if (from == end || !IsSecondByte(at, from)) return from;
    }
    return end;
  }
  static std::string ToGbk(std::string_view text) { return std::string(text); }

 private:
  /// The first byte that is searched for, or `end`. Sixteen bytes at a time where SSE2 is, as in both
  /// targets: much of the reading is this. `in_block` answers with the bits of the bytes that are.
  template <class InBlock, class IsWanted>
  static const Char* Search(const Char* at, const Char* end, InBlock in_block, IsWanted is_wanted) {
#if defined(__SSE2__)
    const auto equal = [](__m128i block, Char c) {
      return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(c))));
    };
    for (; end - at >= 16; at += 16)
      if (const unsigned found = in_block(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)), equal))
        return at + std::countr_zero(found);
#endif
    return std::find_if(at, end, is_wanted);
  }
  /// Of a character: an odd number of bytes before it can begin one. All text from `begin` on is whole
  /// characters.
  static bool IsSecondByte(const Char* begin, const Char* at) {
    const Char* run = at;
    while (run != begin && IsGbkLead(static_cast<unsigned char>(run[-1])))
      --run;
    return (at - run) % 2 != 0;
  }
  static int Size(const Char* at) {
    return IsGbkLead(static_cast<unsigned char>(*at)) ? 2 : 1;
  }
};

template <class Form>
class LrcParser {
 public:
  using Char = typename Form::Char;
  using View = std::basic_string_view<Char>;

  explicit LrcParser(LyricDoc& doc) : doc_(doc) {}
  std::vector<LyricLine> Parse(View text);

 private:
  void ParseLine(const Char* at, const Char* end);
  bool TakeHeader(const Char* at, const Char* end);
  bool TakeOffset(const Char* at, const Char* end);
  const Char* TakeTimed(const Char* at, const Char* end);
  void AddLine(std::string&& text_gbk, int32_t tagged_ms);

  static View Between(const Char* at, const Char* end) { return {at, static_cast<size_t>(end - at)}; }
  static bool Equals(View text, std::string_view ascii) {
    return std::equal(text.begin(), text.end(), ascii.begin(), ascii.end(),
                      [](Char a, char b) { return a == static_cast<Char>(b); });
  }

  LyricDoc& doc_;
  std::vector<LyricLine> lines_;
  std::vector<int32_t> times_;
  int32_t offset_ms_ = 0;
  size_t text_left_ = kMostTextBytes;
};

template <class Form>
std::vector<LyricLine> LrcParser<Form>::Parse(View text) {
  const Char* at = text.data();
  const Char* const end = at + text.size();
  lines_.reserve(text.size() / kUsualLine);
  while (at != end && *at != 0) {
    const Char* const line_end = Form::FindEnd(at, end);
    do {
      const Char* const piece_end = Form::Advance(at, line_end, kLongestLrcLine);
      ParseLine(at, piece_end);
      at = piece_end;
    } while (at != line_end);
    // A second break belongs to the first, be it the rest of CR LF or an empty line.
    for (int breaks = 0; breaks < 2 && at != end && IsBreak(*at); ++breaks)
      ++at;
  }
  return std::move(lines_);
}

template <class Form>
void LrcParser<Form>::ParseLine(const Char* at, const Char* end) {
  const Char* open = Form::Find(at, end, '[');
  if (open == end) {
    doc_.plain_text_gbk.append(Form::ToGbk(Between(at, end))).append("\r\n");
    return;
  }
  if (TakeHeader(open, end) || TakeOffset(open, end)) return;
  while (open != end)
    open = TakeTimed(open, end);
}

template <class Form>
bool LrcParser<Form>::TakeHeader(const Char* at, const Char* end) {
  struct Header {
    std::string_view tag;
    std::string LyricDoc::*field;
  };
  static constexpr Header kHeaders[] = {{"[ti:", &LyricDoc::title_gbk},
                                        {"[ar:", &LyricDoc::artist_gbk},
                                        {"[al:", &LyricDoc::album_gbk},
                                        {"[by:", &LyricDoc::by_gbk}};
  if (end - at < 4 || at[3] != ':' || at[1] < 'a') return false;
  for (const Header& header : kHeaders) {
    if (!Equals(Between(at, at + 4), header.tag)) continue;
    const Char* const close = Form::Find(at + 4, end, ']');
    if (close == end) return true;
    doc_.*header.field = Form::ToGbk(Between(at + 4, close));
    return true;
  }
  return false;
}

template <class Form>
bool LrcParser<Form>::TakeOffset(const Char* at, const Char* end) {
  constexpr std::string_view kTag = "[offset:";
  const auto lower = [](Char c) { return c >= 'A' && c <= 'Z' ? static_cast<Char>(c - 'A' + 'a') : c; };
  if (static_cast<size_t>(end - at) < kTag.size()) return false;
  if (!std::equal(kTag.begin(), kTag.end(), at,
                  [&](char a, Char b) { return static_cast<Char>(a) == lower(b); }))
    return false;
  at += kTag.size();
  // The number ends at the first other character, so which of several brackets closes the tag is no matter.
  if (Form::Find(at, end, ']') != end) offset_ms_ = ScanInteger(Between(at, end));
  return true;
}

/// Tags from the bracket at `at` on and their text. Answers where the next bracket is, or `end`.
template <class Form>
const typename Form::Char* LrcParser<Form>::TakeTimed(const Char* at, const Char* end) {
  times_.clear();
  const Char* text = at;
  while (text != end && *text == '[') {
    const Char* const close = Form::Find(text, end, ']');
    if (close == end) break;
    if (const auto time_ms = ScanTime(Between(text + 1, close))) times_.push_back(*time_ms);
    text = close + 1;
  }
  if (text == at) return end;
  const Char* const next = Form::Find(text, end, '[');
  if (times_.empty()) return next;
  std::string text_gbk = Form::ToGbk(Between(text, next));
  for (size_t i = 0; i + 1 < times_.size(); ++i)
    AddLine(std::string(text_gbk), times_[i]);
  AddLine(std::move(text_gbk), times_.back());
  return next;
}

template <class Form>
void LrcParser<Form>::AddLine(std::string&& text_gbk, int32_t tagged_ms) {
  const int64_t time_ms = int64_t{tagged_ms} - offset_ms_;
  if (time_ms != static_cast<int32_t>(time_ms) || text_gbk.size() > text_left_) return;
  text_left_ -= text_gbk.size();
  lines_.push_back({std::move(text_gbk), static_cast<int32_t>(time_ms)});
}

}  // namespace

bool LyricDoc::Parse(std::u16string_view text) {
  Clear();
  TakeLines(LrcParser<Utf16Form>(*this).Parse(text));
  return InsertTitleLine();
}

bool LyricDoc::ParsePlainGbk(std::string_view gbk) {
  Clear();
  TakeLines(LrcParser<GbkForm>(*this).Parse(gbk));
  return InsertTitleLine();
}

bool LyricDoc::InsertTitleLine() {
  if (lines_.empty()) return false;
  if (title_gbk.empty()) return true;
  const int64_t first_ms = lines_.front().time_ms;
  const int64_t time_ms = first_ms > kTitleLeadMs ? 0 : first_ms - kTitleLeadMs;
  InsertLine(artist_gbk.empty() ? "[" + title_gbk + "]" : "[" + artist_gbk + " - " + title_gbk + "]",
             static_cast<int32_t>(std::max<int64_t>(time_ms, std::numeric_limits<int32_t>::min())));
  return true;
}

}  // namespace melorin
