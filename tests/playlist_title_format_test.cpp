// SPDX-License-Identifier: MIT
//
// What patterns make of an item, and which of an item's texts a list shows.
#include "playlist/title_format.h"

#include <gtest/gtest.h>

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// Its names have trail bytes that equal "\" and "|": "\xCC\x5C" and "\xC4\x7C".
ItemRef TestItem(bool tagged) {
  const std::string folder = JoinPath(std::string(1, kPathSeparator) + "d", "a.b\xD5\x5C");
  ItemRef item =
      ItemCache::Obtain(JoinPath(folder, "\xCC\x5C.\xC4\x7C.Mp3"), "", kUnknownDuration, tagged ? 1 : 2);
  if (tagged) {
    item->SetCodec("MP3\xC4\x7C|MPEG 1 - Layer 3|x");
    item->SetTag("Artist", Utf8FromUtf16(u"周杰伦"));
    item->SetTag("TITLE", "One 100% (live)");
    item->SetTag("Album", "");
    item->SetTag("replaygain_track_gain", "-3 dB");
    item->SetTag(Utf8FromUtf16(u"作词"), "W");
  }
  return item;
}

struct FormatCase {
  std::u16string_view pattern;
  std::u16string_view text;
  size_t found;
};

void Check(const PlayListItem& item, std::initializer_list<FormatCase> cases) {
  for (const FormatCase& c : cases) {
    const FormattedTitle title = FormatTitle(c.pattern, item);
    EXPECT_EQ(Utf8FromUtf16(title.text), Utf8FromUtf16(c.text)) << Utf8FromUtf16(c.pattern);
    EXPECT_EQ(title.found, c.found) << Utf8FromUtf16(c.pattern);
  }
}

TEST(TitleFormat, ItemsWithTags) {
  const ItemRef item = TestItem(true);
  const std::u16string name = Utf16FromGbk("\xCC\x5C.\xC4\x7C");
  const std::u16string path = Utf16FromGbk(item->PathGbk());
  Check(*item, {{u"%(Artist) - %(Title)", u"周杰伦 - One 100% (live)", 2},
                {u"<%A%T>", u"<周杰伦One 100% (live)>", 2},
                {u"%(artist)%(ARTIST)", u"周杰伦周杰伦", 2},
                {u"%L|%(Album)", u"(未知专辑名)|(未知Album)", 0},
                {u"%(replaygain_track_gain)%(作词)", u"-3 dBW", 2},
                {u"%C", Utf16FromGbk("MP3\xC4\x7C"), 1},
                {u"%F", name, 1},
                {u"%E", u"Mp3", 1},
                {u"%P", path, 1}});
}

TEST(TitleFormat, DefaultsAndOddPatterns) {
  const ItemRef item = TestItem(false);
  Check(*item, {{u"%(Artist) - %(Title)", u"(未知Artist) - (未知Title)", 0},
                {u"%A - %T", u"(未知艺术家) - (未知标题)", 0},
                {u"%L%G%Y%D", u"(未知专辑名)(未知流派)(未知年代)(未知备注)", 0},
                {u"%I %C", u"0 N/A", 0},
                {u"%a%%%x", u"a%x", 0},
                {u"", u"", 0},
                {u"%", u"%", 0},
                {u"x%%%", u"x%%", 0},
                {u"a%(Title", u"aTitle", 0},
                {u"%(", u"", 0},
                {u"%()x%(", u")x", 0},
                {u"%(codec)", u"(未知codec)", 0},
                {u"%(a(b)c)", u"(未知a(b)c)", 0},
                {{u"%\0x", 3}, {u"\0x", 2}, 0}});
  const ItemRef bare = ItemCache::Obtain("noext", "", kUnknownDuration, 0);
  Check(*bare, {{u"%F.%E", u"noext.", 1}});
}

TEST(TitleFormat, ListsShowTheBestTextThereIs) {
  const ItemRef tagged = TestItem(true);
  const ItemRef bare = TestItem(false);
  TitleSettings settings;
  settings.tag_pattern = u"%(Title)";
  settings.use_tag_pattern = true;
  EXPECT_EQ(EntryTitle(*tagged, settings), u"One 100% (live)");
  settings.tag_pattern = u"%(Album)";  // Finds nothing here.
  EXPECT_EQ(EntryTitle(*tagged, settings), u"周杰伦 - One 100% (live)");
  EXPECT_EQ(EntryTitle(*bare, settings), Utf16FromGbk("\xCC\x5C.\xC4\x7C"));
  bare->SetTitle("From a list");
  EXPECT_EQ(EntryTitle(*bare, settings), u"From a list");
  EXPECT_EQ(NumberedTitle(*bare, 11, settings), u"12.From a list");
  settings.number = false;
  EXPECT_EQ(NumberedTitle(*bare, 11, settings), u"From a list");
  settings.default_pattern = u"%F";  // A user who wants file names gets them, whatever the list says.
  EXPECT_EQ(EntryTitle(*bare, settings), Utf16FromGbk("\xCC\x5C.\xC4\x7C"));
}

}  // namespace
}  // namespace melorin
