// SPDX-License-Identifier: MIT
//
// The list formats as functions of bytes, under the Windows path rules on every build.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "platform/text.h"
#include "playlist/list_paths.h"
#include "playlist/m3u.h"
#include "playlist/mzbl.h"
#include "playlist/mzpl.h"

namespace melorin {
namespace {

std::string Gbk(std::string_view utf8) {
  return GbkFromUtf8(utf8);
}

std::span<const uint8_t> Bytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

std::string Text(const std::vector<uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

/// A list file in D:\lists\ that is read on any system.
ListReading InLists() {
  ListReading reading;
  reading.folder_gbk = "D:\\lists";
  reading.full_path = [](const std::string& folder, const std::string& path) {
    return path[0] == '\\' ? folder.substr(0, 2) + path : folder + "\\" + path;
  };
  return reading;
}

struct Want {
  std::string path;
  std::string title;
  int32_t duration_ms;
};

void ExpectEntries(const Playlist& list, const std::vector<Want>& want) {
  ASSERT_EQ(list.Size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(list.At(i)->PathGbk(), want[i].path);
    EXPECT_EQ(list.At(i)->TitleGbk(), want[i].title);
    EXPECT_EQ(list.At(i)->DurationMs(), want[i].duration_ms);
  }
}

ItemRef MakeItem(const std::string& path, const std::string& title = {},
                 int32_t duration_ms = kUnknownDuration, uint32_t subtrack = 0) {
  return ItemCache::Obtain(path, title, duration_ms, subtrack);
}

// Names in which a trail byte is a letter or the backslash: 乗 is 0x81 0x5C, 丄 is 0x81 0x41 and 乤 0x81
// 0x61.
const std::string kBackslashTrail = "\x81\x5C";
const std::string kUpperTrail = "\x81\x41";
const std::string kLowerTrail = "\x81\x61";

TEST(ListPaths, TellsAbsoluteEntries) {
  struct Case {
    std::string path;
    bool absolute;
  };
  for (const Case& c : {Case{"C:\\a.mp3", true},
                        {"c:a", true},
                        {"\\\\server\\a", true},
                        {"\\music\\a.mp3", false},
                        {"a.mp3", false},
                        {"C:", false},
                        {"\\\\", false},
                        {"1:\\a", false},
                        {"", false}}) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(IsAbsoluteEntry(c.path), c.absolute);
  }
}

TEST(ListPaths, NeverCutsACharacter) {
  EXPECT_EQ(EntryFileName("D:\\music\\" + kBackslashTrail + "x.mp3"), kBackslashTrail + "x.mp3");
  EXPECT_EQ(EntryFileName("D:\\" + kBackslashTrail + "\\a.mp3"), "a.mp3");
  EXPECT_EQ(EntryFileName("D:\\" + kUpperTrail + "\\a.mp3"), "a.mp3");
  EXPECT_EQ(RelativeBase("D:\\" + kBackslashTrail + "list.m3u").Base(), "D:");
  EXPECT_EQ(RelativeBase("D:\\a\\" + kBackslashTrail + "list.m3u").Base(), "D:\\a\\");
  // A trail byte and a separator are no double backslash.
  EXPECT_EQ(RelativeBase("D:\\" + kBackslashTrail + "\\l.m3u").Base(), "D:\\" + kBackslashTrail + "\\");
}

TEST(ListPaths, ShortensWhatLiesBelowTheFolder) {
  struct Case {
    std::string list, entry, want;
  };
  const std::vector<Case> cases = {
      {"D:\\list.m3u", "D:\\music\\a.mp3", "\\music\\a.mp3"},
      {"D:\\list.m3u", "d:\\a.mp3", "\\a.mp3"},
      {"D:\\list.m3u", "C:\\a.mp3", "C:\\a.mp3"},
      {"D:\\Lists\\l.m3u", "d:\\lISTS\\sub\\a.mp3", "sub\\a.mp3"},
      {"D:\\Lists\\l.m3u", "D:\\Lists2\\a.mp3", "D:\\Lists2\\a.mp3"},
      {"D:\\Lists\\l.m3u", "D:\\Lists\\", "D:\\Lists\\"},
      {"\\\\nas\\music\\l.m3u", "\\\\nas\\music\\a.mp3", "\\\\nas\\music\\a.mp3"},
      // Another character whose trail byte is the other case of a letter is another folder.
      {"D:\\" + kUpperTrail + "\\l.m3u", "D:\\" + kUpperTrail + "\\a.mp3", "a.mp3"},
      {"D:\\" + kUpperTrail + "\\l.m3u", "D:\\" + kLowerTrail + "\\a.mp3", "D:\\" + kLowerTrail + "\\a.mp3"},
      {"D:\\" + kBackslashTrail + "\\l.m3u", "D:\\" + kBackslashTrail + "\\a.mp3", "a.mp3"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.list + " " + c.entry);
    EXPECT_EQ(RelativeBase(c.list).Shorten(c.entry), c.want);
  }
  EXPECT_EQ(RelativeBase().Shorten("D:\\a.mp3"), "D:\\a.mp3");
}

TEST(M3u, ReadsEntriesTitlesAndDurations) {
  struct Case {
    const char* name;
    std::string text;
    std::vector<Want> want;
  };
  const std::vector<Case> cases = {
      {"spaces before the number",
       "#EXTM3U\r\n#EXTINF:  215,Song\r\nD:\\m\\a1.mp3\r\n",
       {{"D:\\m\\a1.mp3", "Song", 215000}}},
      {"minus is a digit", "#extinf:-1,Radio\nD:\\m\\a2.mp3", {{"D:\\m\\a2.mp3", "Radio", -29000}}},
      {"no comma: no title", "#EXTINF:12\r\nD:\\m\\a3.mp3", {{"D:\\m\\a3.mp3", "a3.mp3", -2}}},
      {"only the next entry",
       "#EXTINF:1,T\nD:\\m\\a4.mp3\nD:\\m\\a5.mp3",
       {{"D:\\m\\a4.mp3", "T", 1000}, {"D:\\m\\a5.mp3", "a5.mp3", -2}}},
      {"empty title", "#EXTINF:3,\nD:\\m\\a6.mp3", {{"D:\\m\\a6.mp3", "a6.mp3", 3000}}},
      {"blank lines", "\r\n\n\r\r#EXTINF:3,T\n\n  \t\r\n\rD:\\m\\a7.mp3\n\n", {{"D:\\m\\a7.mp3", "T", 3000}}},
      {"relative",
       "sub\\a8.mp3\n\\top\\a9.mp3",
       {{"D:\\lists\\sub\\a8.mp3", "a8.mp3", -2}, {"D:\\top\\a9.mp3", "a9.mp3", -2}}},
      {"comments", "# one\n#EXTM3U\n#PLAYLIST:x\nD:\\m\\b1.mp3", {{"D:\\m\\b1.mp3", "b1.mp3", -2}}},
      {"foreign lines in between", "#EXTINF:5,T\n#EXTGRP:g\nD:\\m\\b2.mp3", {{"D:\\m\\b2.mp3", "T", 5000}}},
      {"path that looks like a comment",
       "#EXTINF:5,T\n#1 Hits\\b3.mp3",
       {{"D:\\lists\\#1 Hits\\b3.mp3", "T", 5000}}},
      {"two infos", "#EXTINF:5,T\n#EXTINF:6,U\nD:\\m\\b4.mp3", {{"D:\\m\\b4.mp3", "U", 6000}}},
      {"wraps around",
       "#EXTINF:99999999999999999999,T\nD:\\m\\b5.mp3",
       {{"D:\\m\\b5.mp3", "T", static_cast<int32_t>(1661992959u * 1000u)}}},
      {"byte-order mark",
       "\xEF\xBB\xBF"
       "D:\\m\\\xE6\x9C\x88.mp3",
       {{"D:\\m\\\xD4\xC2.mp3", "\xD4\xC2.mp3", -2}}},
      {"trail bytes",
       "D:\\m\\" + kBackslashTrail + "\x81\x23.mp3",
       {{"D:\\m\\" + kBackslashTrail + "\x81\x23.mp3", kBackslashTrail + "\x81\x23.mp3", -2}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto list = Playlist::Create();
    const ListReadResult result = ReadM3u(Bytes(c.text), M3uText::kGbk, InLists(), *list);
    EXPECT_TRUE(result.complete);
    EXPECT_EQ(result.entries, c.want.size());
    ExpectEntries(*list, c.want);
  }
  const auto list = Playlist::Create();
  EXPECT_FALSE(ReadM3u({}, M3uText::kGbk, InLists(), *list).recognised);
  EXPECT_FALSE(ReadM3u(Bytes("a\n"), M3uText::kUtf8, InLists(), *list).recognised);
}

TEST(M3u, WritesWhatTheFormatHolds) {
  const auto list = Playlist::Create();
  list->Append(MakeItem("D:\\lists\\w1.mp3", "Two\r\nlines", 1999));
  list->Append(MakeItem("D:\\lists\\w2.mp3", "No length"));
  list->Append(MakeItem("D:\\lists\\w3.mp3", "", 1000));
  list->Append(MakeItem("D:\\lists\\#4.mp3", ""));
  list->Append(MakeItem("E:\\\xD4\xC2.mp3", "\xD4\xC2", 0));
  const RelativeBase base("D:\\Lists\\x.m3u");
  EXPECT_EQ(WriteM3u(*list, M3uText::kGbk, base),
            "#EXTM3U\r\n#EXTINF:1,Two  lines\r\nw1.mp3\r\nw2.mp3\r\nw3.mp3\r\nD:\\lists\\#4.mp3\r\n"
            "#EXTINF:0,\xD4\xC2\r\nE:\\\xD4\xC2.mp3\r\n");
  EXPECT_EQ(WriteM3u(*Playlist::Create(), M3uText::kUtf8, base), "\xEF\xBB\xBF#EXTM3U\r\n");
}

TEST(M3u, SheetsAndBadFiles) {
  ListReading reading = InLists();
  reading.read_sheet = [](const std::string& path) {
    EXPECT_EQ(path, "D:\\lists\\disc.CUE");
    SheetTrack one;
    one.number = 1;
    one.title_gbk = "First";
    one.duration_ms = 1000;
    one.tags.Add("Artist", "Somebody");
    SheetTrack two;
    two.number = 2;
    two.title_gbk = "Second";
    return std::vector<SheetTrack>{one, two};
  };
  reading.exists = [](const std::string& path) { return path != "D:\\lists\\missing.mp3"; };
  const auto list = Playlist::Create();
  ReadM3u(Bytes("disc.CUE\nmissing.mp3\nhere.mp3\n"), M3uText::kGbk, reading, *list);
  ExpectEntries(*list, {{"D:\\lists\\disc.CUE", "First", 1000},
                        {"D:\\lists\\disc.CUE", "Second", -2},
                        {"D:\\lists\\here.mp3", "here.mp3", -2}});
  EXPECT_EQ(list->At(1)->Subtrack(), 2u);
  EXPECT_EQ(list->At(0)->TagValue("artist"), "Somebody");
}

std::string Mzpl(const std::string& items, const std::string& root = "version=\"3\"") {
  return "<?xml version=\"1.0\"?>\n<mzplaylist " + root + ">\n<items count=\"99999999\">" + items +
         "</items></mzplaylist>";
}

TEST(Mzpl, ReadsItemsWithWhatIsKnownOfThem) {
  const auto list = Playlist::Create("Old");
  const ListReadResult result =
      ReadMzpl(Bytes(Mzpl("<item file='D:\\x\\p1.mp3' title='T &amp; U' len='1234' ftm='4a0Fb' subtk='7'>"
                          "<fmt cod='MP3|x' wfx=' 44100, 2,16,320' rpg='-3.5 dB'/><tag Artist='\xE6\x9C\x88' "
                          "Empty=''/></item>"
                          "<item file='p2.mp3'><fmt wfx='1,2,3'/></item><item title='no file'/>"
                          "<item file='D:\\x\\p3.mp3'/>",
                          "title='\xE6\x9C\x88' version='2'")),
               InLists(), *list);
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(list->NameGbk(), "\xD4\xC2");
  ExpectEntries(*list, {{"D:\\x\\p1.mp3", "T & U", 1234},
                        {"D:\\lists\\p2.mp3", "p2.mp3", -2},
                        {"D:\\x\\p3.mp3", "p3.mp3", -2}});
  const PlayListItem& item = *list->At(0);
  EXPECT_EQ(item.Subtrack(), 7u);
  EXPECT_EQ(item.TimeStamp(), 0x4A0FBu);
  EXPECT_EQ(item.CodecGbk(), "MP3|x");
  EXPECT_EQ(item.Format(), (StreamFormat{44100, 2, 16, 320000}));
  EXPECT_EQ(item.TagValue("replaygain_track_gain"), "-3.5 dB");
  EXPECT_EQ(item.TagValue("artist"), "\xE6\x9C\x88");
  EXPECT_EQ(item.TagCount(), 2u);
  EXPECT_EQ(list->At(1)->Format(), StreamFormat());
}

TEST(Mzpl, AcceptsVersionsUpToThree) {
  struct Case {
    const char* root;
    bool accepted;
  };
  for (const Case& c : {Case{"version='1'", true},
                        {"version='3'", true},
                        {"version='0'", true},
                        {"version='4'", false},
                        {"", false},
                        {"version='-1'", false}}) {
    SCOPED_TRACE(c.root);
    const auto list = Playlist::Create();
    EXPECT_EQ(ReadMzpl(Bytes(Mzpl("<item file='D:\\x\\v.mp3'/>", c.root)), InLists(), *list).complete,
              c.accepted);
    EXPECT_EQ(list->Size(), c.accepted ? 1u : 0u);
  }
  const auto list = Playlist::Create();
  EXPECT_FALSE(ReadMzpl(Bytes("<other/>"), InLists(), *list).recognised);
  EXPECT_FALSE(ReadMzpl({}, InLists(), *list).recognised);
}

TEST(Mzpl, KeepsWhatWasReadBeforeAFault) {
  const auto list = Playlist::Create();
  const ListReadResult result = ReadMzpl(
      Bytes("<mzplaylist version='3'><items><item file='D:\\x\\k.mp3'/><item file='D:\\x"), InLists(), *list);
  EXPECT_TRUE(result.recognised);
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(list->Size(), 1u);
}

TEST(Mzpl, ReadsTheNameOnly) {
  const auto list = Playlist::Create();
  ListReading reading = InLists();
  reading.name_only = true;
  const std::string text = Mzpl("<item file='D:\\x\\n.mp3'/>", "version='3' title='Name'");
  EXPECT_TRUE(ReadMzpl(Bytes(text.substr(0, text.size() - 20)), reading, *list).recognised);
  EXPECT_EQ(list->NameGbk(), "Name");
  EXPECT_TRUE(list->IsEmpty());
}

TEST(Mzpl, VersionOneKeepsASheetsTrackInItsTag) {
  const auto list = Playlist::Create();
  const std::string items =
      "<item file='D:\\x\\one.Cue' title='A' len='10' ftm='5'><fmt cod='C|c' wfx='8000,1,8,64'/><tag "
      "Tracknumber='3' Title='A'/></item>"
      "<item file='D:\\x\\one.Cue' title='B'><tag Tracknumber='4'/></item>"
      "<item file='D:\\x\\one.Cue' title='C' subtk='9'><tag Tracknumber='5'/></item>"
      "<item file='D:\\x\\one.Cue' title='D'><tag Title='none'/></item>"
      "<item file='D:\\x\\song.mp3'><tag Tracknumber='6'/></item>";
  ReadMzpl(Bytes(Mzpl(items, "version='1'")), InLists(), *list);
  ASSERT_EQ(list->Size(), 5u);
  const uint32_t want[] = {3, 4, 9, 0, 0};
  for (size_t i = 0; i < 5; ++i)
    EXPECT_EQ(list->At(i)->Subtrack(), want[i]) << i;
  EXPECT_EQ(list->At(0)->TitleGbk(), "A");
  EXPECT_EQ(list->At(0)->DurationMs(), 10);
  EXPECT_EQ(list->At(0)->TimeStamp(), 5u);
  EXPECT_EQ(list->At(0)->CodecGbk(), "C|c");
  EXPECT_EQ(list->At(0)->Format().bit_rate, 64000u);
  EXPECT_EQ(list->At(0)->TagValue("Title"), "A");
  EXPECT_EQ(list->At(1)->TitleGbk(), "B");

  const auto newer = Playlist::Create();
  ReadMzpl(Bytes(Mzpl("<item file='D:\\x\\two.cue'><tag Tracknumber='3'/></item>", "version='2'")), InLists(),
           *newer);
  EXPECT_EQ(newer->At(0)->Subtrack(), 0u);
}

/// A list with everything that the formats can hold.
ComPtr<Playlist> RichList() {
  auto list = Playlist::Create("\xD4\xC2 & <1>");
  ItemRef item = MakeItem("D:\\lists\\r1.mp3", "R&B", 61001, 300);
  item->SetCodec("MP3|MPEG 1 - Layer 3");
  item->SetFormat({44100, 2, 16, 320000});
  item->SetTimeStamp(0xDEADBEEF);
  TagFields tags;
  tags.Add("Artist", "\xE6\x9C\x88 \"<&>'");
  tags.Add("replaygain_track_gain", "-1.00 dB");
  tags.Add("not a name", "kept by .mzbl only");
  item->SetTags(tags);
  list->Append(item);
  list->Append(MakeItem("E:\\r2.mp3"));
  list->Append(item);
  return list;
}

TEST(Mzpl, WritesTheDocument) {
  const auto list = RichList();
  const std::string head =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n"
      "<mzplaylist title=\"\xE6\x9C\x88 &amp; &lt;1&gt;\" version=\"3\" generator=\"Melorin -- 4.2.0\">\r\n";
  const std::string rest =
      "\t\t<item file=\"E:\\r2.mp3\"/>\r\n"
      "\t\t<item file=\"r1.mp3\" subtk=\"300\"/>\r\n"
      "\t</items>\r\n"
      "</mzplaylist>\r\n";
  const RelativeBase base("D:\\lists\\l.mzpl");
  EXPECT_EQ(
      WriteMzpl(*list, base, true),
      head +
          "\t<items count=\"3\">\r\n"
          "\t\t<item file=\"r1.mp3\" subtk=\"300\" title=\"R&amp;B\" len=\"61001\" ftm=\"deadbeef\">\r\n"
          "\t\t\t<fmt cod=\"MP3|MPEG 1 - Layer 3\" wfx=\"44100,2,16,320\" rpg=\"-1.00 dB\"/>\r\n"
          "\t\t\t<tag Artist=\"\xE6\x9C\x88 &quot;&lt;&amp;&gt;&apos;\"/>\r\n"
          "\t\t</item>\r\n" +
          rest);
  EXPECT_EQ(WriteMzpl(*list, base, false), head +
                                               "\t<items count=\"3\">\r\n\t\t<item file=\"r1.mp3\" "
                                               "subtk=\"300\" title=\"R&amp;B\" len=\"61001\"/>\r\n" +
                                               rest);
  list->Clear();
  EXPECT_EQ(WriteMzpl(*list, base, true), head + "\t<items/>\r\n</mzplaylist>\r\n");
}

TEST(Mzbl, WritesTheBytes) {
  const auto list = RichList();
  const auto string = [](const std::string& text) {
    return std::string({static_cast<char>(text.size()), 0, 0, 0}) + text;
  };
  using namespace std::string_literals;
  const std::string head = "MZBL\1\0\0\0\xE9\xFD\0\0"s + string("\xE6\x9C\x88 & <1>");
  const std::string first = string("D:\\lists\\r1.mp3");
  const std::string common = "\x2C\x01"s + string("R&B") + "\x49\xEE\0\0"s;
  const std::string second = string("E:\\r2.mp3");
  const std::string third = string("D:\\lists\\r1.mp3") + "\1\0\x2C\x01"s;
  EXPECT_EQ(Text(WriteMzbl(*list, false)), head + first + "\7\0"s + common + second + "\0\0"s + third);
  const std::string info =
      "\xEF\xBE\xAD\xDE"s + string("MP3|MPEG 1 - Layer 3") + "\x44\xAC\0\0\2\0\x10\0\0\xE2\4\0"s;
  const std::string tags = "\3\0"s + string("Artist") + string("\xE6\x9C\x88 \"<&>'") +
                           string("replaygain_track_gain") + string("-1.00 dB") + string("not a name") +
                           string("kept by .mzbl only");
  EXPECT_EQ(Text(WriteMzbl(*list, true)),
            head + first + "\x3F\0"s + common + info + tags + second + "\x08\0\0\0\0\0"s + third);
}

TEST(Mzbl, RefusesForeignHeaders) {
  using namespace std::string_literals;
  const std::string name = "\1\0\0\0N"s;
  struct Case {
    const char* what;
    std::string text;
    bool accepted;
  };
  for (const Case& c : {Case{"utf-8", "MZBL\1\0\0\0\xE9\xFD\0\0"s + name, true},
                        {"gbk", "MZBL\1\0\0\0\xA8\3\0\0"s + name, true},
                        {"magic", "MZBX\1\0\0\0\xE9\xFD\0\0"s + name, false},
                        {"version", "MZBL\2\0\0\0\xE9\xFD\0\0"s + name, false},
                        {"code page", "MZBL\1\0\0\0\xE4\4\0\0"s + name, false},
                        {"name past the end", "MZBL\1\0\0\0\xE9\xFD\0\0\2\0\0\0N"s, false},
                        {"negative", "MZBL\1\0\0\0\xE9\xFD\0\0\xFF\xFF\xFF\xFFN"s, false},
                        {"empty", "", false}}) {
    SCOPED_TRACE(c.what);
    const auto list = Playlist::Create("Old");
    EXPECT_EQ(ReadMzbl(Bytes(c.text), InLists(), *list).recognised, c.accepted);
    EXPECT_EQ(list->NameGbk(), c.accepted ? "N" : "Old");
  }
}

TEST(Mzbl, ReadsGbkFilesAndDropsBadOnesWithTheirFields) {
  using namespace std::string_literals;
  const std::string text =
      "MZBL\1\0\0\0\xA8\3\0\0\2\0\0\0\xD4\xC2"s + "\x0A\0\0\0D:\\bad.mp3\x06\0\1\0\0\0t\1\0\0\0"s +
      "\x08\0\0\0D:\\\xD4\xC2.mp\x22\0\2\0\0\0\xD4\xC2"s + "\1\0\6\0\0\0Artist\2\0\0\0\xD4\xC2"s;
  ListReading reading = InLists();
  reading.exists = [](const std::string& path) { return path != "D:\\bad.mp3"; };
  const auto list = Playlist::Create();
  EXPECT_TRUE(ReadMzbl(Bytes(text), reading, *list).complete);
  EXPECT_EQ(list->NameGbk(), "\xD4\xC2");
  ExpectEntries(*list, {{"D:\\\xD4\xC2.mp", "\xD4\xC2", -2}});
  EXPECT_EQ(list->At(0)->TagValue("Artist"), "\xE6\x9C\x88");
}

TEST(Mzbl, EveryPrefixGivesTheEntriesThatAreWhole) {
  std::vector<uint8_t> bytes;
  { bytes = WriteMzbl(*RichList(), true); }
  size_t last = 0;
  for (size_t size = 0; size <= bytes.size(); ++size) {
    const auto list = Playlist::Create();
    const ListReadResult result = ReadMzbl({bytes.data(), size}, InLists(), *list);
    EXPECT_GE(list->Size(), last) << size;
    EXPECT_EQ(result.entries, list->Size());
    last = list->Size();
  }
  EXPECT_EQ(last, 3u);
}

TEST(ListFormats, LongTagsComeBackBesideTheGain) {
  std::string text;
  {
    const auto list = Playlist::Create();
    list->Append(MakeItem("D:\\a.mp3"));
    list->At(0)->SetTag("replaygain_track_gain", "-3 dB");
    list->At(0)->SetTag("Lyrics", std::string(20000, 'x'));
    text = WriteMzpl(*list, {}, true);
  }
  const auto read = Playlist::Create();
  EXPECT_TRUE(ReadMzpl(Bytes(text), InLists(), *read).complete);
  ASSERT_EQ(read->Size(), 1u);
  EXPECT_EQ(read->At(0)->TagValue("replaygain_track_gain"), "-3 dB");
  EXPECT_EQ(read->At(0)->TagValue("Lyrics").size(), 20000u);
}

TEST(ListFormats, NamesOfEveryKindComeBack) {
  const std::vector<std::string> names = {Gbk("月亮"),
                                          Gbk("caf\xC3\xA9"),
                                          Gbk("ひらがな カタカナ"),
                                          Gbk("한국어"),
                                          Gbk("emoji \xF0\x9F\x8E\xB5"),
                                          Gbk("乗\\丄\\乤 100%"),
                                          Gbk("#1, <a> & 'b'"),
                                          Gbk("Ａｂ Ωж №")};
  std::vector<Want> want;
  std::vector<std::string> texts;
  std::vector<uint8_t> binary;
  {
    const auto list = Playlist::Create();
    for (const std::string& name : names) {
      want.push_back({"D:\\lists\\" + name + ".mp3", name, 5000});
      list->Append(MakeItem(want.back().path, name, 5000));
    }
    const RelativeBase base("D:\\lists\\l.x");
    texts = {WriteM3u(*list, M3uText::kGbk, base), WriteM3u(*list, M3uText::kUtf8, base),
             WriteMzpl(*list, base, true)};
    binary = WriteMzbl(*list, true);
  }
  const auto read = [&](auto reader) {
    const auto list = Playlist::Create();
    reader(*list);
    ExpectEntries(*list, want);
  };
  read([&](Playlist& list) { ReadM3u(Bytes(texts[0]), M3uText::kGbk, InLists(), list); });
  read([&](Playlist& list) { ReadM3u(Bytes(texts[1]), M3uText::kUtf8, InLists(), list); });
  read([&](Playlist& list) { ReadMzpl(Bytes(texts[2]), InLists(), list); });
  read([&](Playlist& list) { ReadMzbl(binary, InLists(), list); });
}

}  // namespace
}  // namespace melorin
