// SPDX-License-Identifier: MIT
//
// Lyric files in their encodings, and lyrics from tags.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "lyrics/lyric_file.h"
#include "lyrics/lyric_tags.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

using namespace std::string_literals;

std::span<const uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

std::string Utf16Bytes(const std::string& utf8, bool big_endian) {
  std::string bytes;
  for (const char16_t unit : u'\xFEFF' + Utf16FromUtf8(utf8)) {
    const char halves[] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    bytes += halves[big_endian ? 1 : 0];
    bytes += halves[big_endian ? 0 : 1];
  }
  return bytes;
}

/// The encoding that is found and the first line as it is read.
std::string Read(const std::string& bytes, const LyricLoadOptions& options = {}) {
  static const char* const kNames[] = {"gbk", "utf-8", "utf-8 mark", "utf-16le", "utf-16be"};
  LyricDoc doc;
  LyricEncoding encoding = LyricEncoding::kUtf8;
  const bool timed = ParseLyricBytes(doc, Bytes(bytes), options, &encoding);
  EXPECT_EQ(timed, !doc.Lines().empty());
  return kNames[static_cast<size_t>(encoding)] + ": "s + (timed ? Utf8FromGbk(doc.Lines()[0].text_gbk) : "");
}

// Whole lyrics as they come, and texts so short that chance has a say.
const char* const kTexts[] = {
    ("[ti:晨光]\r\n[ar:测试乐队]\r\n[00:01.00]清晨的阳光洒在窗前\r\n[00:05.00]我听见你轻声说再见\r\n"
     "[00:09.00]风吹过旧日的街角\r\n[00:13.00]La la la 一起唱吧\r\n"),
    "[00:01.00]風吹過舊日的街角，聽見妳輕聲說再見\n[00:05.00]夢裡的聲音還在迴響\n",
    "[00:01.00]朝の光が窓をたたく\n[00:05.00]もう一度だけ、あなたの声を\n[00:09.00]ラララ歌おう\n",
    "[00:01.00]你好",
    "[00:01.00]爱",
    "[00:01.00]再见\n",
    "[00:01.00]我们",
    "[00:01.00]Love 爱 forever\n",
    "[00:01.00]移动联通小小学小小小小小小学小\n",
    "[00:01.00]小学小心\n",
};

TEST(LyricFile, ChineseAndJapaneseInBothEncodings) {
  for (const char* text : kTexts) {
    SCOPED_TRACE(text);
    bool lossy = true;
    const std::string gbk = GbkFromUtf8(text, &lossy);
    ASSERT_TRUE(!lossy && IsValidGbk(gbk));
    LyricDoc doc;
    ASSERT_TRUE(doc.Parse(Utf16FromUtf8(text)));
    const std::string first = Utf8FromGbk(doc.Lines()[0].text_gbk);
    EXPECT_EQ(Read(gbk), "gbk: " + first);
    EXPECT_EQ(Read(text), "utf-8: " + first);
    EXPECT_EQ(Read("\xEF\xBB\xBF"s + text), "utf-8 mark: " + first);
    EXPECT_EQ(Read(Utf16Bytes(text, false)), "utf-16le: " + first);
    EXPECT_EQ(Read(Utf16Bytes(text, true)), "utf-16be: " + first);
    EXPECT_EQ(Read(gbk, {false}), "gbk: " + first);
  }
}

// GBK of two or three hanzi that is well-formed UTF-8 as well.
TEST(LyricFile, ShortGbkThatIsUtf8Too) {
  for (const char* words : {"倩倩", "倩", "囡囡", "丐", "剞劂", "冢", "说倩倩", "A倩", "倩 is 倩", "谀媚",
                            "联通", "移动", "小小", "《倩》"}) {
    SCOPED_TRACE(words);
    const std::string gbk = GbkFromUtf8("[0:1]"s + words);
    EXPECT_EQ(Read(gbk), "gbk: "s + words);
    EXPECT_EQ(Read("[0:1]"s + words), "utf-8: "s + words);
  }
}

struct Case {
  std::string bytes;
  std::string want;
};

TEST(LyricFile, OtherLanguagesAndOddFiles) {
  std::string long_utf8;
  for (int i = 0; i < 600; ++i)
    long_utf8 += "心";
  const Case cases[] = {
      {"[0:1]Été à la plage, où es-tu, là-bas ?\n[0:2]Ça m’a déjà plu",
       "utf-8: Été à la plage, où es-tu, là-bas ?"},
      {"[0:1]Über die Brücke, süße Träume", "utf-8: Über die Brücke, süße Träume"},
      {"[0:1]Non è così\n[0:2]È già sera e tu chi sei", "utf-8: Non è così"},
      {"[0:1]sie sagt »ja« und hört «nein»", "utf-8: sie sagt »ja« und hört «nein»"},
      {"[0:1]Снова «Да», и нет", "utf-8: Снова «Да», и нет"},
      {"[0:1]It’s only rain", "utf-8: It’s only rain"},
      {"[0:1]Утро в городе, снова дождь", "utf-8: Утро в городе, снова дождь"},
      {"[0:1]Καλημέρα, ήλιε μου", "utf-8: Καλημέρα, ήλιε μου"},
      {"[0:1]سلام", "utf-8: سلام"},
      {"[0:1]صباح الخير يا مدينتي", "utf-8: صباح الخير يا مدينتي"},
      {"[0:1]שלום עולם", "utf-8: שלום עולם"},
      {"[0:1]아침 햇살이 창가에", "utf-8: 아침 햇살이 창가에"},
      {"[0:1]\xF0\x9F\x8E\xB5", "utf-8: 🎵"},
      // Latin-1 is no UTF-8; what it is read as is the code page's matter.
      {"[0:1]caf\xE9 noir", "gbk: caf" + Utf8FromGbk(GbkFromUtf16(Utf16FromGbk("\xE9 noir")))},
      {"[0:1]plain", "gbk: plain"},
      {"\xEF\xBB\xBF[0:1]plain", "utf-8 mark: plain"},
      {"\xEF\xBB\xBF[0:1]\xC4\xE3\n[0:2]x", "gbk: x"},
      {"\xFF\xFE[\0000\0:\0001\0]\0x\0y"s, "utf-16le: x"},
      {"\xFF\xFE"s, "utf-16le: "},
      // Zeros end the text, and what is behind them says nothing of its encoding.
      {"[0:1]one\n\0[0:0]two"s, "gbk: one"},
      {"[0:1]你好\0\xC4\xE3"s, "utf-8: 你好"},
      {"[0:1]" + long_utf8 + "\n" + long_utf8 + "\0\xC4\xE3"s, "utf-8: " + long_utf8},
      {Utf16Bytes("[0:1]one\n\0[0:0]two"s, false), "utf-16le: one"},
      {"[0:1]cut \xE4\xBD", "gbk: cut 浣"},
      {"", "gbk: "},
      {"no line", "gbk: "},
      {"\0[0:1]x"s, "gbk: "},
      {"[0:1]x" + std::string(kLargestLyricBytes, ' '), "gbk: "},
      // Four-byte forms and private characters of GB18030.
      {"[0:1]" + GbkFromUtf8("🎵\uE000 เพลง"), "gbk: 🎵\uE000 เพลง"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Read(c.bytes), c.want);
}

TEST(LyricFile, SavedFilesReadBackInTheirEncoding) {
  const std::string path = TempDirectory() + "melorin_lyric_test.lrc";
  LyricDoc doc;
  ASSERT_TRUE(doc.Parse(Utf16FromUtf8("[ti:晨光]\n[0:1]你好\n[0:2]再见\n[0:3]你好\n[0:4]🎵\nplain 行")));
  LyricDoc want = doc;
  want.plain_text_gbk = "\r\n" + doc.plain_text_gbk;
  for (const LyricEncoding encoding : {LyricEncoding::kGbk, LyricEncoding::kUtf8, LyricEncoding::kUtf8Mark,
                                       LyricEncoding::kUtf16LittleEndian, LyricEncoding::kUtf16BigEndian}) {
    for (const bool merge : {false, true}) {
      ASSERT_TRUE(SaveLyricFile(doc, path, merge, encoding));
      LyricDoc again;
      LyricEncoding found = LyricEncoding::kGbk;
      EXPECT_TRUE(LoadLyricFile(again, path, {}, &found));
      EXPECT_EQ(found, encoding);
      EXPECT_EQ(again.Lines(), want.Lines());
      EXPECT_EQ(again.plain_text_gbk, want.plain_text_gbk);
      MappedFile file;
      ASSERT_TRUE(file.Open(path));
      const bool marked = encoding != LyricEncoding::kGbk && encoding != LyricEncoding::kUtf8;
      EXPECT_EQ(std::memcmp(file.Bytes().data(), "[ti:", 4) != 0, marked);
    }
  }
  const std::string large = "[0:1]" + std::string(300000, ' ') + "\n[0:2]end";
  ASSERT_TRUE(WriteFileSafely(path, Bytes(large)));
  EXPECT_TRUE(LoadLyricFile(doc, path));
  EXPECT_EQ(doc.Lines().back().text_gbk, "end");
  ASSERT_TRUE(WriteFileSafely(path, Bytes(large + std::string(kLargestLyricBytes, ' '))));
  EXPECT_FALSE(LoadLyricFile(doc, path));
  DeleteFileAt(path);
  doc.InsertLine("left", 0);
  EXPECT_FALSE(LoadLyricFile(doc, path));
  EXPECT_TRUE(doc.Lines().empty());
  EXPECT_FALSE(SaveLyricFile(doc, JoinPath(path, "x.lrc"), false));
}

TEST(LyricTags, TimedLyricsGoBeforeOthers) {
  TagFields tags;
  LyricDoc doc;
  EXPECT_FALSE(LyricFromTags(doc, tags));
  tags.Add("Lyrics", "");
  tags.Add("lyrics", "[Chorus]\n歌词\r\n\rlast");
  tags.Add("Comment", "[0:1]no");
  EXPECT_FALSE(LyricFromTags(doc, tags));
  EXPECT_EQ(Utf8FromGbk(doc.plain_text_gbk), "[Chorus]\r\n歌词\r\n\r\nlast\r\n");
  tags.Add("SYNCEDLYRICS", "[0:1]一");
  EXPECT_TRUE(LyricFromTags(doc, tags));
  EXPECT_EQ(Utf8FromGbk(doc.Lines()[0].text_gbk), "一");
  tags.Add("Lyrics", "[ti:T]\n[0:9]二");
  EXPECT_TRUE(LyricFromTags(doc, tags));
  EXPECT_EQ(doc.Lines().size(), 2u);
  EXPECT_EQ(doc.Lines()[1].time_ms, 9000);
  EXPECT_FALSE(LyricFromTagText(doc, "[0:1]x" + std::string(kLargestLyricBytes, ' ')));
  EXPECT_EQ(doc.plain_text_gbk, "");
}

}  // namespace
}  // namespace melorin
