// SPDX-License-Identifier: MIT
//
// Lyric files that other people's programs wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "lyrics/lyric_file.h"
#include "platform/text.h"

namespace melorin {
namespace {

namespace fs = std::filesystem;

fs::path Corpus() {
  const char* given = std::getenv("MELORIN_CORPUS");
  return (given ? fs::path(given) : fs::path(MELORIN_SOURCE_DIR) / ".." / "shared" / "corpus") / "lrc";
}

struct Expected {
  const char* files;   ///< With a space between.
  const char* header;  ///< Title, artist, album, author.
  std::ptrdiff_t plain_lines;
  /// Of long lines how they begin.
  std::vector<std::pair<int32_t, const char*>> lines;
};

const Expected kExpected[] = {
    {"lrcparser-py__example derived_gbk__example",
     "test_lyric|| TEST ~AVOIDING ERRORS~|283375",
     0,
     {{-1230, "[test_lyric]"},
      {-230, "Line 1"},
      {30, "Line 2"},
      {2580, "Line 3"},
      {28080, "Line 4 with translation | 一般大家都这么打翻译"},
      {1713500, "Line 6"}}},
    {"derived_gbk_crlf__example",
     "test_lyric|| TEST ~AVOIDING ERRORS~|283375",
     1,
     {{-1230, "[test_lyric]"},
      {-230, "Line 1"},
      {30, "Line 2"},
      {2580, "Line 3"},
      {28080, "Line 4 with translation | 一般大家都这么打翻译"},
      {1713500, "Line 6"}}},
    {"lrcparser-py__example_spec derived_gbk__example_spec",
     " Special LRC File Test|| TEST| 283375",
     13,
     {{0, "[ Special LRC File Test]"},
      {83381, "I hate this kind of lyrics"},
      {154485, "I hate this kind of lyrics"},
      {157425, "<02:37.50>Very <02:37.52>fast <02:37.55>speed!"},
      {203295, "<02:83.375>Totally"},
      {203300, "Actually invalid lyric"},
      {225603, "I hate this kind of lyrics"},
      {513675, "<02:83.375>Totally"}}},
    {"derived_gbk_crlf__example_spec",
     " Special LRC File Test|| TEST| 283375",
     18,
     {{0, "[ Special LRC File Test]"},
      {83381, "I hate this kind of lyrics"},
      {154485, "I hate this kind of lyrics"},
      {157425, "<02:37.50>Very <02:37.52>fast <02:37.55>speed!"},
      {203295, "<02:83.375>Totally"},
      {203300, "Actually invalid lyric"},
      {225603, "I hate this kind of lyrics"},
      {513675, "<02:83.375>Totally"}}},
    {"openlrc__test_subtitle derived_gbk_crlf__test_subtitle",
     "|||",
     0,
     {{0, " 你好,你好...你好!你好."},
      {3000, " 你好"},
      {5000, ""},
      {6000, " 好好好好好好好好好好好好好好好好好好好好好好好好"},
      {9000, ""},
      {10000, " "},
      {10100, ""},
      {12000, " 这太长打发螺丝扣"},
      {15000, ""},
      {16000, " 繁體的字"},
      {19000, ""},
      {20000, " <unk>unk<unk>"},
      {22000, ""},
      {23000, " 123"},
      {25000, ""}}},
    {"inline__lemony_full_01",
     " Test Song| Test Artist| Test Album|",
     0,
     {{-500, "[ Test Artist -  Test Song]"}, {500, "歌词开始"}}},
    {"inline__lemony_full_02",
     "  Title with spaces  |||",
     0,
     {{0, "[  Title with spaces  ]"}, {1000, "歌词"}}},
    {"inline__lemony_full_03", "|||", 2, {{1000, "主歌词"}, {2000, "第二行主歌词"}}},
    {"inline__lemony_full_04", "|||", 2, {{1000, "主歌词1"}, {2000, "主歌词2"}}},
    {"inline__lemony_full_05", "|||", 1, {{1000, "主歌词"}}},
    {"inline__lemony_full_06", "|||", 0, {{1000, "重复歌词"}, {5000, "重复歌词"}}},
    {"inline__lemony_full_07", "|||", 0, {{1000, "第一版本"}}},
    {"inline__lemony_full_08", "|||", 0, {{1000, "第一行"}, {5000, "第二行"}, {10000, "第三行"}}},
    {"inline__lemony_full_09", "|||", 0, {{1000, "第一行"}, {5000, "第二行"}}},
    {"inline__lemony_full_10", "|||", 0, {{1000, "第一行"}, {5000, ""}, {10000, "第三行"}}},
    {"inline__lemony_full_11", "|||", 0, {{1000, "<00:01.000>第<00:01.500>一<00:02.000>行"}, {3000, ""}}},
    {"inline__lemony_full_12", "|||", 0, {{1000, "第一行"}, {3000, "第三行"}, {5000, "第二行"}}},
    {"inline__lemony_offset500",
     " test| someone||",
     0,
     {{0, "[ someone -  test]"},
      {4500, "<00:05.000>hello<00:06.000>world<00:07.000>"},
      {9500, "<00:10.000>second<00:11.500>line<00:12.000>"}}},
    {"inline__lemony_offset_minus2000",
     " test| someone||",
     0,
     {{0, "[ someone -  test]"},
      {7000, "<00:05.000>hello<00:06.000>world<00:07.000>"},
      {12000, "<00:10.000>second<00:11.500>line<00:12.000>"}}},
    {"inline__lrckit_angle_tags",
     "A2 Format|Enhanced A2||",
     0,
     {{0, "[Enhanced A2 - A2 Format]"},
      {2000, " <00:02.500> spark <00:03.000> light"},
      {4000, " <00:04.500> flow <00:05.000> onward"}}},
    {"inline__lrckit_tags_between_words",
     "Enhanced Format|Enhanced Artist||",
     0,
     {{0, "[Enhanced Artist - Enhanced Format]"},
      {5000, " hello "},
      {6000, " world"},
      {9250, " feel "},
      {10500, " the "},
      {11750, " rhythm "},
      {13000, " rise"},
      {15500, " deeper hook"}}},
};

void Check(const std::string& file, const Expected& want) {
  SCOPED_TRACE(file);
  std::ifstream stream(Corpus() / (file + ".lrc"), std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  LyricDoc doc;
  LyricEncoding encoding = LyricEncoding::kUtf16BigEndian;
  EXPECT_TRUE(
      ParseLyricBytes(doc, {reinterpret_cast<const uint8_t*>(text.data()), text.size()}, {}, &encoding));
  // The derived ones are the others in GBK.
  const bool utf8 = !file.starts_with("derived_gbk") && !file.starts_with("inline");
  EXPECT_EQ(encoding, utf8 ? LyricEncoding::kUtf8 : LyricEncoding::kGbk);
  EXPECT_EQ(doc.title_gbk + "|" + doc.artist_gbk + "|" + doc.album_gbk + "|" + doc.by_gbk, want.header);
  EXPECT_EQ(std::count(doc.plain_text_gbk.begin(), doc.plain_text_gbk.end(), '\n'), want.plain_lines);
  ASSERT_EQ(doc.Lines().size(), want.lines.size());
  for (size_t i = 0; i < want.lines.size(); ++i) {
    const std::string line = Utf8FromGbk(doc.Lines()[i].text_gbk);
    const std::string expected = want.lines[i].second;
    EXPECT_EQ(doc.Lines()[i].time_ms, want.lines[i].first) << i;
    EXPECT_EQ(line.size() > 80 ? line.substr(0, expected.size()) : line, expected) << i;
  }
}

TEST(LyricCorpus, GivesWhatTheWritersMeant) {
  if (!fs::is_directory(Corpus())) GTEST_SKIP() << "no corpus at " << Corpus();
  std::ptrdiff_t checked = 0;
  for (const Expected& want : kExpected) {
    std::istringstream files(want.files);
    for (std::string file; files >> file; ++checked)
      Check(file, want);
  }
  EXPECT_EQ(checked, std::distance(fs::directory_iterator(Corpus()), {}));
}

}  // namespace
}  // namespace melorin
