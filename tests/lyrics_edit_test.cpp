// SPDX-License-Identifier: MIT
#include "lyrics/lyric_edit.h"

#include <gtest/gtest.h>

#include "platform/text.h"

namespace melorin {
namespace {

/// Where "|" stands in the text, which is taken out; two of them are a selection.
TextRange TakeMarks(std::u16string& text) {
  const size_t begin = text.find(u'|');
  text.erase(begin, 1);
  const size_t end = text.find(u'|');
  if (end == std::u16string::npos) return {begin, begin};
  text.erase(end, 1);
  return {begin, end};
}

/// The text afterwards, with the caret.
std::string After(std::u16string text, const TextChange& change) {
  text.replace(change.range.begin, change.range.end - change.range.begin, change.text);
  text.insert(change.caret, u"|");
  return Utf8FromUtf16(text);
}

TEST(LyricsEdit, StampsALine) {
  const struct {
    const char16_t* text;
    StampMode mode;
    bool to_next;
    const char* result;
  } cases[] = {
      {u"|", StampMode::kAdd, false, "[01:02.50]|"},
      {u"one\r\ntw|o\r\n", StampMode::kAdd, false, "one\r\n[01:02.50]tw|o\r\n"},
      {u"one\r\n|two", StampMode::kAdd, false, "one\r\n[01:02.50]|two"},
      {u"one|\r\ntwo", StampMode::kAdd, true, "[01:02.50]one\r\n|two"},
      {u"o|ne\r\n\r\n\r\ntwo", StampMode::kAdd, true, "[01:02.50]one\r\n\r\n\r\n|two"},
      {u"on|e\r\n", StampMode::kAdd, true, "[01:02.50]on|e\r\n"},
      {u"[00:01.00]o|ne", StampMode::kAdd, false, "[01:02.50][00:01.00]o|ne"},
      {u"[00:01.00]o|ne", StampMode::kReplace, false, "[01:02.50]o|ne"},
      {u"[00:0|1.00][00:09.00]one\r\nx", StampMode::kReplace, true, "[01:02.50]one\r\n|x"},
      {u"a[00:01.00]b[2:3]c|", StampMode::kReplace, false, "[01:02.50]abc|"},
      {u"[ti:x]|", StampMode::kReplace, false, "[01:02.50][ti:x]|"},
  };
  for (const auto& test : cases) {
    std::u16string text = test.text;
    const TextRange caret = TakeMarks(text);
    EXPECT_EQ(After(text, StampLine(text, caret.begin, 62500, test.mode, test.to_next)), test.result)
        << Utf8FromUtf16(test.text);
  }
  EXPECT_EQ(StampLine(u"a", 99, -5, StampMode::kAdd, false).text, u"[00:00.00]") << "before the start";
}

TEST(LyricsEdit, RemovesAndShiftsStamps) {
  const struct {
    const char16_t* text;
    int32_t delta;       ///< 0: they are removed.
    const char* result;  ///< Null: nothing is changed.
  } cases[] = {
      {u"[00:01.00]a|\r\n[00:02.00]b", 0, "|a\r\n[00:02.00]b"},
      {u"|[00:01.00][00:03.00]a\r\n[00:02.00]b\r\n|[00:04.00]c", 0, "|a\r\nb\r\n[00:04.00]c"},
      {u"x|yz\r\n[00:02.00]b", 0, nullptr},
      {u"[ar:A]\r\n|[01]b|", 0, nullptr},
      {u"|[00:01.00]a\r\n[ti:t]\r\n[00:59.99]b|", 500, "|[00:01.50]a\r\n[ti:t]\r\n[01:00.49]b"},
      {u"[00:01.00]a|[0:2]b", -500, "|[00:00.50]a[00:01.50]b"},
      {u"|[00:01.00]a", -5000, "|[00:00.00]a"},
      {u"|[35791:23.00]a", 3600000, "|[35791:23.65]a"},
      {u"|[00:01.00]<00:01.00>a <1:59.9>b <0:2>c<00:03:04>d <x>|", 500,
       "|[00:01.50]<00:01.50>a <2:00.4>b <0:3>c<00:03:54>d <x>"},
      {u"|[00:01.00]<00:00.300>a<00:00000000000001.00>\r\n<00:05.00>b", -500,
       "|[00:00.50]<00:00.000>a<00:00000000000001.00>\r\n<00:05.00>b"},
      {u"[0:1<0:2>]a|<0:3>", 1000, "|[00:02.00]a<0:4>"},
      {u"|<00:01.00>a", 500, nullptr},
      {u"|[00:01.00", 500, nullptr},
      {u"|a[\r\n00:01]b|", 500, nullptr},
      {u"|", 500, nullptr},
  };
  for (const auto& test : cases) {
    std::u16string text = test.text;
    const TextRange range = TakeMarks(text);
    const auto change = test.delta == 0 ? RemoveStamps(text, range) : ShiftStamps(text, range, test.delta);
    ASSERT_EQ(change.has_value(), test.result != nullptr) << Utf8FromUtf16(test.text);
    if (change) {
      EXPECT_EQ(After(text, *change), test.result) << Utf8FromUtf16(test.text);
    }
  }
  EXPECT_TRUE(ShiftStamps(u"[0:1]a", {99, 3}, 1)) << "from beyond the end: the last line";
}

TEST(LyricsEdit, FindsLinesAndTimes) {
  const std::u16string text = u"[ti:t]\r\n[00:01.00]a[00:05.00]b\r\nc";
  EXPECT_EQ(LinesOfRange(text, {3, 9}), (TextRange{0, 30}));
  EXPECT_EQ(LinesOfRange(text, {0, 8}), (TextRange{0, 6})) << "a selection that ends at a line's start";
  EXPECT_EQ(LinesOfRange(text, {8, 8}), (TextRange{8, 30}));
  EXPECT_EQ(LineToBeginWith(text, 0), 8u);
  EXPECT_EQ(LineToBeginWith(u"[00:01.00]a\r\n[00:03.00][00:09.00]b\r\n[00:05.00]c", 9500), 13u);
  EXPECT_EQ(LineToBeginWith(u"[ti:t]\r\n\r\nwords\r\n", 5), 10u);
  EXPECT_EQ(LineToBeginWith(u"[ti:t]\r\n", 5), 8u);
  EXPECT_EQ(TimeOfLine(text, 20), 1000);
  EXPECT_EQ(TimeOfLine(text, 2), std::nullopt);
  EXPECT_EQ(TimeOfLine(text, 99), std::nullopt);
  EXPECT_EQ(WithCrLf(u"a\nb\rc\r\nd\n\n"), u"a\r\nb\r\nc\r\nd\r\n\r\n");
  EXPECT_EQ(WithCrLf(std::u16string_view(u"a\0b", 3)), u"a");
}

}  // namespace
}  // namespace melorin
