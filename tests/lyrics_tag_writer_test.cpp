// SPDX-License-Identifier: MIT
#include "lyrics/lyric_tag_writer.h"

#include <gtest/gtest.h>

#include "lyrics/ape_lyric.h"
#include "lyrics/lyric_tags.h"
#include "platform/file.h"
#include "platform/text.h"
#include "tags/byte_source.h"
#include "tags_build.h"

namespace melorin {
namespace {

using namespace std::string_literals;
using tag_build::Ape;
using tag_build::ApeItem;
using tag_build::Frame;
using tag_build::Id3v2;

std::string TextOf(const std::vector<uint8_t>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A lyric frame as other programs write it.
std::string Lyric(int version, const std::string& text) {
  return Frame(version, version == 2 ? "ULT" : "USLT", "\0eng\0"s + text);
}

std::string Picture(int version) {
  return Frame(version, version == 2 ? "PIC" : "APIC", "\0image\0\3\0"s + std::string(300, '\xFF'));
}

std::string Title(int version) {
  return Frame(version, version == 2 ? "TT2" : "TIT2", "\0title"s);
}

/// What the player reads of a file: title and lyric.
std::string ReadBack(const std::string& file) {
  MemoryByteSource source(tag_build::Bytes(file));
  TagFields fields;
  ReadTags(source, 0, fields);
  const std::string* title = fields.Find("Title");
  LyricDoc doc;
  LyricFromTags(doc, fields);
  std::string result = title ? *title : "-";
  for (const LyricLine& line : doc.Lines())
    result += " " + std::to_string(line.time_ms) + ":" + Utf8FromGbk(line.text_gbk);
  return result;
}

TEST(LyricsTagWriter, KeepsEverythingElse) {
  constexpr char16_t kNew[] = u"[00:01.00]\u4F60\u597D\r\n[00:02.00]b\r\n";
  const std::string audio = tag_build::Audio();
  for (const int version : {2, 3, 4}) {
    const struct {
      std::string frames;
      bool in_place;
    } cases[] = {{Title(version) + Picture(version), false},
                 {Title(version) + std::string(500, '\0'), true},
                 {Title(version) + Lyric(version, "[00:05.00]old\n") + Picture(version), false},
                 {Lyric(version, std::string(400, 'x')) + Title(version) + Lyric(version, "second"), true}};
    for (const auto& test : cases) {
      const std::string file = Id3v2(version, test.frames) + audio;
      const auto head = HeadWithLyric(tag_build::Bytes(file), kNew);
      ASSERT_TRUE(head);
      EXPECT_EQ(head->old_size, file.size() - audio.size());
      EXPECT_EQ(head->bytes.size() == head->old_size, test.in_place);
      const std::string written = TextOf(head->bytes) + file.substr(head->old_size);
      EXPECT_EQ(ReadBack(written), "title 1000:\u4F60\u597D 2000:b") << version;
      for (const std::string& kept : {Picture(version), Lyric(version, "second")})
        EXPECT_EQ(written.find(kept) != std::string::npos, file.find(kept) != std::string::npos);
      EXPECT_TRUE(written.ends_with(audio));
      // And out again.
      const auto without = HeadWithLyric(tag_build::Bytes(written), {});
      ASSERT_TRUE(without);
      EXPECT_EQ(without->bytes.size(), head->bytes.size()) << "a tag never shrinks";
      EXPECT_EQ(ReadBack(TextOf(without->bytes) + audio), "title");
    }
  }
  const auto made = HeadWithLyric({}, kNew);
  ASSERT_TRUE(made);
  EXPECT_EQ(made->old_size, 0u);
  EXPECT_EQ(ReadBack(TextOf(made->bytes) + audio), "- 1000:\u4F60\u597D 2000:b");
}

TEST(LyricsTagWriter, LeavesWhatItDoesNotUnderstand) {
  const std::string good = Id3v2(3, Title(3));
  std::string too_long = good;
  too_long[9] = 0x7F;
  std::string version5 = good;
  version5[3] = 5;
  std::string long_frame = good;
  long_frame[10 + 7] = 0x7F;
  for (const std::string& tag :
       {Id3v2(3, Title(3), 0x80), Id3v2(3, Title(3), 0x40), Id3v2(4, Title(4), 0x10), too_long, version5,
        long_frame, Id3v2(3, "tit2\0\0\0\1\0\0x"s), Id3v2(3, Title(3) + "\0\0\0junk"s)})
    EXPECT_FALSE(HeadWithLyric(tag_build::Bytes(tag), u"x"));
  EXPECT_FALSE(CanWriteLyricTag("a.wav"));
  EXPECT_TRUE(CanWriteLyricTag("C:\\a.b\\c.MP3"));
}

TEST(LyricsTagWriter, KeepsTheOtherItemsOfApe) {
  constexpr char16_t kNew[] = u"[00:01.00]\u4F60\u597D\r\n";
  const std::string audio = tag_build::Audio();
  const std::string id3v1 = tag_build::Id3v1{}.Build();
  const std::string title = ApeItem("TITLE", "title");
  const std::string cover = ApeItem("Cover Art (Front)", std::string(300, '\0'), 2);
  for (const std::string& behind : {""s, id3v1}) {
    for (const std::string& tag : {Ape({title, cover}), Ape({title, ApeItem("LYRICS", "old"), cover,
                                                             ApeItem("Unsyncedlyrics", "2")})}) {
      const std::string file = audio + tag + behind;
      const auto tail = TailWithLyric(tag_build::Bytes(file), kNew);
      ASSERT_TRUE(tail);
      EXPECT_EQ(tail->old_size, tag.size() + behind.size());
      const std::string written = audio + TextOf(tail->bytes);
      EXPECT_EQ(ReadBack(written), "title 1000:\u4F60\u597D");
      EXPECT_NE(written.find(cover), std::string::npos);
      EXPECT_TRUE(written.ends_with(behind));
      // And out again.
      const auto without = TailWithLyric(tag_build::Bytes(written), {});
      ASSERT_TRUE(without);
      EXPECT_EQ(TextOf(without->bytes), Ape({title, cover}) + behind);
    }
    const auto made = TailWithLyric(tag_build::Bytes(audio + behind), kNew);
    ASSERT_TRUE(made);
    const auto gone = TailWithLyric(made->bytes, {});
    ASSERT_TRUE(gone);
    EXPECT_EQ(TextOf(gone->bytes), behind) << "no empty tag stays";
  }
  // What is damaged, or would come to stand behind other tags, stays as it is.
  std::string long_item = Ape({title});
  long_item[32] = '\x7F';
  std::string more_items = Ape({title});
  more_items[more_items.size() - 16] = 2;
  for (const std::string& tag : {long_item, more_items, Ape({title}, 1000), "LYRICSBEGIN...LYRICS200" + id3v1,
                                 Ape({cover}).substr(200), Ape({title}).replace(42, 6, "xxxxxx")})
    EXPECT_FALSE(TailWithLyric(tag_build::Bytes(tag), u"x"));
}

TEST(LyricsTagWriter, WritesTheKindsThatAreWanted) {
  const std::string path = JoinPath(TempDirectory(), "melorin_tag_kinds.mp3");
  const std::string before = Id3v2(3, Title(3)) + tag_build::Audio() + tag_build::Id3v1{}.Build();
  const struct {
    uint32_t kinds;
    TagWrite result;
    bool id3v2;
    bool ape;
  } cases[] = {{kTagId3v2 | kTagId3v1, TagWrite::kDone, true, false},
               {kTagApeV2, TagWrite::kDone, false, true},
               {kTagId3v2 | kTagApeV2, TagWrite::kDone, true, true},
               {kTagId3v1, TagWrite::kNoKind, false, false},
               {0, TagWrite::kNoKind, false, false}};
  for (const auto& test : cases) {
    ASSERT_TRUE(WriteFileSafely(path, tag_build::Bytes(before)));
    EXPECT_EQ(WriteLyricTag(path, u"[00:01.00]one\r\n", test.kinds), test.result);
    for (const uint32_t kind : {kTagId3v2, kTagApeV2}) {
      MappedFile file;
      ASSERT_TRUE(file.Open(path));
      MemoryByteSource source(file.Bytes());
      TagFields fields;
      // ID3v1 stands behind, and has no lyrics.
      ReadTags(source, kind | kTagId3v1, fields);
      EXPECT_EQ(fields.Find("Lyrics") != nullptr, kind == kTagId3v2 ? test.id3v2 : test.ape)
          << test.kinds << " " << kind;
    }
    // Shorter: the file ends earlier.
    EXPECT_EQ(WriteLyricTag(path, {}, test.kinds), test.result);
    MappedFile file;
    ASSERT_TRUE(file.Open(path));
    const std::string_view all(reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size());
    EXPECT_TRUE(all.ends_with(before.substr(Id3v2(3, Title(3)).size())));
  }
  DeleteFileAt(path);
}

TEST(LyricsTagWriter, WritesFiles) {
  const std::string path = JoinPath(TempDirectory(), "melorin_tag_writer.mp3");
  const std::string before = Id3v2(3, Title(3)) + tag_build::Audio(700000) + tag_build::Id3v1{}.Build();
  const auto read = [&path] {
    MappedFile file;
    EXPECT_TRUE(file.Open(path));
    return std::string(reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size());
  };
  ASSERT_TRUE(WriteFileSafely(path, tag_build::Bytes(before)));
  EXPECT_EQ(WriteLyricTag(path, u"[00:01.00]one\r\n", kTagId3v2), TagWrite::kDone);
  const std::string grown = read();
  EXPECT_EQ(ReadBack(grown), "title 1000:one");
  EXPECT_TRUE(grown.ends_with(before.substr(Id3v2(3, Title(3)).size())));
#if defined(_WIN32)
  {
    File player;
    ASSERT_TRUE(
        player.Open(path, File::Access::kReadWrite, File::Share::kReadWrite, File::Create::kMustExist));
    EXPECT_EQ(WriteLyricTag(path, u"[00:02.00]two\r\n", kTagId3v2), TagWrite::kInUse);
  }
  EXPECT_EQ(read(), grown);
#endif
  EXPECT_EQ(WriteLyricTag(path, u"[00:02.00]two\r\n", kTagId3v2), TagWrite::kDone);
  EXPECT_EQ(ReadBack(read()), "title 2000:two");
  EXPECT_EQ(read().size(), grown.size()) << "there was room";
  EXPECT_FALSE(FileExists(path + ".melorin-new"));
  EXPECT_EQ(WriteLyricTag(path + "none.mp3", u"x", kTagId3v2), TagWrite::kFailed);
  DeleteFileAt(path);
}

}  // namespace
}  // namespace melorin
