// SPDX-License-Identifier: MIT
//
// ID3v2 tags in all versions, and what programs got wrong when they wrote them.
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/tags_build.h"

namespace melorin {
namespace {

using namespace tag_build;
using Map = std::map<std::string, std::string>;

std::string Deflated(const std::string& text) {
  uLongf size = compressBound(static_cast<uLong>(text.size()));
  std::string out(size, '\0');
  compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
           static_cast<uLong>(text.size()));
  out.resize(size);
  return out;
}

struct Case {
  const char* name;
  std::string tag;
  Map want;
};

void Check(const Case& c) {
  SCOPED_TRACE(c.name);
  const Read read = ReadAll(c.tag + Audio());
  EXPECT_EQ(read.Map(), c.want);
  EXPECT_EQ(read.scan.flags, kTagId3v2);
  EXPECT_EQ(read.scan.audio_start, static_cast<int64_t>(c.tag.size()));
}

TEST(Id3v2, FieldsComeInLookupOrder) {
  const std::string body = Frame(4, "TXXX", "\3Mood\0calm"s) + Frame(4, "TCON", "\3(17)"s) +
                           Frame(4, "TPE1", "\3Artist"s) + Frame(4, "TIT1", "\3not in the list"s) +
                           Frame(4, "TDRC", "\0032001-05"s) + Frame(4, "TIT2", "\3Title"s);
  const Read read = ReadAll(Id3v2(4, body));
  std::string order;
  for (size_t i = 0; i < read.fields.size(); ++i)
    order += read.fields.name(i) + "=" + read.fields.value(i) + ";";
  EXPECT_EQ(order, "Title=Title;Artist=Artist;Date=2001-05;Genre=Rock;Mood=calm;");
}

TEST(Id3v2, EveryVersionNamesItsFrames) {
  const std::string v22[] = {"TT2", "TT3", "TCR", "TCM", "TP1", "TP2",
                             "TP3", "TAL", "TRK", "TYE", "TPB", "TEN"};
  const std::string v23[] = {"TIT2", "TIT3", "TCOP", "TCOM", "TPE1", "TPE2",
                             "TPE3", "TALB", "TRCK", "TYER", "TPUB", "TENC"};
  const std::string fields[] = {"Title",     "Subtitle", "Copyright",   "Composer", "Artist",    "Orchestra",
                                "Conductor", "Album",    "Tracknumber", "Date",     "Publisher", "Encoder"};
  for (const int version : {2, 3, 4}) {
    std::string body;
    Map want = {
        {"Comment", "note"}, {"Lyrics", "la\nla"}, {"Genre", "Rock"}, {"replaygain_album_gain", "1 dB"}};
    for (size_t i = 0; i < std::size(fields); ++i) {
      const std::string& id = version == 2 ? v22[i] : version == 4 && v23[i] == "TYER" ? "TDRC" : v23[i];
      body += Frame(version, id, "\0value of "s + fields[i]);
      want[fields[i]] = "value of " + fields[i];
    }
    body += Frame(version, version == 2 ? "COM" : "COMM", "\0eng\0note"s);
    body += Frame(version, version == 2 ? "ULT" : "USLT", "\0eng\0la\nla"s);
    body += Frame(version, version == 2 ? "TCO" : "TCON", "\00017"s);
    body += Frame(version, version == 2 ? "TXX" : "TXXX", "\0REPLAYGAIN_ALBUM_GAIN\0001 dB"s);
    Check({version == 2   ? "2.2"
           : version == 3 ? "2.3"
                          : "2.4",
           Id3v2(version, body + std::string(50, '\0')), want});
  }
}

TEST(Id3v2, Encodings) {
  const auto title = [](const std::string& body) { return Id3v2(3, Frame(3, "TIT2", body)); };
  const Case cases[] = {
      {"latin-1", title("\0Caf\xE9"s), {{"Title", "Café"}}},
      {"latin-1 that is gbk", title("\0\xC4\xE3\xBA\xC3"s), {{"Title", "你好"}}},
      {"latin-1 that is utf-8", title("\0你好"s), {{"Title", "你好"}}},
      {"utf-16 little", title("\1\xFF\xFE\x60\x4F\x7D\x59"s), {{"Title", "你好"}}},
      {"utf-16 big", title("\1\xFE\xFF\x4F\x60\x59\x7D\0\0"s), {{"Title", "你好"}}},
      {"utf-16 with an odd byte more", title("\1\xFF\xFET\0x"s), {{"Title", "T"}}},
      {"utf-16 without a mark, little", title("\1T\0i\0"s), {{"Title", "Ti"}}},
      {"utf-16 without a mark, big", title("\1\0T\0i"s), {{"Title", "Ti"}}},
      {"utf-16 without a mark, chinese", title("\1\x60\x4F\x7D\x59"s), {{"Title", "你好"}}},
      {"utf-16 with two marks", title("\1\xFF\xFE\xFF\xFET\0"s), {{"Title", "T"}}},
      {"utf-16 with two different marks", title("\1\xFE\xFF\xFF\xFET\0"s), {{"Title", "T"}}},
      {"utf-16be", title("\2\0T"s), {{"Title", "T"}}},
      {"utf-16be with the other mark", title("\2\xFF\xFET\0"s), {{"Title", "T"}}},
      {"surrogates", title("\1\xFF\xFE\x3C\xD8\xB5\xDF"s), {{"Title", "🎵"}}},
      {"lone surrogate", title("\1\xFF\xFE\x3C\xD8T\0"s), {{"Title", "\xEF\xBF\xBDT"}}},
      {"utf-8", title("\3你好"s), {{"Title", "你好"}}},
      {"utf-8 with a mark", title("\3\xEF\xBB\xBFT"s), {{"Title", "T"}}},
      {"utf-8 that is gbk", title("\3\xC4\xE3\xBA\xC3"s), {{"Title", "你好"}}},
      {"no encoding byte", title("Title"s), {{"Title", "Title"}}},
      {"nothing but a mark", title("\1\xFF\xFE"s), {}},
      {"empty", title(""), {}},
  };
  for (const Case& c : cases)
    Check(c);
}

TEST(Id3v2, SeveralValuesAndDescriptions) {
  const Case cases[] = {
      {"values of 2.4", Id3v2(4, Frame(4, "TPE1", "\3A\0B\0\0C\0"s)), {{"Artist", "A/B/C"}}},
      {"values of utf-16, each with a mark",
       Id3v2(4, Frame(4, "TPE1", "\1\xFF\xFE"s + "A\0\0\0\xFF\xFE"s + "B\0\0\0"s)),
       {{"Artist", "A/B"}}},
      {"genres", Id3v2(4, Frame(4, "TCON", "\00317\0Own\0(8)"s)), {{"Genre", "Rock/Own/Jazz"}}},
      {"first of two titles",
       Id3v2(3, Frame(3, "TIT2", "\0"s) + Frame(3, "TIT2", "\0one"s) + Frame(3, "TIT2", "\0two"s)),
       {{"Title", "one"}}},
      {"comment without description goes first",
       Id3v2(3, Frame(3, "COMM", "\0engiTunNORM\0 000"s) + Frame(3, "COMM", "\0engother\0second"s) +
                    Frame(3, "COMM", "\0eng\0first"s)),
       {{"Comment", "first"}}},
      {"comment with a description",
       Id3v2(3, Frame(3, "COMM", "\0engiTunNORM\0 000"s) + Frame(3, "COMM", "\0engother\0second"s)),
       {{"Comment", "second"}}},
      {"nothing but a program's own data", Id3v2(3, Frame(3, "COMM", "\0engiTunSMPB\0 000"s)), {}},
      {"comment in utf-16", Id3v2(3, Frame(3, "COMM", "\1eng\xFF\xFE\0\0\xFF\xFET\0"s)), {{"Comment", "T"}}},
      {"comment without terminator", Id3v2(3, Frame(3, "COMM", "\0engnote"s)), {{"Comment", "note"}}},
      {"user-defined",
       Id3v2(3, Frame(3, "TXXX", "\1\xFF\xFEk\0\0\0\xFF\xFEv\0"s) + Frame(3, "TXXX", "\0\0no name"s) +
                    Frame(3, "TXXX", "\0no value"s)),
       {{"k", "v"}}},
      {"user-defined does not replace a frame",
       Id3v2(3, Frame(3, "TXXX", "\0ARTIST\0two"s) + Frame(3, "TPE1", "\0one"s)),
       {{"Artist", "one"}}},
      {"date of 2.4 before the year of 2.3",
       Id3v2(4, Frame(4, "TYER", "\0001999"s) + Frame(4, "TDRC", "\0002000-01-01"s)),
       {{"Date", "2000-01-01"}}},
      {"lyrics in gbk", Id3v2(3, Frame(3, "USLT", "\0chi\0\xC4\xE3\r\n\xBA\xC3"s)), {{"Lyrics", "你\r\n好"}}},
  };
  for (const Case& c : cases)
    Check(c);
}

std::string Time(uint32_t ms) {
  return Number(ms, 4, 8, true);
}

TEST(Id3v2, SyncedLyrics) {
  const std::string utf16 = "\1chi\2\1\xFF\xFE\0\0"s;
  const std::string gbk = "\0chi\2\1\0\xD0\xA1\xD1\xA7\0"s + Time(1000) + "\xD0\xC4\0"s + Time(62003);
  const struct {
    const char* name;
    std::string body;
    const char* want;
  } cases[] = {
      {"lines", "\3eng\2\1what\0one\0"s + Time(1000) + "\0"s + Time(1500) + "two\0"s + Time(6000000),
       "[00:01.000]one\r\n[00:01.500]\r\n[100:00.000]two\r\n"},
      {"syllables",
       "\3eng\2\1\0o\0"s + Time(1) + "ne \0"s + Time(2) + "more\0"s + Time(3) + "\ntwo\0"s + Time(4),
       "[00:00.001]one more\r\n[00:00.004]two\r\n"},
      {"breaks of their own and at the end",
       "\3eng\2\1\0\n\0"s + Time(0) + "one\r\n\0"s + Time(1) + "two\0"s + Time(2) + "\n\0"s + Time(3) +
           "x\0"s + Time(4),
       "[00:00.001]one\r\n[00:00.002]two\r\n[00:00.004]x\r\n"},
      {"a break inside", "\3eng\2\1\0one\ntwo\0"s + Time(1) + "three\0"s + Time(2),
       "[00:00.001]one two\r\n[00:00.002]three\r\n"},
      {"brackets", "\3eng\2\1\0[Chorus] a\0"s + Time(1), "[00:00.001](Chorus) a\r\n"},
      {"gbk by the weight of all", gbk, "[00:01.000]小学\r\n[01:02.003]心\r\n"},
      {"latin-1", "\0fre\2\1\0Caf\xE9\0"s + Time(1) + "\xE9t\xE9\0"s + Time(2),
       "[00:00.001]Café\r\n[00:00.002]été\r\n"},
      {"utf-16, marks on some", utf16 + "\xFF\xFE\x60\x4F\0\0"s + Time(1) + "\x7D\x59\0\0"s + Time(2),
       "[00:00.001]你\r\n[00:00.002]好\r\n"},
      {"utf-16be without marks", "\2chi\2\1\0\0\x4F\x60\0\0"s + Time(0x4F604F60), "[22195:11.840]你\r\n"},
      {"a time beyond 31 bits", "\3eng\2\1\0a\0"s + Time(0x80000000) + "b\0"s + Time(1), "[00:00.001]b\r\n"},
      {"cut", "\3eng\2\1\0a\0"s + Time(1) + "b\0\0\0"s, "[00:00.001]a\r\n"},
      {"mpeg frames", "\3eng\1\1\0a\0"s + Time(1), "(none)"},
      {"chords", "\3eng\2\5\0a\0"s + Time(1), "(none)"},
      {"no text", "\3eng\2\1\0"s, "(none)"},
      {"another encoding", "\4eng\2\1\0a\0"s + Time(1), "(none)"},
      {"shorter than its header", "\3eng\2"s, "(none)"},
  };
  for (const auto& c : cases)
    for (const int version : {2, 3, 4})
      EXPECT_EQ(
          ReadAll(Id3v2(version, Frame(version, version == 2 ? "SLT" : "SYLT", c.body)) + Audio())["Lyrics"],
          c.want)
          << c.name;
}

TEST(Id3v2, LyricsWithTimesGoBeforeOthers) {
  const std::string plain = Frame(3, "USLT", "\0eng\0words [0:1] and\n[Chorus]"s);
  const std::string timed = Frame(3, "USLT", "\0eng\0x\n[00:05.00]lrc"s);
  const std::string synced = Frame(3, "SYLT", "\0eng\2\1\0one\0"s + Time(1000));
  const std::string chords = Frame(3, "SYLT", "\0eng\2\5\0C\0"s + Time(1000));
  const Case cases[] = {
      {"plain only", Id3v2(3, chords + plain), {{"Lyrics", "words [0:1] and\n[Chorus]"}}},
      {"synced", Id3v2(3, plain + chords + synced), {{"Lyrics", "[00:01.000]one\r\n"}}},
      {"lrc in plain ones", Id3v2(3, synced + plain + timed), {{"Lyrics", "x\n[00:05.00]lrc"}}},
  };
  for (const Case& c : cases)
    Check(c);
  // A frame of nothing but times gives no more text than a lyric may have.
  std::string many = "\3eng\2\1\0"s;
  for (uint32_t i = 0; i < 150000; ++i)
    many += '\0' + Time(i);
  EXPECT_LT(ReadAll(Id3v2(3, Frame(3, "SYLT", many)) + Audio())["Lyrics"].size(), (1u << 20) + 100);
}

TEST(Id3v2, Layers) {
  const std::string title3 = Frame(3, "TIT2", "\1\xFF\xFET\0\xFF\0"s);
  const std::string picture = "\0image/jpeg\0\3\0\xFF\xD8\xFF\xE0\xFF\0\xFF"s;
  const std::string after = Frame(3, "TALB", "\0L"s);
  const std::string packed = Deflated("\3" + std::string(1000, 'x'));
  const std::string old_style = "TIT2" + Number(200, 4, 8, true) + "\0\0"s + "\0"s + std::string(199, 'x');
  const Case cases[] = {
      {"unsynchronised 2.3",
       Id3v2(3, Unsynchronised(Frame(3, "APIC", picture) + title3 + after), 0x80),
       {{"Title", "Tÿ"}, {"Album", "L"}}},
      {"unsynchronised 2.2",
       Id3v2(2, Unsynchronised(Frame(2, "TT2", "\1\xFF\xFET\0"s)), 0x80),
       {{"Title", "T"}}},
      {"unsynchronised frame of 2.4",
       Id3v2(4, Frame(4, "TIT2", Unsynchronised("\1\xFF\xFE\0\xFF"s), 2) + Frame(4, "TALB", "\3L"s)),
       {{"Title", "\xEF\xBC\x80"}, {"Album", "L"}}},
      {"unsynchronised tag of 2.4",
       Id3v2(4, Frame(4, "TIT2", Unsynchronised("\1\xFF\xFE\0\xFF"s)), 0x80),
       {{"Title", "\xEF\xBC\x80"}}},
      {"extended header 2.3",
       Id3v2(3, Number(6, 4, 8, true) + std::string(6, '\0') + after, 0x40),
       {{"Album", "L"}}},
      {"extended header 2.4",
       Id3v2(4, Number(6, 4, 7, true) + "\1\0"s + Frame(4, "TALB", "\3L"s), 0x40),
       {{"Album", "L"}}},
      {"extended header that is not there", Id3v2(3, after, 0x40), {{"Album", "L"}}},
      {"extended header beyond the tag",
       Id3v2(3, Number(0x7FFFFFFF, 4, 8, true) + after, 0x40),
       {{"Album", "L"}}},
      {"footer", Id3v2(4, Frame(4, "TALB", "\3L"s), 0x10), {{"Album", "L"}}},
      {"compressed 2.3",
       Id3v2(3, Frame(3, "TIT2", Number(1001, 4, 8, true) + packed, 0x80)),
       {{"Title", std::string(1000, 'x')}}},
      {"compressed 2.4",
       Id3v2(4, Frame(4, "TIT2", Number(1001, 4, 7, true) + packed, 0x09)),
       {{"Title", std::string(1000, 'x')}}},
      {"compressed, broken",
       Id3v2(3,
             Frame(3, "TIT2", Number(1001, 4, 8, true) + packed.substr(0, packed.size() - 6), 0x80) + after),
       {{"Album", "L"}}},
      {"data length", Id3v2(4, Frame(4, "TIT2", Number(2, 4, 7, true) + "\3T", 0x01)), {{"Title", "T"}}},
      {"group", Id3v2(4, Frame(4, "TIT2", "g\3T", 0x40)), {{"Title", "T"}}},
      {"group 2.3", Id3v2(3, Frame(3, "TIT2", "g\0T"s, 0x20)), {{"Title", "T"}}},
      {"encrypted",
       Id3v2(4, Frame(4, "TIT2", "\1secret", 0x04) + Frame(4, "TALB", "\3L"s)),
       {{"Album", "L"}}},
      {"encrypted 2.3", Id3v2(3, Frame(3, "TIT2", "\1secret", 0x40) + after), {{"Album", "L"}}},
      {"2.4 with sizes of 2.3",
       Id3v2(4, old_style + Frame(4, "TALB", "\3L"s)),
       {{"Title", std::string(199, 'x')}, {"Album", "L"}}},
      {"2.3 with names of 2.2", Id3v2(3, Frame(3, "TT2\0"s, "\0T"s)), {{"Title", "T"}}},
      {"frame longer than the tag",
       Id3v2(3, after + "TIT2" + Number(1000000, 4, 8, true) + "\0\0\0T"s),
       {{"Album", "L"}}},
      {"junk behind the frames", Id3v2(3, after + "####" + after), {{"Album", "L"}}},
      {"two tags in a row",
       Id3v2(3, after) + Id3v2(3, Frame(3, "TALB", "\0M"s) + Frame(3, "TIT2", "\0T"s)),
       {{"Album", "L"}, {"Title", "T"}}},
      {"a version to come", Id3v2(5, after), {}},
      {"compressed 2.2 was never defined", Id3v2(2, Frame(2, "TT2", "\0T"s), 0x40), {}},
  };
  for (const Case& c : cases)
    Check(c);
}

TEST(Id3v2, HeadersThatAreNone) {
  std::string tag = Id3v2(3, Frame(3, "TIT2", "\0T"s));
  for (const auto& [at, byte] :
       {std::pair<size_t, char>{0, 'i'}, {3, '\xFF'}, {4, '\xFF'}, {6, '\x80'}, {9, '\xFF'}}) {
    std::string broken = tag;
    broken[at] = byte;
    EXPECT_EQ(ReadAll(broken + Audio()).scan.flags, 0u) << at;
  }
}

TEST(Id3v2, ATagThatClaimsMoreThanTheFileHidesNothingBehindIt) {
  std::string tag = Id3v2(3, Frame(3, "TIT2", "\0T"s));
  tag.replace(6, 4, Number(100000, 4, 7, true));
  const Read read = ReadAll(tag + Audio() + Id3v1{"T", "Artist"}.Build());
  EXPECT_EQ(read.Map(), (Map{{"Title", "T"}, {"Artist", "Artist"}}));
  EXPECT_EQ(read.scan.audio_start, read.scan.audio_end);
  EXPECT_EQ(read.scan.audio_end, static_cast<int64_t>(tag.size() + 600));
}

TEST(Id3v2, ATagMayStandAtTheEnd) {
  const std::string appended = Id3v2(4, Frame(4, "TIT2", "\3T"s) + Frame(4, "TPE1", "\3A"s), 0x10);
  const Read read =
      ReadAll(Id3v2(3, Frame(3, "TIT2", "\0Front"s)) + Audio() + appended + Id3v1{"", "", "L"}.Build());
  EXPECT_EQ(read.Map(), (Map{{"Title", "Front"}, {"Artist", "A"}, {"Album", "L"}}));
  EXPECT_EQ(read.scan.flags, kTagId3v2 | kTagId3v1);
  EXPECT_EQ(read.scan.audio_end - read.scan.audio_start, 600);
}

TEST(Id3v2, CompressedFramesCannotGrowWithoutBound) {
  const std::string bomb = Deflated(std::string(3 << 20, 'x'));
  std::string body;
  for (int i = 0; i < 100; ++i)
    body += Frame(3, "TXXX", Number(3 << 20, 4, 8, true) + bomb, 0x80);
  body += Frame(3, "TIT2", "\0T"s);
  EXPECT_EQ(ReadAll(Id3v2(3, body))["Title"], "T");
}

TEST(Id3v2, SurvivesEveryPrefixAndChangedByte) {
  const std::string body =
      Frame(4, "TIT2", "\1\xFF\xFET\0"s) + Frame(4, "COMM", "\3eng\0note"s) + Frame(4, "TXXX", "\3k\0v"s) +
      Frame(4, "TALB", Number(3, 4, 7, true) + Deflated("\3L"), 0x09) + Frame(4, "TCON", "\3(17)"s);
  const std::string file = Id3v2(4, body, 0x90) + Audio(30);
  for (size_t cut = 0; cut < file.size(); ++cut) {
    const Read read = ReadAll(file.substr(0, cut));
    ASSERT_LE(read.scan.audio_end, static_cast<int64_t>(cut));
  }
  for (size_t at = 0; at < file.size(); ++at) {
    for (const int flip : {0x01, 0x40, 0x80, 0xFF}) {
      std::string changed = file;
      changed[at] = static_cast<char>(changed[at] ^ flip);
      const Read read = ReadAll(changed);
      ASSERT_LE(read.scan.audio_start, read.scan.audio_end);
    }
  }
}

}  // namespace
}  // namespace melorin
