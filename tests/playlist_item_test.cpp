// SPDX-License-Identifier: MIT
//
// Items and their cache: one object for one file, gone with its last reference, from any thread.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "playlist/play_list_item.h"
#include "playlist/playlist.h"

namespace {

using namespace melorin;

ItemRef Obtain(const std::string& path, uint32_t subtrack = 0) {
  return ItemCache::Obtain(path, "", kUnknownDuration, subtrack);
}

TEST(ItemCache, IdentityIsThePathWithoutCaseAndTheSubtrack) {
  struct Case {
    const char* name;
    std::string a, b;
    bool same;
  };
  // 0xB0 0x5A and 0xB0 0x7A are two characters whose trail bytes would be "Z" and "z".
  const Case cases[] = {
      {"case", "C:\\A.mp3", "c:\\a.MP3", true},
      {"long, every place of a word", "C:\\ABCDEFGHIJKLMNOPQRSTUVWXYZ@[`{",
       "c:\\abcdefghijklmnopqrstuvwxyz@[`{", true},
      {"@ is not `", "C:\\12345678@", "C:\\12345678`", false},
      {"[ is not {", "C:\\[2345678", "C:\\{2345678", false},
      {"trail bytes", "C:\\\xB0\x5A.mp3", "C:\\\xB0\x7A.mp3", false},
      {"letters after a character", "C:\\\xB0\x5A\x41.mp3", "C:\\\xB0\x5A\x61.mp3", true},
      {"trail byte after a word's end",
       "1234567\xB0\x5A"
       "23456789",
       "1234567\xB0\x7A"
       "23456789",
       false},
      {"letter after a trail byte that is a lead", "1234567\xB0\xB0Z2345678", "1234567\xB0\xB0z2345678",
       true},
      {"another length", "C:\\a.mp", "C:\\a.mp3", false},
      {"last byte a lead", "C:\\a\xB0", "C:\\A\xB0", true},
      {"empty", "", "", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ItemRef a = Obtain(c.a);
    EXPECT_EQ(Obtain(c.b).get() == a.get(), c.same);
    EXPECT_EQ(ItemCache::Find(c.b, 0).get() == a.get(), c.same);
    EXPECT_NE(Obtain(c.a, 2).get(), a.get());
  }
  EXPECT_EQ(ItemCache::Size(), 0u);
}

TEST(ItemCache, TheFirstItemKeepsItsTitleAndLeavesWithItsLastReference) {
  ItemRef a = ItemCache::Obtain("C:\\a.mp3", "first", 1000, 3);
  ItemRef b = ItemCache::Obtain("c:\\A.mp3", "second", 2000, 3);
  EXPECT_EQ(b->TitleGbk(), "first");
  EXPECT_EQ(b->DurationMs(), 1000);
  EXPECT_EQ(b->PathGbk(), "C:\\a.mp3");
  a.Reset();
  EXPECT_EQ(ItemCache::Find("C:\\a.mp3", 3).get(), b.get());
  b.Reset();
  EXPECT_FALSE(ItemCache::Find("C:\\a.mp3", 3));
  EXPECT_EQ(ItemCache::Obtain("C:\\a.mp3", "third", 5, 3)->TitleGbk(), "third");
  EXPECT_EQ(ItemCache::Size(), 0u);
}

TEST(ItemCache, ManyItemsComeAndGoInAnyOrder) {
  const auto path = [](size_t i) { return "D:\\music\\" + std::to_string(i * 7919 % 20011) + ".mp3"; };
  std::vector<ItemRef> items;
  for (size_t i = 0; i < 20000; ++i)
    items.push_back(Obtain(path(i)));
  EXPECT_EQ(ItemCache::Size(), 20000u);
  for (size_t step : {3u, 2u, 5u})
    for (size_t i = 0; i < items.size(); i += step)
      items[i].Reset();
  size_t left = 0;
  for (size_t i = 0; i < items.size(); ++i) {
    ASSERT_EQ(ItemCache::Find(path(i), 0).get(), items[i].get()) << i;
    left += items[i] ? 1 : 0;
  }
  EXPECT_EQ(ItemCache::Size(), left);
  items.clear();
  EXPECT_EQ(ItemCache::Size(), 0u);
}

TEST(ItemCache, LastReleaseAndObtainOnOtherThreads) {
  constexpr int kRounds = 20000;
  const auto work = [](uint32_t thread) {
    for (int i = 0; i < kRounds; ++i) {
      const std::string path = "C:\\" + std::to_string(i % 3) + ".mp3";
      const ItemRef item = i % 2 ? Obtain(path) : ItemCache::Find(path, 0);
      if (!item) continue;
      ASSERT_EQ(item->PathGbk(), path);
      if (i % 16 == 0) item->SetTag("Artist", std::to_string(thread));
      if (i % 16 == 8) {
        EXPECT_LE(item->TagValue("Artist").size(), 1u);
      }
    }
  };
  {
    std::vector<std::jthread> threads;
    for (uint32_t t = 0; t < 4; ++t)
      threads.emplace_back(work, t);
  }
  EXPECT_EQ(ItemCache::Size(), 0u);
}

TEST(PlayListItem, TagsKeepOrderNamesAndAnyText) {
  TagFields tags;
  tags.Add("Title", "\xE6\xAD\x8C");
  tags.Add("artist", "one");
  tags.Add("Artist", "two");
  tags.Add("My own", std::string("a\0b", 3));
  tags.Add("Lyrics", std::string(200, 'x'));
  tags.Add(std::string(300, 'n'), std::string(20000, 'y'));
  tags.Add("Album", "");
  const ItemRef item = Obtain("a");
  item->SetTags(tags);
  ASSERT_EQ(item->TagCount(), tags.size());
  const TagFields copy = item->Tags();
  for (size_t i = 0; i < tags.size(); ++i) {
    EXPECT_EQ(item->TagAt(i), std::make_pair(tags.name(i), tags.value(i)));
    EXPECT_EQ(copy.value(i), tags.value(i));
  }
  EXPECT_EQ(item->TagAt(tags.size()), std::make_pair(std::string(), std::string()));
  EXPECT_EQ(item->TagValue("ARTIST"), "two");
  EXPECT_EQ(item->TagValue("Genre"), "");
  item->SetTag("TITLE", "new");
  item->SetTag("Genre", "Pop");
  EXPECT_EQ(item->TagAt(0), std::make_pair(std::string("Title"), std::string("new")));
  EXPECT_EQ(item->TagAt(7), std::make_pair(std::string("Genre"), std::string("Pop")));
}

TEST(PlayListItem, SubtrackNumber) {
  struct Case {
    uint32_t subtrack;
    const char* tag;
    uint32_t number;
  };
  for (const Case& c : {Case{0, "", 0}, Case{0, "7", 7}, Case{0, " 07/12", 7}, Case{3, "7", 3},
                        Case{0, "A1", 0}, Case{0, "99999999999999999999999", UINT32_MAX}}) {
    const ItemRef item = Obtain("a", c.subtrack);
    item->SetTag("Tracknumber", c.tag);
    EXPECT_EQ(item->SubtrackNumber(), c.number) << c.tag;
  }
}

TEST(PlayListItem, CodecsAreSharedTexts) {
  const ItemRef a = Obtain("a");
  const ItemRef b = Obtain("b");
  EXPECT_EQ(a->CodecGbk(), "");
  a->SetCodec("MP3|MPEG 1 - Layer 3");
  b->SetCodec("MP3|MPEG 1 - Layer 3");
  EXPECT_EQ(&a->CodecGbk(), &b->CodecGbk());
  for (int i = 0; i < 100; ++i)
    b->SetCodec("codec " + std::to_string(i));
  EXPECT_EQ(a->CodecGbk(), "MP3|MPEG 1 - Layer 3");
  EXPECT_EQ(b->CodecGbk(), "codec 99");
}

TEST(PlaylistSet, SwapOfOneOrOutsideChangesNothing) {
  PlaylistSet set;
  for (const char* name : {"a", "b", "c"})
    set.Append(Playlist::Create(name));
  const auto names = [&] { return set.At(0)->NameGbk() + set.At(1)->NameGbk() + set.At(2)->NameGbk(); };
  set.Swap(0, 0);
  set.Swap(0, 3);
  set.Swap(9, 1);
  EXPECT_EQ(names(), "abc");
  set.Swap(0, 2);
  EXPECT_EQ(names(), "cba");
}

}  // namespace
