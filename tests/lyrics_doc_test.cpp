// SPDX-License-Identifier: MIT
//
// LRC text to lines and back, and the line of a playback time.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "lyrics/lyric_doc.h"
#include "lyrics/lyric_file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

/// "1000|one\n2000|two\n"
std::string Show(const LyricDoc& doc) {
  std::string text;
  for (const LyricLine& line : doc.Lines())
    text += std::to_string(line.time_ms) + "|" + Utf8FromGbk(line.text_gbk) + "\n";
  return text;
}

bool Same(const LyricDoc& a, const LyricDoc& b) {
  return a.title_gbk == b.title_gbk && a.artist_gbk == b.artist_gbk && a.album_gbk == b.album_gbk &&
         a.by_gbk == b.by_gbk && a.plain_text_gbk == b.plain_text_gbk && a.Lines() == b.Lines();
}

/// Both forms of the text give the same document.
LyricDoc Parsed(const std::string& utf8, bool* timed = nullptr) {
  LyricDoc doc;
  doc.InsertLine("left from before", 7);
  const bool result = doc.Parse(Utf16FromUtf8(utf8));
  EXPECT_EQ(result, !doc.Lines().empty());
  const std::string gbk = GbkFromUtf8(utf8);
  if (IsValidGbk(gbk)) {
    LyricDoc other;
    EXPECT_EQ(other.ParsePlainGbk(gbk), result);
    EXPECT_TRUE(Same(doc, other)) << Show(other);
  }
  if (timed) *timed = result;
  return doc;
}

std::string Parse(const std::string& utf8) {
  return Show(Parsed(utf8));
}

struct Case {
  std::string text;
  std::string want;
};

TEST(LyricDoc, TimedLines) {
  const Case cases[] = {
      {"", ""},
      {"[00:01.00]one", "1000|one\n"},
      {"[00:12.34][00:45.67]Hello", "12340|Hello\n45670|Hello\n"},
      {"[00:01.00]one[00:05.00]two", "1000|one\n5000|two\n"},
      {"[00:05]b\n[00:01]a\r\n[00:03] c ", "1000|a\n3000| c \n5000|b\n"},
      {"[00:01.00]", "1000|\n"},
      {"words before [00:01.00]one", "1000|one\n"},
      {"[Chorus][00:01.00][x]one", "1000|one\n"},
      {"[00:01.00]one[Chorus]two", "1000|one\n"},
      {"[00:01.00]one [00:02.00 two", "1000|one \n"},
      {"[00:01.00][two", "1000|\n"},
      {"[TI:x]one", ""},
      {"[00:01.00]]one]", "1000|]one]\n"},
      // Characters whose second byte is one of "[" and "]".
      {"[00:01.00]\u8ca2\u95c0\u5fc3[00:02.00]\u8fc1", "1000|\u8ca2\u95c0\u5fc3\n2000|\u8fc1\n"},
      {"[00:01.00]\u5191[x\u8cc2", "1000|\u5191\n"},
      {"[\u8cc200:01.00]a[00:02.00]b", "2000|b\n"},
      {std::string("[0:1]a\0[0:2]b", 13), "1000|a\n"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Parse(c.text), c.want) << c.text;
}

TEST(LyricDoc, TimeTags) {
  const Case cases[] = {
      {"1:2.5", "62500"},
      {"01:02.50", "62500"},
      {"01:02", "62000"},
      {"00:83.375", "83375"},
      {"00:02.01", "2010"},
      {"0:1.9999", "1999"},
      {"0:16777217.001", ""},
      {"0:1000000.001", "1000000001"},
      {"-1:30", "-30000"},
      {"1:-5.5", "54500"},
      {"-0:-1.9999", "-1999"},
      {"+1:+2", "62000"},
      {" 1:\t2", "62000"},
      {"1 :2", ""},
      {"1:2 3", "62000"},
      {"1:2.5.6", "62500"},
      {"1:2:50", "62000"},
      {"0:1e1", "10000"},
      {"0:12345E-3", "12345"},
      {"0:12345e-3x", "12345"},
      {"0:1e", "1000"},
      {"0:1e+", "1000"},
      {"0:1e-9999999999999999999999", "0"},
      {"0:0e9999999999999999999999", "0"},
      {"0:1e9999999999999999999999", ""},
      {"0:0.0000000001e13", "1000000"},
      {"0:.5", "500"},
      {"0:5.", "5000"},
      {"0:.", ""},
      {"0:", ""},
      {":5", ""},
      {"01", ""},
      {"1.5:2", ""},
      {"0x1:2", ""},
      {"0:0x10", "0"},
      {"0:inf", ""},
      {"0:nan", ""},
      {"--1:2", ""},
      {"", ""},
      {"35791:23.647", "2147483647"},
      {"35791:23.648", ""},
      {"-35791:-23.648", "-2147483648"},
      {"99999999999999999999999999:0", ""},
      {"99999999999:-9999999999999", ""},
      {"000000000000000000000000000000001:000000000000000000000000002", "62000"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Parse("[" + c.text + "]t"), c.want.empty() ? "" : c.want + "|t\n") << c.text;
}

TEST(LyricDoc, BreaksAndPlainText) {
  const std::string long_line(4095, 'x');
  const Case cases[] = {
      {"a\r\nb\nc\rd", "a\r\nb\r\nc\r\nd\r\n"},
      {"a\n\nb", "a\r\nb\r\n"},
      {"a\r\rb", "a\r\nb\r\n"},
      {"a\n\rb", "a\r\nb\r\n"},
      {"a\r\n\r\nb", "a\r\n\r\nb\r\n"},
      {"a\n\n\nb\n", "a\r\n\r\nb\r\n"},
      {" \n", " \r\n"},
      {"[00:01]x\nplain\n[x\n]\n", "plain\r\n]\r\n"},
      {long_line, long_line + "\r\n"},
      {long_line + "\ny", long_line + "\r\ny\r\n"},
      {long_line + "y", long_line + "\r\ny\r\n"},
      {long_line + long_line + "\r\n", long_line + "\r\n" + long_line + "\r\n"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Parsed(c.text).plain_text_gbk, c.want) << c.text;
  // The pieces of a line are lines: counted in characters, with a character never cut.
  std::string hanzi;
  for (int i = 0; i < 4090; ++i)
    hanzi += "\u4e00";
  EXPECT_EQ(Parsed("[0:1]" + hanzi + "[0:2]b").Lines()[1].text_gbk, "b");
  EXPECT_EQ(Parsed("[0:1]" + hanzi + "[0:2]b").Lines()[0].text_gbk, GbkFromUtf8(hanzi));
  const std::string note = "\U0001F3B5";
  EXPECT_EQ(Parsed(std::string(4094, 'x') + note).plain_text_gbk,
            std::string(4094, 'x') + "\r\n" + GbkFromUtf8(note) + "\r\n");
}

TEST(LyricDoc, HeadersAndOffset) {
  LyricDoc doc =
      Parsed("[ti:one]\n[ti:\u6b4c]x[00:01]y\n x [ar: b ]\n[al:c]]\n[by:]\n[by:d\n[Ar:e]\n[ti :f]");
  EXPECT_EQ(Utf8FromGbk(doc.title_gbk), "\u6b4c");
  EXPECT_EQ(doc.artist_gbk, " b ");
  EXPECT_EQ(doc.album_gbk, "c");
  EXPECT_EQ(doc.by_gbk, "");
  EXPECT_TRUE(doc.Lines().empty());
  EXPECT_EQ(doc.plain_text_gbk, "");
  bool timed = true;
  doc = Parsed("[ti:x]\nplain", &timed);
  EXPECT_FALSE(timed);
  EXPECT_EQ(doc.title_gbk + doc.plain_text_gbk, "xplain\r\n");

  const Case cases[] = {
      {"[offset:500]\n[0:2]a\n[0:3]b", "1500|a\n2500|b\n"},
      {"[0:2]a\n[0:3]b\n[offset:500]", "2000|a\n3000|b\n"},
      {"[0:2]a\n[OffSet:-500]\n[0:3]b\n[offset:+10]\n[0:4]c", "2000|a\n3500|b\n3990|c\n"},
      {"[offset: 500]\n[0:2]a", "1500|a\n"},
      {"[offset:500ms]\n[0:2]a", "1500|a\n"},
      {"[offset:500]\n[offset:x]\n[0:2]a", "2000|a\n"},
      {"[offset:500\n[0:2]a", "2000|a\n"},
      {"] [offset:500\n[0:2]a", "2000|a\n"},
      {"[offset:500][0:2]a\n[0:3]b", "2500|b\n"},
      {"[offset:3000]\n[0:2]a", "-1000|a\n"},
      {"[offset:99999999999]\n[0:1]a", "-2147482647|a\n"},
      {"[offset:-1]\n[35791:23.647]a\n[0:1]b", "1001|b\n"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Parse(c.text), c.want) << c.text;
}

TEST(LyricDoc, OneLineATime) {
  const Case cases[] = {
      {"[0:1]a\n[0:1]abc", "1000|abc\n"},
      {"[0:1]abc\n[0:1]x", "1000|abc\n"},
      {"[0:1]abc\n[0:1]xyz", "1000|abc\n"},
      {"[0:1][0:1]a", "1000|a\n"},
      // Characters count, not bytes.
      {"[0:1]abc\n[0:1]\u4f60\u597d", "1000|abc\n"},
      {"[0:1]\u4f60\u597d\n[0:1]abc", "1000|abc\n"},
      {"[0:1]\U0001F3B5\U0001F3B5\n[0:1]abc", "1000|abc\n"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Parse(c.text), c.want) << c.text;
}

TEST(LyricDoc, TitleLine) {
  const Case cases[] = {
      {"[ti:T]\n[0:5]a", "0|[T]\n5000|a\n"},
      {"[0:5]a\n[ti:T]\n[ar:A]", "0|[A - T]\n5000|a\n"},
      {"[ti:T]\n[0:0.5]a", "-500|[T]\n500|a\n"},
      {"[ti:T]\n[0:1]a", "0|[T]\n1000|a\n"},
      {"[ti:T]\n[0:1.001]a", "0|[T]\n1001|a\n"},
      {"[ti:T]\n[0:0]a", "-1000|[T]\n0|a\n"},
      {"[ar:A]\n[0:5]a", "5000|a\n"},
      {"[ti:T]\nplain", ""},
      {"[ti:T]\n[-35791:-23.648]four\n", "-2147483648|four\n"},
      {"[ti:Title]\n[-35791:-23.648]four\n", "-2147483648|[Title]\n"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Parse(c.text), c.want) << c.text;
}

/// The rule of InsertLine in its plainest form.
void InsertPlainly(std::vector<LyricLine>& lines, const std::string& text, int32_t time_ms) {
  size_t i = lines.size();
  for (; i > 0 && lines[i - 1].time_ms >= time_ms; --i) {
    if (lines[i - 1].time_ms != time_ms) continue;
    if (text.size() > lines[i - 1].text_gbk.size()) lines[i - 1].text_gbk = text;
    return;
  }
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i), {text, time_ms});
}

TEST(LyricDoc, ManyLinesAtOnceAreAsOneByOne) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    std::string text;
    std::vector<LyricLine> want;
    LyricDoc inserted;
    const unsigned times = 1 + random() % 40;
    for (unsigned left = random() % 60; left != 0; --left) {
      const std::string words(random() % 4, static_cast<char>('a' + random() % 26));
      const unsigned seconds = random() % times;
      text += "[0:" + std::to_string(seconds) + "]" + words + "\n";
      InsertPlainly(want, words, static_cast<int32_t>(seconds * 1000));
      inserted.InsertLine(words, static_cast<int32_t>(seconds * 1000));
    }
    LyricDoc parsed = Parsed(text);
    ASSERT_EQ(parsed.Lines(), want) << text;
    ASSERT_EQ(inserted.Lines(), want) << text;
  }
}

TEST(LyricDoc, HostileTextIsReadInGoodTime) {
  std::string falling;
  std::string same;
  for (int i = 60000; i > 0; --i) {
    falling += "[0:" + std::to_string(i) + "]\n";
    same += "[0:1]x\n";
  }
  EXPECT_EQ(Parsed(falling).Lines().size(), 60000u);
  EXPECT_EQ(Parsed("[0:1]" + std::string(4000, 'y') + "\n" + same).Lines().size(), 1u);
  EXPECT_TRUE(Parsed(std::string(1u << 20, '[')).Lines().empty());
  EXPECT_TRUE(Parsed(std::string(1u << 20, ']')).Lines().empty());
  // Every line stands for hundreds with a long text each.
  std::string many;
  for (int i = 0; i < 100; ++i) {
    for (int tag = 0; tag < 200; ++tag)
      many += "[" + std::to_string(i) + ":." + std::to_string(tag + 100) + "]";
    many += std::string(2000, 'z') + "\n";
  }
  size_t bytes = 0;
  const LyricDoc doc = Parsed(many);
  for (const LyricLine& line : doc.Lines())
    bytes += line.text_gbk.size();
  EXPECT_EQ(bytes, (8u << 20) / 2000 * 2000);
}

TEST(LyricDoc, Writing) {
  LyricDoc doc;
  EXPECT_EQ(doc.Write(false), u"[ti:]\r\n[ar:]\r\n[al:]\r\n[by:]\r\n\r\n");
  doc.title_gbk = GbkFromUtf8("歌");
  doc.artist_gbk = "A";
  doc.album_gbk = "L";
  doc.by_gbk = "B";
  doc.plain_text_gbk = "plain\r\n";
  const struct {
    int32_t time_ms;
    const char* text;
  } lines[] = {{10000, "again"}, {20000, "once"}, {65432, "again"}, {59999, ""},        {0, "[title]"},
               {1, "[]"},        {2, "["},        {-500, "before"}, {6000000, "again"}, {-65000, "\u8cc2"}};
  for (const auto& line : lines)
    doc.InsertLine(GbkFromUtf8(line.text), line.time_ms);
  // Ends with a byte that equals "]", but with another character.
  doc.InsertLine(GbkFromUtf8("[\u8cc2"), 70000);
  const std::string head =
      "[ti:歌]\r\n[ar:A]\r\n[al:L]\r\n[by:B]\r\n\r\n[-1:-5.00]\u8cc2\r\n[00:-0.50]before\r\n";
  EXPECT_EQ(Utf8FromUtf16(doc.Write(false)),
            head +
                "[00:00.00][\r\n[00:10.00]again\r\n[00:20.00]once\r\n[00:60.00]\r\n[01:05.43]again\r\n"
                "[01:10.00][\u8cc2\r\n[100:00.00]again\r\nplain\r\n");
  EXPECT_EQ(Utf8FromUtf16(doc.Write(true)),
            head +
                "[00:00.00][\r\n[100:00.00][01:05.43][00:10.00]again\r\n[00:20.00]once\r\n[00:60.00]\r\n"
                "[01:10.00][\u8cc2\r\nplain\r\n");
}

TEST(LyricDoc, WrittenTimesAreRounded) {
  const struct {
    int32_t time_ms;
    const char* want;
  } cases[] = {{4, "[00:00.00]"},       {5, "[00:00.01]"},        {-4, "[00:-0.00]"},
               {-5, "[00:-0.01]"},      {9994, "[00:09.99]"},     {9995, "[00:10.00]"},
               {59994, "[00:59.99]"},   {-60000, "[-1:00.00]"},   {-75250, "[-1:-15.25]"},
               {kMax, "[35791:23.65]"}, {kMin, "[-35791:-23.65]"}};
  for (const auto& c : cases) {
    LyricDoc doc;
    doc.InsertLine("", c.time_ms);
    const std::string text = Utf8FromUtf16(doc.Write(false));
    EXPECT_EQ(text.substr(text.find("\r\n\r\n") + 4), c.want + std::string("\r\n")) << c.time_ms;
  }
}

/// What is written reads back as it was, in either way of writing, but for the empty line between headers and
/// lines, which is plain text like every line without a tag.
TEST(LyricDoc, WrittenTextReadsBack) {
  std::mt19937 random(2);
  const char* const words[] = {
      "", "la", " la la ", "\u4f60\u597d", "\u8cc2]", "\U0001F3B5", "a long line of words"};
  for (int round = 0; round < 100; ++round) {
    std::string text = "[ti:T]\n[ar:\u6b4c\u624b]\n[al:x[y]\n[by:]\nplain\n";
    for (unsigned left = random() % 700; left != 0; --left) {
      const unsigned hundredths = random() % 30000;
      text += "[0:" + std::to_string(hundredths / 100) + "." +
              std::to_string(hundredths % 100 + 100).substr(1) + "]" + words[random() % std::size(words)] +
              (random() % 9 == 0 ? "\nplain \u8cc2\n" : "\n");
    }
    const LyricDoc doc = Parsed(text);
    LyricDoc want = doc;
    want.plain_text_gbk = "\r\n" + doc.plain_text_gbk;
    for (const bool merge : {false, true}) {
      const LyricDoc again = Parsed(Utf8FromUtf16(doc.Write(merge)));
      ASSERT_TRUE(Same(again, want)) << text;
    }
  }
}

TEST(LyricDoc, MergedLinesFitIntoALineThatIsRead) {
  LyricDoc doc;
  for (int32_t i = 0; i < 2000; ++i)
    doc.InsertLine("again and again", i * 1000000);
  const std::u16string text = doc.Write(true);
  LyricDoc read;
  EXPECT_TRUE(read.Parse(text));
  EXPECT_EQ(read.Lines(), doc.Lines());
  EXPECT_LT(std::count(text.begin(), text.end(), u'\n'), 20);
}

TEST(LyricDoc, Shifting) {
  LyricDoc doc;
  EXPECT_FALSE(doc.ShiftAll(1));
  EXPECT_FALSE(doc.ShiftLine(0, 1));
  doc = Parsed("[0:1]a\n[0:2]b\n[0:3]c");
  EXPECT_TRUE(doc.ShiftLine(0, 5000));
  EXPECT_FALSE(doc.ShiftLine(3, 1));
  EXPECT_EQ(Show(doc), "6000|a\n2000|b\n3000|c\n");
  // The line that stands first in the way of one that is inserted is the last one.
  doc.InsertLine("d", 4000);
  EXPECT_EQ(Show(doc), "6000|a\n2000|b\n3000|c\n4000|d\n");
  EXPECT_TRUE(doc.ShiftAll(-2500));
  EXPECT_EQ(Show(doc), "3500|a\n-500|b\n500|c\n1500|d\n");
  EXPECT_TRUE(doc.ShiftAll(kMax));
  EXPECT_TRUE(doc.ShiftLine(1, kMin));
  EXPECT_TRUE(doc.ShiftLine(1, kMin));
  EXPECT_EQ(Show(doc), "2147483647|a\n-2147483648|b\n2147483647|c\n2147483647|d\n");
  doc = Parsed("[0:1]<00:01.00>a <00:01.70>b\n[0:2]c");
  doc.ShiftAll(500);
  doc.ShiftWords(500);
  EXPECT_EQ(Show(doc), "1500|<00:01.50>a <00:02.20>b\n2500|c\n");
}

TEST(LyricDoc, Trimming) {
  const Case cases[] = {
      {" \t\v\fa b\f ", "a b"},
      {"   ", ""},
      {"\u3000\u3000\u4f60 \u597d\u3000 ", "\u4f60 \u597d"},
      // Its bytes and those of its neighbour hold an ideographic space across the border.
      {"\u852c\u3000\u3041", "\u852c\u3000\u3041"},
      {"\U0001F3B5 \U0001F3B5", "\U0001F3B5 \U0001F3B5"},
  };
  for (const Case& c : cases) {
    LyricDoc doc;
    doc.InsertLine(GbkFromUtf8(c.text), 0);
    doc.TrimAll();
    EXPECT_EQ(Utf8FromGbk(doc.Lines()[0].text_gbk), c.want);
  }
  // Half a character at the end, and a byte that is a lead and half an ideographic space.
  LyricDoc doc;
  doc.InsertLine("\xB0\xA1\xA1 ", 0);
  doc.TrimAll();
  EXPECT_EQ(doc.Lines()[0].text_gbk, "\xB0\xA1\xA1 ");
}

TEST(LyricDoc, LineAtTime) {
  LyricDoc doc;
  EXPECT_FALSE(doc.LineAtTime(0, 100, 0));
  doc = Parsed("[0:10]a\n[0:20]b\n[0:40]c");
  const struct {
    int32_t time_ms;
    size_t previous;
    size_t index;
    int32_t start_ms, end_ms, progress;
    int32_t extent = 100;
  } cases[] = {
      {10000, 0, 0, 10000, 20000, 0},
      {19999, 2, 0, 10000, 20000, 99},
      {20000, 0, 1, 20000, 40000, 0},
      {35000, 0, 1, 20000, 40000, 75},
      {35000, 0, 1, 20000, 40000, 0, 1},
      {35000, 0, 1, 20000, 40000, 0, -5},
      {35000, 0, 1, 20000, 40000, 1610612735, kMax},
      {40000, 0, 2, 40000, 100000, 0},
      {99999, 0, 2, 40000, 100000, 99},
      {100000, 0, 3, 40000, 40000, 0},
      {kMax, 0, 3, 40000, 40000, 0},
      // Before the first line the current one stays.
      {5000, 0, 0, 10000, 20000, -50},
      {5000, 1, 1, 20000, 40000, -75},
      {5000, 2, 2, 40000, 100000, -58},
      {5000, 3, 3, 40000, 40000, 0},
      {5000, 99, 3, 40000, 40000, 0},
      {kMin, 0, 0, 10000, 20000, kMin, kMax},
  };
  for (const auto& c : cases) {
    const auto position = doc.LineAtTime(c.time_ms, c.extent, c.previous);
    ASSERT_TRUE(position);
    EXPECT_EQ(position->index, c.index) << c.time_ms;
    EXPECT_EQ(position->start_ms, c.start_ms) << c.time_ms;
    EXPECT_EQ(position->end_ms, c.end_ms) << c.time_ms;
    EXPECT_EQ(position->progress, c.progress) << c.time_ms;
  }
  doc.ShiftLine(0, 15000);  // 25 s, 20 s, 40 s.
  EXPECT_EQ(doc.LineAtTime(22000, 100, 1)->index, 1u);
  EXPECT_EQ(doc.LineAtTime(30000, 100, 1)->index, 1u);
  const auto passed = doc.LineAtTime(30000, 100, 0);
  EXPECT_EQ(passed->progress, 50);
  doc.ShiftLine(2, -20000);  // 25 s, 20 s, 20 s: a line without duration.
  EXPECT_EQ(doc.LineAtTime(22000, 100, 1)->progress, 0);
  LyricDoc late;
  late.InsertLine("x", kMax);
  EXPECT_EQ(late.LineAtTime(kMax, 100, 0)->index, 0u);
  EXPECT_EQ(late.LineAtTime(kMax, 100, 0)->end_ms, kMax);
}

}  // namespace
}  // namespace melorin
