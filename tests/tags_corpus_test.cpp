// SPDX-License-Identifier: MIT
//
// The scan over real files that other people's programs wrote, whole and cut off.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/tags_build.h"

namespace melorin {
namespace {

using namespace tag_build;
namespace fs = std::filesystem;

fs::path Corpus() {
  if (const char* given = std::getenv("MELORIN_CORPUS")) return given;
  return fs::path(MELORIN_SOURCE_DIR) / ".." / "shared" / "corpus";
}

std::string Contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class TagCorpus : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::is_directory(Corpus() / "mp3")) GTEST_SKIP() << "no corpus at " << Corpus();
  }
};

TEST_F(TagCorpus, SurvivesEveryFileWholeAndCut) {
  size_t files = 0;
  for (const char* folder : {"mp3", "wav", "aiff_au", "malformed"}) {
    for (const auto& entry : fs::directory_iterator(Corpus() / folder)) {
      SCOPED_TRACE(entry.path().filename().string());
      const std::string whole = Contents(entry.path());
      ++files;
      for (size_t size = 0; size < whole.size() + 97; size += 97) {
        const size_t part = std::min(size, whole.size());
        MemoryByteSource source(Bytes(whole).first(part));
        TagFields fields;
        const TagScan scan = ReadTags(source, 0, fields);
        ASSERT_LE(0, scan.audio_start);
        ASSERT_LE(scan.audio_start, scan.audio_end);
        ASSERT_LE(scan.audio_end, static_cast<int64_t>(part));
      }
    }
  }
  EXPECT_GT(files, 200u);
}

struct Expected {
  const char* file;
  uint32_t flags;
  int64_t start;
  int64_t behind;  ///< Bytes behind the audio.
  std::map<std::string, std::string> fields;
};

const Expected kExpected[] = {
    {"mp3/deadbeef__tone1sec_id3v1.mp3", 1, 0, 128, {}},
    {"mp3/mp3agic__obsolete-noimage.mp3",
     8,
     10446,
     0,
     {{"Artist", "ARTISTABCDEFGHIJKLMNOPQRSTUVWXYZ"},
      {"Date", "2009"},
      {"Genre", "Alternative"},
      {"Tracknumber", "2"}}},
    {"mp3/mp3agic__v23unicodetags.mp3",
     8,
     202,
     0,
     {{"Title", "中文"}, {"Artist", "γειά σου"}, {"Album", "こんにちは"}, {"Composer", "હેલ્લો"}}},
    {"mp3/mutagen__apev2-lyricsv2.mp3",
     15,
     1280,
     387,
     {{"Artist", "Auth"},
      {"Genre", "House"},
      {"Album", "A song    EP"},
      {"replaygain_track_gain", "-4.080000 dB"}}},
    {"mp3/mutagen__audacious-trailing-id32-apev2.mp3",
     12,
     0,
     350,
     {{"Title", "safdsaf"}, {"Artist", "dsdgsg"}, {"Tracknumber", "42"}}},
    {"mp3/taglib-sharp__sample_v2_4_unsynch.mp3",
     8,
     1632,
     0,
     {{"Album", "MP3 album"}, {"Tracknumber", "06/07"}, {"Genre", "Acid Punk"}}},
    {"mp3/taglib__compressed_id3_frame.mp3", 8, 4088, 0, {{"Artist", "Moby"}, {"Genre", "Techno-Dance"}}},
    {"mp3/taglib__ape-id3v1.mp3", 5, 0, 211, {{"Title", "Title"}}},
    {"mp3/tinytag__chinese_id3.mp3",
     8,
     512,
     0,
     {{"Title", "角落之歌"}, {"Artist", "苏云"}, {"Genre", "休闲音乐"}}},
    {"mp3/mpg123__sweep.mp3",
     9,
     362,
     128,
     {{"Title", "mpg123 test sweep"}, {"Artist", "Dä mäintääner du tout les jours"}}},
    {"malformed/mp3-metadata__id3v2.mp3",
     9,
     4096,
     128,
     {{"Album", "éàµ£ø§"}, {"Artist", "Someone/Someone else"}, {"Genre", "Instrumental Pop"}}},
    {"malformed/mutagen__id3v24_extended_header.id3",
     8,
     194,
     0,
     {{"Title", "One Second of Silence"}, {"Comment", "This is a comment!"}}},
    {"malformed/mutagen__bad-POPM-frame.mp3",
     8,
     1562,
     0,
     {{"Artist", "she"}, {"Genre", "Other"}, {"Comment", "häst"}}},
    {"malformed/tinytag__id3_comment_utf_16_double_bom.mp3", 8, 512, 0, {{"Comment", "Unclear"}}},
    {"malformed/tinytag__utf16_no_bom.mp3",
     8,
     1069,
     0,
     {{"Title", "no bom test ë"}, {"Artist", "no bom test 2 ë"}}},
    {"malformed/tinytag__id3_genre_id_out_of_bounds.mp3", 8, 512, 0, {{"Genre", "(255)"}}},
};

TEST_F(TagCorpus, GivesWhatTheWritersMeant) {
  for (const Expected& expected : kExpected) {
    SCOPED_TRACE(expected.file);
    const std::string bytes = Contents(Corpus() / expected.file);
    const Read read = ReadAll(bytes);
    EXPECT_EQ(read.scan.flags, expected.flags);
    EXPECT_EQ(read.scan.audio_start, expected.start);
    EXPECT_EQ(static_cast<int64_t>(bytes.size()) - read.scan.audio_end, expected.behind);
    for (const auto& [name, value] : expected.fields)
      EXPECT_EQ(read[name], value) << name;
  }
}

}  // namespace
}  // namespace melorin
