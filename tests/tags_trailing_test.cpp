// SPDX-License-Identifier: MIT
//
// Tags at the end of a file: ID3v1, APE, Lyrics3, the passes that find them and the merge.
#include <gtest/gtest.h>

#include "tags/id3v1.h"
#include "tests/tags_build.h"

namespace melorin {
namespace {

using namespace tag_build;
using Map = std::map<std::string, std::string>;

TEST(Id3v1, ReadsItsFields) {
  struct Case {
    const char* name;
    Id3v1 tag;
    Map want;
  };
  const std::string thirty = "123456789012345678901234567890";
  const Case cases[] = {
      {"all",
       {"T", "A", "L", "2001", "C", 0, 7, 17},
       {{"Title", "T"},
        {"Artist", "A"},
        {"Album", "L"},
        {"Date", "2001"},
        {"Comment", "C"},
        {"Tracknumber", "7"},
        {"Genre", "Rock"}}},
      {"filled with spaces", {"Ab c", "", "", "", "", 0, 0, 255, ' '}, {{"Title", "Ab c"}}},
      {"full fields", {thirty, "", "", "", "", 0, 0, 147}, {{"Title", thirty}, {"Genre", "Synthpop"}}},
      {"comment of 30 bytes has no track",
       {"", "", "", "", "1234567890123456789012345678AB", 'A', 'B'},
       {{"Comment", "1234567890123456789012345678AB"}}},
      {"comment stops before the track",
       {"", "", "", "", "1234567890123456789012345678", 0, '\xFF'},
       {{"Comment", "1234567890123456789012345678"}, {"Tracknumber", "255"}}},
      {"no such genre", {"", "", "", "", "", 0, 0, 148}, {}},
      {"gbk", {"\xC4\xE3\xBA\xC3"}, {{"Title", "你好"}}},
      {"gbk cut inside a character",
       {"1\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3\xC4\xE3"
        "\xC4\xE3\xC4\xE3\xC4"},
       {{"Title", "1你你你你你你你你你你你你你你"}}},
      {"what is no gbk is western",
       {"Caf\xE9", "Beyonc\xE9 Knowles"},
       {{"Title", "Café"}, {"Artist", "Beyoncé Knowles"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Read read = ReadAll(Audio() + c.tag.Build());
    EXPECT_EQ(read.Map(), c.want);
    EXPECT_EQ(read.scan.flags, kTagId3v1);
    EXPECT_EQ(read.scan.audio_end, 600);
  }
  EXPECT_EQ(ReadAll(Id3v1{"T"}.Build().substr(1)).scan.flags, 0u) << "a file of 127 bytes";
  EXPECT_EQ(ReadAll(Id3v1{"T"}.Build())["Title"], "T") << "a file of nothing else";
}

TEST(Genres, NumbersBecomeNames) {
  const std::pair<const char*, const char*> cases[] = {{"(0)", "Blues"},
                                                       {"147", "Synthpop"},
                                                       {"(17)", "Rock"},
                                                       {"017", "Rock"},
                                                       {"148", "148"},
                                                       {"(255)", "(255)"},
                                                       {"(17)Rock", "(17)Rock"},
                                                       {"(RX)", "(RX)"},
                                                       {"()", "()"},
                                                       {"", ""},
                                                       {"-1", "-1"},
                                                       {"1 ", "1 "},
                                                       {"9999999999999", "9999999999999"}};
  for (const auto& [text, want] : cases)
    EXPECT_EQ(ResolveGenre(text), want);
}

TEST(Ape, ReadsTextItems) {
  const std::vector<std::string> items = {ApeItem("TITLE", "标题"),
                                          ApeItem("Artist", "A\0\0B"s),
                                          ApeItem("Year", "1999"),
                                          ApeItem("Track", "3/9"),
                                          ApeItem("Cover Art (Front)", "x.jpg\0\xFF\xD8"s, 2),
                                          ApeItem("REPLAYGAIN_TRACK_GAIN", "-6.20 dB"),
                                          ApeItem("Unsynced Lyrics", "la\nla"),
                                          ApeItem("Mood", "sad"),
                                          ApeItem("Album", "")};
  const Map want = {{"Title", "标题"},
                    {"Artist", "A/B"},
                    {"Date", "1999"},
                    {"Tracknumber", "3/9"},
                    {"replaygain_track_gain", "-6.20 dB"},
                    {"Lyrics", "la\nla"},
                    {"Mood", "sad"}};
  for (const int version : {1000, 2000}) {
    SCOPED_TRACE(version);
    std::vector<std::string> these = items;
    if (version == 1000) these.erase(these.begin() + 4);
    const Read read = ReadAll(Audio() + Ape(these, version));
    EXPECT_EQ(read.Map(), want);
    EXPECT_EQ(read.scan.flags, kTagApeV2);
    EXPECT_EQ(read.scan.audio_end, 600);
  }
  EXPECT_EQ(ReadAll(Ape({ApeItem("Title", "\xC4\xE3\xBA\xC3")}, 1000))["Title"], "你好");
}

TEST(Ape, RefusesSizesThatDoNotFit) {
  const std::string good = Ape({ApeItem("Title", "T")});
  struct Case {
    const char* name;
    size_t from_end;
    std::string bytes;
    uint32_t flags;
  };
  const Case cases[] = {{"size beyond the start", 20, Number(100000, 4, 8, false), 0},
                        {"size of 4 GB", 20, Number(0xFFFFFFFF, 4, 8, false), 0},
                        {"size below the footer", 20, Number(31, 4, 8, false), 0},
                        {"more items than there are", 16, Number(0xFFFFFFFF, 4, 8, false), kTagApeV2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string file = Audio() + good;
    file.replace(file.size() - c.from_end, 4, c.bytes);
    EXPECT_EQ(ReadAll(file).scan.flags, c.flags);
  }
  std::string item = ApeItem("Title", "T");
  item.replace(0, 4, Number(0x7FFFFFFF, 4, 8, false));
  const Read read = ReadAll(Audio() + Ape({ApeItem("Artist", "A"), item}));
  EXPECT_EQ(read.Map(), (Map{{"Artist", "A"}}));
}

TEST(Lyrics3, ReadsBothVersions) {
  const Read read = ReadAll(Audio() + Lyrics3v2({{"IND", "110"},
                                                 {"LYR", "[00:01]la\r\n\xC4\xE3\xBA\xC3\r\n"},
                                                 {"INF", "info"},
                                                 {"AUT", "author"},
                                                 {"EAL", "album"},
                                                 {"EAR", "artist"},
                                                 {"ETT", "title"},
                                                 {"IMG", "x.jpg"}}));
  EXPECT_EQ(read.Map(), (Map{{"Lyrics", "[00:01]la\r\n你好"},
                             {"Comment", "info"},
                             {"Composer", "author"},
                             {"Album", "album"},
                             {"Artist", "artist"},
                             {"Title", "title"}}));
  EXPECT_EQ(read.scan.flags, kTagLyrics3v2);
  EXPECT_EQ(read.scan.audio_end, 600);

  const Read old = ReadAll(Audio() + "LYRICSBEGINla la\r\nLYRICSEND" + Id3v1{"T"}.Build());
  EXPECT_EQ(old.Map(), (Map{{"Lyrics", "la la"}, {"Title", "T"}}));
  EXPECT_EQ(old.scan.flags, kTagId3v1);
  EXPECT_EQ(old.scan.audio_end, 600);

  EXPECT_EQ(ReadAll(Audio() + "LYRICSBEGIN999999LYRICS200").scan.flags, 0u);
  EXPECT_EQ(ReadAll(Audio() + "LYRICSBEGIN00001-LYRICS200").scan.flags, 0u);
  EXPECT_EQ(ReadAll("LYRICSBEGINLYR99999la000021LYRICS200")["Lyrics"], "la")
      << "a field that claims too much";
}

TEST(TagScan, FindsTrailingTagsInAnyOrderAndNumber) {
  const std::string tags[] = {Ape({ApeItem("Title", "T"), ApeItem("Genre", "G")}), Lyrics3v2({{"LYR", "la"}}),
                              Id3v1{"Ti", "Artist"}.Build()};
  int order[] = {0, 1, 2};
  do {
    for (const size_t audio : {size_t{600}, size_t{20000}}) {
      SCOPED_TRACE(testing::Message() << order[0] << order[1] << order[2] << " after " << audio);
      std::string file = Audio(audio);
      for (const int i : order)
        file += tags[i];
      const Read read = ReadAll(file + file.substr(audio));
      EXPECT_EQ(read.scan.flags, kTagApeV2 | kTagLyrics3v2 | kTagId3v1);
      EXPECT_EQ(read.scan.audio_start, 0);
      EXPECT_EQ(read.scan.audio_end, static_cast<int64_t>(audio));
      EXPECT_EQ(read.Map(), (Map{{"Title", "Ti"}, {"Genre", "G"}, {"Lyrics", "la"}, {"Artist", "Artist"}}));
    }
  } while (std::next_permutation(std::begin(order), std::end(order)));
}

TEST(TagScan, MergesByPriority) {
  const std::string id3 = Id3v2(3, Frame(3, "TIT2", "\0Id3"s) + Frame(3, "TRCK", "\0001"s) +
                                       Frame(3, "TALB", "\0Same length as in the old one"s));
  const std::string ape = Ape({ApeItem("Title", "Ape"), ApeItem("Artist", "A")});
  const std::string old = Id3v1{"Id3", "Artist", "Album                       X", "", "", 0, 99, 8}.Build();
  const std::string file = id3 + Audio() + ape + old;
  const Map common = {{"Tracknumber", "1"},
                      {"Artist", "Artist"},
                      {"Album", "Same length as in the old one"},
                      {"Genre", "Jazz"}};

  Map want = common;
  want["Title"] = "Id3";
  EXPECT_EQ(ReadAll(file).Map(), want);
  EXPECT_EQ(ReadAll(file).scan.flags, kTagId3v2 | kTagApeV2 | kTagId3v1);
  want["Title"] = "Ape";
  EXPECT_EQ(ReadAll(file, 0, TagPriority::kApeFirst).Map(), want);
  EXPECT_EQ(ReadAll(ape + Id3v1{"Longer"}.Build())["Title"], "Longer");

  // Only the kinds that are asked for, in a file where they are in reach.
  EXPECT_EQ(ReadAll(file, kTagId3v2).scan.flags, kTagId3v2);
  EXPECT_EQ(ReadAll(file, kTagApeV2).scan.flags, 0u) << "behind an ID3v1 tag that nobody looks for";
  EXPECT_EQ(ReadAll(Audio() + ape, kTagApeV2).scan.flags, kTagApeV2);
}

TEST(TagScan, SurvivesEveryPrefixAndEveryCutFromTheFront) {
  const std::string tail = Lyrics3v2({{"LYR", "la"}, {"EAR", "artist"}}) +
                           Ape({ApeItem("Title", "T"), ApeItem("Year", "1999")}) + Id3v1{"T"}.Build();
  const std::string file =
      Id3v2(4, Frame(4, "TIT2", "\3T"s) + Frame(4, "COMM", "\1eng\xFF\xFE\0\0\xFF\xFEx\0"s), 0x10) +
      Audio(40) + tail;
  for (size_t cut = 0; cut <= file.size(); ++cut) {
    for (const std::string& part : {file.substr(0, cut), file.substr(cut)}) {
      const Read read = ReadAll(part);
      ASSERT_LE(0, read.scan.audio_start);
      ASSERT_LE(read.scan.audio_start, read.scan.audio_end);
      ASSERT_LE(read.scan.audio_end, static_cast<int64_t>(part.size()));
    }
  }
}

/// Counts what the scan asks of the file.
class CountingSource final : public ByteSource {
 public:
  explicit CountingSource(const std::string& file) : memory_(Bytes(file)) {}
  int64_t Size() override { return memory_.Size(); }
  size_t ReadAt(int64_t offset, std::span<uint8_t> data) override {
    ++reads;
    bytes += data.size();
    return memory_.ReadAt(offset, data);
  }
  size_t reads = 0;
  size_t bytes = 0;

 private:
  MemoryByteSource memory_;
};

TEST(TagScan, ReadsLittle) {
  const std::string text = Frame(3, "TIT2", "\0T"s);
  const std::string picture = Frame(3, "APIC", "\0image/jpeg\0\3\0"s + std::string(2000000, 'x'));
  const std::string tail =
      Ape({ApeItem("Title", "T"), ApeItem("Cover", std::string(500, 'x'), 2)}) + Id3v1{"T"}.Build();
  struct Case {
    const char* name;
    std::string file;
    size_t reads;
    size_t bytes;
  };
  const Case cases[] = {
      {"no tags", Audio(100000), 2, 8192},
      {"small tags", Id3v2(3, text + std::string(1000, '\0')) + Audio(100000) + tail, 2, 8192},
      {"small file", text, 1, 4096},
      {"large picture is stepped over", Id3v2(3, picture + text) + Audio(100000) + tail, 3, 17000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CountingSource source(c.file);
    TagFields fields;
    ReadTags(source, 0, fields);
    EXPECT_LE(source.reads, c.reads);
    EXPECT_LE(source.bytes, c.bytes);
  }
}

TEST(TagScan, EndlessChainsCostTimeInProportion) {
  // Forty thousand tags, and tags with very many fields: done in seconds even under a sanitizer, or the time
  // limit of the test ends it.
  std::string chain = Audio(100);
  for (int i = 0; i < 20000; ++i)
    chain += Ape({}, 1000) + Id3v1{"T"}.Build();
  EXPECT_EQ(ReadAll(chain).scan.audio_end, 100);

  std::vector<std::string> items;
  for (int i = 0; i < 200000; ++i)
    items.push_back(ApeItem("Key" + std::to_string(i), "v"));
  std::string frames;
  for (int i = 0; i < 200000; ++i)
    frames += Frame(3, "TXXX", "\0k"s + std::to_string(i) + "\0v"s);
  const Read read = ReadAll(Id3v2(3, frames) + Audio() + Ape(items));
  EXPECT_GE(read.fields.size(), 100u);
  EXPECT_LE(read.fields.size(), 1024u);
  EXPECT_EQ(read.scan.audio_end - read.scan.audio_start, 600);
}

}  // namespace
}  // namespace melorin
