// SPDX-License-Identifier: MIT
#include "lyrics/lyric_tag_writer.h"

#include <gtest/gtest.h>

#include "lyrics/lyric_tags.h"
#include "platform/file.h"
#include "platform/text.h"
#include "tags/byte_source.h"
#include "tags_build.h"

namespace melorin {
namespace {

using namespace std::string_literals;
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

TEST(LyricsTagWriter, WritesFiles) {
  const std::string path = JoinPath(TempDirectory(), "melorin_tag_writer.mp3");
  const std::string before = Id3v2(3, Title(3)) + tag_build::Audio(700000) + tag_build::Id3v1{}.Build();
  const auto read = [&path] {
    MappedFile file;
    EXPECT_TRUE(file.Open(path));
    return std::string(reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size());
  };
  ASSERT_TRUE(WriteFileSafely(path, tag_build::Bytes(before)));
  EXPECT_EQ(WriteLyricTag(path, u"[00:01.00]one\r\n"), TagWrite::kDone);
  const std::string grown = read();
  EXPECT_EQ(ReadBack(grown), "title 1000:one");
  EXPECT_TRUE(grown.ends_with(before.substr(Id3v2(3, Title(3)).size())));
  {
    // There is room now, so the file may be open, as it is while it is played.
    File player;
    ASSERT_TRUE(
        player.Open(path, File::Access::kReadWrite, File::Share::kReadWrite, File::Create::kMustExist));
    EXPECT_EQ(WriteLyricTag(path, u"[00:02.00]two\r\n"), TagWrite::kDone);
#if defined(_WIN32)
    EXPECT_EQ(WriteLyricTag(path, std::u16string(9000, u'x')), TagWrite::kInUse);
#endif
  }
  EXPECT_EQ(ReadBack(read()), "title 2000:two");
  EXPECT_EQ(read().size(), grown.size());
  EXPECT_FALSE(FileExists(path + ".melorin-new"));
  EXPECT_EQ(WriteLyricTag(path + "none.mp3", u"x"), TagWrite::kFailed);
  DeleteFileAt(path);
}

}  // namespace
}  // namespace melorin
