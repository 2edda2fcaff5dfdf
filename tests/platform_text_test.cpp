// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "platform/text.h"

namespace melorin {
namespace {

struct Case {
  const char* name;
  std::string gbk;
  std::string utf8;
};

const Case kSameText[] = {
    {"ascii", "abc", "abc"},
    {"chinese", "\xD6\xD0\xCE\xC4", "中文"},
    {"trail byte is a backslash", "\x95\x5C", "昞"},
    {"trail byte is a letter", "\x81\x41", "丄"},
    {"kana", "\xA4\xA2\xA5\xAB", "あカ"},
    {"full width", "\xA3\xC1", "Ａ"},
};

TEST(Text, ConvertsGbkBothWays) {
  for (const Case& c : kSameText) {
    SCOPED_TRACE(c.name);
    bool lossy = true;
    EXPECT_EQ(Utf8FromGbk(c.gbk, &lossy), c.utf8);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(GbkFromUtf8(c.utf8, &lossy), c.gbk);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(Utf16FromGbk(c.gbk), Utf16FromUtf8(c.utf8));
    EXPECT_EQ(GbkFromUtf16(Utf16FromUtf8(c.utf8)), c.gbk);
    EXPECT_TRUE(IsValidGbk(c.gbk));
  }
}

TEST(Text, ReplacesWhatTheCodePageCannotHold) {
  bool lossy = false;
  EXPECT_EQ(GbkFromUtf8("a😀b", &lossy).front(), 'a');
  EXPECT_TRUE(lossy);
  EXPECT_EQ(GbkFromUtf8("é", &lossy), "\xA8\xA6");  // The code page has this one.
  EXPECT_FALSE(lossy);
  EXPECT_EQ(GbkFromUtf8("ñ", &lossy), "?");
  EXPECT_TRUE(lossy);
}

TEST(Text, MalformedInputNeverFails) {
  struct {
    const char* name;
    std::string gbk;
  } cases[] = {
      {"lone lead", "ab\xD6"}, {"lead before ascii control", std::string("\xD6\x01x", 3)}, {"0xFF", "\xFFz"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    bool lossy = false;
    const std::string text = Utf8FromGbk(c.gbk, &lossy);
    EXPECT_TRUE(lossy);
    EXPECT_TRUE(IsValidUtf8(text));
    EXPECT_FALSE(IsValidGbk(c.gbk));
  }
}

TEST(Text, TellsUtf8FromWhatIsNot) {
  const std::string good[] = {"", "plain", "中文", "😀", "\xED\x9F\xBF"};
  for (const auto& text : good)
    EXPECT_TRUE(IsValidUtf8(text)) << text;
  const std::string bad[] = {"\x80",         "\xC0\x80",         "\xE4\xB8",
                             "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xD6\xD0\xCE\xC4"};
  for (const auto& text : bad)
    EXPECT_FALSE(IsValidUtf8(text));
}

TEST(Text, SurrogatesPairUp) {
  bool lossy = false;
  EXPECT_EQ(Utf8FromUtf16(u"\xD83D\xDE00", &lossy), "😀");
  EXPECT_FALSE(lossy);
  const char16_t lone[] = {0xD83D, 'x', 0};
  EXPECT_EQ(Utf8FromUtf16(lone, &lossy), "\xEF\xBF\xBDx");
  EXPECT_TRUE(lossy);
}

TEST(Text, SearchesWholeCharacters) {
  const std::string path = "c:\\\x95\x5C\x81\x41.MP3";  // Two characters whose second bytes are '\' and 'A'.
  EXPECT_EQ(FindLastGbk(path, '\\'), 2u);
  EXPECT_EQ(FindLastGbk(path, 'A'), std::string::npos);
  EXPECT_EQ(LowerGbk(path), "c:\\\x95\x5C\x81\x41.mp3");
  EXPECT_TRUE(EqualNoCaseGbk("\x81\x41X", "\x81\x41x"));
  EXPECT_FALSE(EqualNoCaseGbk("\x81\x41", "\x81\x61"));
}

TEST(Text, OtherCodePages) {
  EXPECT_EQ(Utf8FromCodePage(1252, "caf\xE9"), "café");
  EXPECT_EQ(Utf8FromCodePage(kCodePageLatin1, "\xFC"), "ü");
  EXPECT_EQ(Utf8FromCodePage(kCodePageUtf8, "中"), "中");
  EXPECT_EQ(Utf8FromCodePage(99999, "\xD6\xD0"), "中") << "an unknown code page is read as 936";
}

}  // namespace
}  // namespace melorin
