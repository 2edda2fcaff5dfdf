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

TEST(Text, WhatTheCodePageLacksHasTheFormsOfGb18030) {
  struct {
    const char* name;
    const char* utf8;
    std::string gbk;
  } cases[] = {
      {"in the code page", "é", "\xA8\xA6"},
      {"not in it", "ñ", "\x81\x30\x8A\x39"},
      {"first four-byte form", "\xC2\x80", "\x81\x30\x81\x30"},
      {"last of the first plane", "\xEF\xBF\xBF", "\x84\x31\xA4\x39"},
      {"korean", "한", "\x83\x36\x84\x33"},
      {"thai", "ก", "\x81\x32\xCE\x39"},
      {"emoji", "😀", "\x94\x39\xFC\x36"},
      {"first of the upper planes", "𐀀", "\x90\x30\x81\x30"},
      {"last of all", "\xF4\x8F\xBF\xBF", "\xE3\x32\x9A\x35"},
      {"euro sign as the code page has it", "€", "\x80"},
      {"two bytes in GB18030 only", "⺁", "\xFE\x50"},
      {"private, of two bytes", "\xEE\x80\x80", "\xAA\xA1"},
      {"private, of four bytes", "\xEF\xA0\x8F", "\x83\x39\xE7\x30"},
      {"a replacement character that was in the text", "\xEF\xBF\xBD", "\x84\x31\xA4\x37"},
      {"mixed", "a한b😀中.mp3",
       "a\x83\x36\x84\x33"
       "b\x94\x39\xFC\x36\xD6\xD0.mp3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    bool lossy = true;
    EXPECT_EQ(GbkFromUtf8(c.utf8, &lossy), c.gbk);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(Utf8FromGbk(c.gbk, &lossy), c.utf8);
    EXPECT_FALSE(lossy);
  }
  EXPECT_EQ(Utf8FromGbk("\xA2\xE3"), "€") << "GB18030's own form is read too";
}

TEST(Text, EveryCharacterSurvivesTheWayToGbkAndBack) {
  std::string all_utf8;
  std::u16string all_utf16;
  size_t wrong = 0;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c == 0xD800) c = 0xE000;
    std::u16string text;
    if (c < 0x10000) {
      text = static_cast<char16_t>(c);
    } else {
      text = {static_cast<char16_t>(0xD7C0 + (c >> 10)), static_cast<char16_t>(0xDC00 | (c & 0x3FF))};
    }
    bool lossy_to = true;
    bool lossy_back = true;
    const std::string gbk = GbkFromUtf16(text, &lossy_to);
    const std::u16string back = Utf16FromGbk(gbk, &lossy_back);
    // A form is one byte or whole pairs, so that whoever steps over pairs never lands inside one.
    const bool shape = gbk.size() == 1
                           ? c < 0x80 || c == 0x20AC
                           : gbk.size() % 2 == 0 && IsGbkLead(static_cast<unsigned char>(gbk[0])) &&
                                 (gbk.size() == 2 || IsGbkLead(static_cast<unsigned char>(gbk[2])));
    if ((back != text || lossy_to || lossy_back || !shape) && ++wrong <= 5)
      ADD_FAILURE() << "U+" << std::hex << static_cast<uint32_t>(c);
    all_utf16 += text;
  }
  EXPECT_EQ(wrong, 0u);
  // And as one text, by way of UTF-8: the forms tell each other apart.
  all_utf8 = Utf8FromUtf16(all_utf16);
  const std::string gbk = GbkFromUtf8(all_utf8);
  EXPECT_TRUE(gbk == GbkFromUtf16(all_utf16));
  EXPECT_TRUE(Utf8FromGbk(gbk) == all_utf8);
  EXPECT_TRUE(Utf16FromGbk(gbk) == all_utf16);
}

// The tables come from the platform, the results may not depend on it: all two-byte codes, and which of them
// are plain 936, have the same digest in every build.
TEST(Text, TheCodePageIsTheSameOnEveryPlatform) {
  uint64_t digest = 0xCBF29CE484222325;
  const auto add = [&](uint32_t value) { digest = (digest ^ value) * 0x100000001B3; };
  int plain = 0;
  int lost = 0;
  for (int lead = 0x80; lead <= 0xFF; ++lead) {
    for (int trail = 0; trail <= 0xFF; ++trail) {
      const std::string code = {static_cast<char>(lead), static_cast<char>(trail)};
      bool lossy = false;
      for (const char16_t unit : Utf16FromGbk(code, &lossy))
        add(unit);
      const bool is_plain = IsValidGbk(code);
      add(is_plain ? 1 : 0);
      // Between others it is what it is alone.
      EXPECT_EQ(IsValidGbk("\xD6\xD0" + code + "\xB0\xA1\xF7\xFE\xD6\xD0\xD6\xD0"), is_plain);
      plain += is_plain ? 1 : 0;
      lost += lossy ? 1 : 0;
    }
  }
  EXPECT_EQ(plain, 21791);
  EXPECT_EQ(lost, 126 * 66 + 256 + 127) << "bad trails, lead 0xFF, and what is half a character after 0x80";
  EXPECT_EQ(digest, 0x5D4DA7289DB123E3u) << std::hex << digest;
}

TEST(Text, AppendsToWhatIsThere) {
  std::string out = "x";
  bool lossy = true;
  AppendUtf8FromGbk("\xD6\xD0", out, &lossy);
  EXPECT_FALSE(lossy);
  AppendGbkFromUtf8("中", out);
  AppendGbkFromUtf16(u"中\xD800", out, &lossy);
  EXPECT_TRUE(lossy);
  AppendUtf8FromUtf16(u"中", out, &lossy);
  EXPECT_FALSE(lossy);
  EXPECT_EQ(out, "x中\xD6\xD0\xD6\xD0?中");
}

// Blocks and runs of eight have edges: every length around them, with a wide character at every place.
TEST(Text, LongTextsAreConvertedWhole) {
  for (const size_t length : {1u, 7u, 8u, 9u, 1015u, 1016u, 1017u, 1024u, 2100u}) {
    for (size_t at = 0; at<length; at += length> 20 ? 97 : 1) {
      std::string utf8(length, 'a');
      std::string gbk = utf8;
      std::u16string utf16(length, u'a');
      utf8.replace(at, 1, "😀");
      gbk.replace(at, 1, "\x94\x39\xFC\x36");
      utf16.replace(at, 1, u"😀");
      ASSERT_EQ(GbkFromUtf8(utf8), gbk);
      ASSERT_EQ(Utf8FromGbk(gbk), utf8);
      ASSERT_EQ(GbkFromUtf16(utf16), gbk);
      ASSERT_EQ(Utf16FromGbk(gbk), utf16);
      ASSERT_EQ(Utf16FromUtf8(utf8), utf16);
      ASSERT_EQ(Utf8FromUtf16(utf16), utf8);
    }
  }
}

TEST(Text, MalformedInputNeverFails) {
  struct {
    const char* name;
    std::string gbk;
  } cases[] = {{"lone lead", "ab\xD6"},
               {"lead before ascii control", std::string("\xD6\x01x", 3)},
               {"0xFF", "\xFFz"},
               {"half a four-byte form", "\x81\x30"},
               {"a byte short of one", "\x81\x30\x81"},
               {"its second half of another kind", "\x81\x30\xD6\xD0"},
               {"unassigned four bytes", "\x84\x31\xA5\x30"},
               {"above the last plane", "\xE3\x32\x9A\x36"},
               {"the highest four bytes", "\xFE\x39\xFE\x39"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    bool lossy = false;
    const std::string text = Utf8FromGbk(c.gbk, &lossy);
    EXPECT_TRUE(lossy);
    EXPECT_TRUE(IsValidUtf8(text));
    EXPECT_FALSE(IsValidGbk(c.gbk));
  }
}

TEST(Text, WhatIsWrongCostsOneCharacter) {
  bool lossy = false;
  EXPECT_EQ(Utf8FromGbk("\x81\x30\xD6\xD0", &lossy),
            "\uFFFD"
            "0中");
  EXPECT_EQ(Utf8FromGbk("\xD6\x01x"), "\uFFFD\x01x");
  EXPECT_EQ(GbkFromUtf8("a\x80z", &lossy), "a?z");
  EXPECT_TRUE(lossy);
  EXPECT_EQ(GbkFromUtf16(u"a\xDC00z", &lossy), "a?z");
  EXPECT_TRUE(lossy);
}

TEST(Text, PlainCodePageIsKnownFromItsExtension) {
  for (const char* text : {"\x83\x30\x83\x36", "\xFE\x50", "\xAA\xA1", "\x80", "\xA2\xE3", "a\xD6"})
    EXPECT_FALSE(IsValidGbk(text));
  EXPECT_TRUE(IsValidGbk("\xD6\xD0 abc 1"));
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

  const std::string wide = GbkFromUtf8("0\\한😀\\ñ.Mp3");  // Four-byte forms are full of digits.
  EXPECT_EQ(FindLastGbk(wide, '0'), 0u);
  EXPECT_EQ(FindLastGbk(wide, '\\'), 10u);
  EXPECT_EQ(LowerGbk(wide), GbkFromUtf8("0\\한😀\\ñ.mp3"));
  EXPECT_TRUE(EqualNoCaseGbk(GbkFromUtf8("한A"), GbkFromUtf8("한a")));
}

TEST(Text, OtherCodePages) {
  EXPECT_EQ(Utf8FromCodePage(1252, "caf\xE9"), "café");
  EXPECT_EQ(Utf8FromCodePage(kCodePageLatin1, "\xFC"), "ü");
  EXPECT_EQ(Utf8FromCodePage(kCodePageUtf8, "中"), "中");
  EXPECT_EQ(Utf8FromCodePage(99999, "\xD6\xD0"), "中") << "an unknown code page is read as 936";
}

}  // namespace
}  // namespace melorin
