// SPDX-License-Identifier: MIT
//
// CUE sheets as bytes: encodings, commands as rippers write them, tracks and where they begin and end.
#include <gtest/gtest.h>

#include "platform/text.h"
#include "sound/cue_files.h"
#include "sound/cue_sheet.h"
#include "tests/sound_test_files.h"

namespace melorin {
namespace {

CueSheet Parse(std::string_view text) {
  return ParseCueSheet({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

std::string Decode(std::string_view text) {
  return DecodeCueText({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

std::string Utf16Bytes(std::u16string_view text, bool big_endian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += big_endian ? high : low;
    bytes += big_endian ? low : high;
  }
  return bytes;
}

TEST(CueText, IsReadInTheEncodingItIsWrittenIn) {
  const std::string_view chinese = "PERFORMER \"王菲\"\r\nTITLE \"寓言\"\r\nTITLE \"路\"\r\n";
  const std::string_view western = "PERFORMER \"Björk\"\nTITLE \"Jóga\"\nTITLE \"Début & Für Élise\"\n";
  struct Case {
    const char* name;
    std::string bytes;
    std::string_view want;
  };
  const std::string latin =
      "PERFORMER \"Bj\xF6rk\"\nTITLE \"J\xF3ga\"\nTITLE \"D\xE9"
      "but & F\xFCr \xC9lise\"\n";
  const Case cases[] = {
      {"UTF-8 with mark", "\xEF\xBB\xBF" + std::string(chinese), chinese},
      {"UTF-8 without mark", std::string(chinese), chinese},
      {"UTF-8 of Latin letters", std::string(western), western},
      {"GBK", GbkFromUtf8(chinese), chinese},
      {"UTF-16, low byte first", Utf16Bytes(u"\xFEFF" + Utf16FromUtf8(chinese), false), chinese},
      {"UTF-16, high byte first", Utf16Bytes(u"\xFEFF" + Utf16FromUtf8(chinese), true), chinese},
      {"code page 1252", latin, western},
      // C2 B7 is well-formed UTF-8 too.
      {"one GBK character that looks like UTF-8", GbkFromUtf8("TITLE \"路\"\n"), "TITLE \"路\"\n"},
      {"ASCII", "TITLE a\n", "TITLE a\n"},
      {"nothing", "", ""},
      {"a mark alone", "\xFF\xFE", ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Decode(c.bytes), c.want) << c.name;
  // A damaged line does not change how the others are read.
  const std::string damaged = GbkFromUtf8("TITLE \"天空\"\nTITLE \"香奈儿\"\n") + "TITLE \"\xB0\"\n";
  EXPECT_TRUE(Decode(damaged).starts_with("TITLE \"天空\"\nTITLE \"香奈儿\"\n"));
  const std::string cut = std::string(chinese) + "TITLE \"\xE5\x9B\"\n";
  EXPECT_TRUE(Decode(cut).starts_with(chinese));
  EXPECT_TRUE(IsValidUtf8(Decode(cut)));
}

TEST(CueSheet, ReadsWhatRippersWrite) {
  const CueSheet sheet = Parse(
      "REM GENRE \"Art Rock\"\r\nrem date 1971\r\nREM DISCID 970A2F0B\r\nREM COMMENT \"ExactAudioCopy "
      "v1.3\"\r\n"
      "CATALOG 0724352199921\r\nPERFORMER \"Jethro Tull\"\r\nTITLE \"Aqualung\"\r\n"
      "REM REPLAYGAIN_ALBUM_GAIN -6.50 dB\r\n"
      "FILE \"Jethro Tull - Aqualung.wav\" WAVE\r\n"
      "  TRACK 01 AUDIO\r\n    TITLE \"Aqualung\"\r\n    FLAGS DCP PRE\r\n    PREGAP 00:00:33\r\n"
      "    ISRC GBAYE7100001\r\n    INDEX 01 00:00:00\r\n    POSTGAP 00:02:00\r\n"
      "\tTRACK 02 AUDIO\r\n\tTITLE \"He said \"no\" twice\"\r\n\tPERFORMER Somebody Else\r\n"
      "\tREM REPLAYGAIN_TRACK_GAIN +1.25 dB\r\n\tREM REPLAYGAIN_TRACK_PEAK 0.988\r\n"
      "\tINDEX 00 06:32:18\r\n\tINDEX 01 06:33:43\r\n\tINDEX 02 07:00:00\r\n"
      "TRACK 03 MODE1/2352\r\nTITLE data\r\nINDEX 01 10:00:00\r\n");
  ASSERT_EQ(sheet.tracks.size(), 3u);
  ASSERT_EQ(sheet.files.size(), 1u);
  EXPECT_EQ(sheet.files[0], "Jethro Tull - Aqualung.wav");
  EXPECT_EQ(sheet.tracks[1].start, (6 * 60 + 33) * 75 + 43u);
  EXPECT_EQ(sheet.EndOf(0), sheet.tracks[1].start);
  EXPECT_EQ(sheet.EndOf(1), 10 * 60 * 75u);
  EXPECT_EQ(sheet.EndOf(2), std::nullopt);
  EXPECT_FALSE(sheet.FindTrack(3));
  EXPECT_EQ(sheet.tracks[0].album[CueField::kCatalog], "0724352199921");

  struct Want {
    size_t track;
    const char* tag;
    const char* value;
  };
  const Want wants[] = {
      {0, "Title", "Aqualung"},
      {0, "Artist", "Jethro Tull"},
      {0, "Album", "Aqualung"},
      {0, "Tracknumber", "1"},
      {0, "Date", "1971"},
      {0, "Genre", "Art Rock"},
      {0, "Comment", "ExactAudioCopy v1.3"},
      {0, "ISRC", "GBAYE7100001"},
      {0, "replaygain_album_gain", "-6.50 dB"},
      {0, "replaygain_track_gain", nullptr},
      {1, "Title", "He said \"no\" twice"},
      {1, "Artist", "Somebody Else"},
      {1, "replaygain_track_gain", "+1.25 dB"},
      {1, "replaygain_track_peak", "0.988"},
      {1, "ISRC", nullptr},
  };
  for (const Want& want : wants) {
    const TagFields tags = CueTrackTags(sheet.tracks[want.track]);
    const std::string* value = tags.Find(want.tag);
    EXPECT_EQ(value ? *value : "(none)", want.value ? want.value : "(none)") << want.tag;
  }
}

TEST(CueSheet, TakesNamesAndPositionsAsTheyCome) {
  struct Case {
    const char* file_line;
    const char* want;
  };
  const Case cases[] = {
      {"FILE \"a b.wav\" WAVE", "a b.wav"},
      {"FILE a b.wav WAVE", "a b.wav"},
      {"FILE a.wav", "a.wav"},
      {"FILE My Song", "My Song"},
      {"file \"a.wav", "a.wav"},
      {"FILE \"a \"b\" c.wav\" mp3", "a \"b\" c.wav"},
      {" FILE\t\"CD1\\a.flac\" WAVE", "CD1\\a.flac"},
  };
  for (const Case& c : cases) {
    const CueSheet sheet = Parse(std::string(c.file_line) + "\nTRACK 1 AUDIO\nINDEX 1 0:0:0");
    ASSERT_EQ(sheet.files.size(), 1u) << c.file_line;
    EXPECT_EQ(sheet.files[0], c.want);
    EXPECT_EQ(sheet.tracks.size(), 1u);
  }
  struct Place {
    const char* index;
    int64_t want;  ///< -1: no track comes of it.
  };
  const Place places[] = {
      {"INDEX 01 00:00:74", 74},
      {"INDEX 1 100:00:00", 450000},
      {"index 01 02:60:75", 13575},
      {"INDEX 01 2:3", 9225},
      {"INDEX 01 99", 445500},
      {"INDEX 01 00:01:00\nINDEX 00 00:00:00", 75},
      {"INDEX 00 00:00:05", 5},
      {"INDEX 03 00:00:09\nINDEX 02 00:00:07", 7},
      {"INDEX 01 -1:00:00", -1},
      {"INDEX 01 00:00:00:00", -1},
      {"INDEX 01 99999999999:00:00", -1},
      {"INDEX 01", -1},
      {"INDEX x 00:00:00", -1},
      {"TITLE none", -1},
  };
  for (const Place& place : places) {
    const CueSheet sheet = Parse(std::string("FILE a.wav WAVE\rTRACK 01 AUDIO\r") + place.index);
    ASSERT_EQ(sheet.tracks.size(), place.want < 0 ? 0u : 1u) << place.index;
    if (place.want < 0) continue;
    EXPECT_EQ(sheet.tracks[0].start, place.want) << place.index;
  }
  EXPECT_TRUE(Parse("TRACK 01 AUDIO\nINDEX 01 00:00:00").tracks.empty()) << "no file";
}

TEST(CueSheet, TracksOfDisorderedSheetsEndWhereTheNextPlaceBegins) {
  const CueSheet sheet = Parse(
      "FILE a.wav WAVE\nTRACK 01 AUDIO\nINDEX 01 00:10:00\nTRACK 02 AUDIO\nINDEX 01 00:00:00\n"
      "TRACK 03 AUDIO\nINDEX 01 00:10:00\nFILE b.wav WAVE\nTRACK 04 AUDIO\nINDEX 01 00:05:00\n"
      "FILE A.WAV WAVE\nTRACK 05 AUDIO\nINDEX 01 00:20:00\n");
  ASSERT_EQ(sheet.tracks.size(), 5u);
  EXPECT_EQ(sheet.files.size(), 2u);
  const std::optional<uint32_t> wants[] = {20 * 75, 10 * 75, 20 * 75, std::nullopt, std::nullopt};
  for (size_t i = 0; i < 5; ++i)
    EXPECT_EQ(sheet.EndOf(i), wants[i]) << i;
}

TEST(CueSheet, NumbersAreUniqueAndLengthsAddUp) {
  // Each file of these sheets counts from 1 again.
  const CueSheet sheet = Parse(
      "FILE a.wav WAVE\nTRACK 01 AUDIO\nINDEX 01 0:0:0\nTRACK 02 AUDIO\nINDEX 01 0:9:0\n"
      "FILE b.wav WAVE\nTITLE second\nTRACK 01 AUDIO\nINDEX 01 0:0:0\n");
  ASSERT_EQ(sheet.tracks.size(), 3u);
  for (uint32_t i = 0; i < 3; ++i)
    EXPECT_EQ(sheet.tracks[i].number, i + 1);
  EXPECT_EQ(*CueTrackTags(sheet.tracks[2]).Find("Tracknumber"), "1");
  EXPECT_EQ(*CueTrackTags(sheet.tracks[2]).Find("Album"), "second");
  EXPECT_EQ(CueTrackTags(sheet.tracks[0]).Find("Album"), nullptr);
  // Numbers that do not begin with 1 stay: a sheet may hold a part of a set.
  EXPECT_EQ(Parse("FILE a WAVE\nTRACK 7 AUDIO\nINDEX 01 0:0:0").tracks[0].number, 7u);
  EXPECT_EQ(Parse("FILE a WAVE\nTRACK 0 AUDIO\nINDEX 01 0:0:0").tracks[0].number, 1u);
  EXPECT_EQ(Parse("FILE a WAVE\nTRACK 70000 AUDIO\nINDEX 01 0:0:0").tracks[0].number, 1u);

  EXPECT_EQ(CueDurationMs(0, 1, 0) + CueDurationMs(1, 74, 0) + CueDurationMs(74, std::nullopt, 1000), 1000u);
  EXPECT_EQ(CueDurationMs(750, std::nullopt, 5000), 0u) << "the track lies behind the file";

  std::string many = "FILE a WAVE\n";
  for (int i = 1; i <= 1200; ++i)
    many += "TRACK " + std::to_string(i) + " AUDIO\nINDEX 01 0:" + std::to_string(i) + ":0\n";
  EXPECT_EQ(Parse(many).tracks.size(), kMaxCueTracks);
  EXPECT_TRUE(Parse(std::string(kMaxCueBytes, ' ') + many).tracks.empty());
}

TEST(CueSheet, CorpusSheetsGiveTheirTracks) {
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  struct Case {
    const char* file;
    size_t files, tracks;
    uint32_t last_start;
    const char* last_title;
  };
  const Case cases[] = {
      {"clementine__brokensong.cue", 1, 2, 5 * 60 * 75, "Somewon Else's Tears"},
      {"clementine__manyfiles.cue", 3, 5, 75, "A2P2Song1"},
      {"clementine__onesong.cue", 1, 1, 75 + 15, "Un soffio caldo"},
      {"clementine__withdatafiles.cue", 4, 4, 61 * 75, "D1"},
      {"cuesheetnet__MinimalFoobarCue.cue", 1, 1, 99 * 60 * 75, ""},
      {"cuesheetnet__MultiFile.cue", 3, 3, 0, "Tres"},
      {"cuesheetnet__UTF-8_BOM.cue", 1, 11, 0, nullptr},
      {"libcue__99_tracks.cue", 1, 99, 0, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    const CueSheet sheet = ParseCueSheet(test::FileBytes(corpus / "playlist" / c.file));
    EXPECT_EQ(sheet.files.size(), c.files);
    ASSERT_EQ(sheet.tracks.size(), c.tracks);
    if (!c.last_title) continue;
    EXPECT_EQ(sheet.tracks.back().start, c.last_start);
    EXPECT_EQ(sheet.tracks.back().own[CueField::kTitle], c.last_title);
  }
  const CueSheet multi = ParseCueSheet(test::FileBytes(corpus / "playlist" / "cuesheetnet__MultiFile.cue"));
  EXPECT_EQ(multi.files[multi.tracks[1].file], "MultiFile - 1 - Dos.wav")
      << "INDEX 01 stands in the second file";
  EXPECT_TRUE(ParseCueSheet(test::FileBytes(corpus / "malformed" / "libcue__leak.cue")).tracks.empty());
}

}  // namespace
}  // namespace melorin
