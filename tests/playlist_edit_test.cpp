// SPDX-License-Identifier: MIT
//
// Edits of a list: what is where afterwards, where the playing entry went, and taking it all back.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/text.h"
#include "playlist/list_edit.h"
#include "playlist/list_find.h"
#include "playlist/list_sort.h"
#include "playlist/list_undo.h"

namespace {

using namespace melorin;

using Selection = std::vector<size_t>;

ItemRef Item(const std::string& path) {
  return ItemCache::Obtain(path, "", kUnknownDuration, 0);
}

/// One entry a letter.
ComPtr<Playlist> ListOf(std::string_view letters) {
  auto list = Playlist::Create();
  for (const char letter : letters)
    list->Append(Item(std::string(1, letter)));
  return list;
}

std::string Letters(const std::vector<ItemRef>& items) {
  std::string letters;
  for (const ItemRef& item : items)
    letters += item->PathGbk();
  return letters;
}

/// Checks that every entry is where the edit says that it is.
void ExpectTruth(const ListEdit& edit, const Playlist& list) {
  ASSERT_EQ(edit.count_after, list.Size());
  if (!edit.Changed()) return;
  ASSERT_EQ(edit.moved_to.size(), edit.before.size());
  size_t gone = 0;
  for (size_t i = 0; i < edit.before.size(); ++i) {
    const auto index = edit.NewIndex(i);
    if (index) {
      EXPECT_EQ(list.At(*index).get(), edit.before[i].get()) << i;
    } else {
      ++gone;
    }
  }
  EXPECT_LE(gone, edit.removed);
  EXPECT_EQ(edit.before.size() - edit.removed + edit.inserted, list.Size());
}

TEST(ListEdit, MoveRemoveAndInsertASelection) {
  struct Case {
    const char* name;
    char what;  // m, r, i
    Selection selection;
    size_t before;
    const char* want;
    bool changed;
  };
  const Case cases[] = {
      {"up", 'm', {3, 5}, 1, "ADFBCE", true},
      {"down", 'm', {0, 1}, 4, "CDABEF", true},
      {"around its place", 'm', {1, 4}, 3, "ACBEDF", true},
      {"before one of its own", 'm', {1, 3}, 3, "ACBDEF", true},
      {"order of the list, not of the selection", 'm', {5, 0, 5, 99}, 2, "BAFCDE", true},
      {"to the end", 'm', {0}, 6, "BCDEFA", true},
      {"past the end", 'm', {0}, 1000, "BCDEFA", true},
      {"stays", 'm', {2, 3}, 2, "ABCDEF", false},
      {"stays, from behind", 'm', {2, 3}, 4, "ABCDEF", false},
      {"nothing moved", 'm', {}, 3, "ABCDEF", false},
      {"all", 'm', {0, 1, 2, 3, 4, 5}, 3, "ABCDEF", false},
      {"remove", 'r', {4, 0}, 0, "BCDF", true},
      {"remove the last", 'r', {5}, 0, "ABCDE", true},
      {"remove all", 'r', {0, 1, 2, 3, 4, 5}, 0, "", true},
      {"remove what is not there", 'r', {6, 7}, 0, "ABCDEF", false},
      {"insert", 'i', {}, 2, "ABXYXCDEF", true},
      {"insert in front", 'i', {}, 0, "XYXABCDEF", true},
      {"insert past the end", 'i', {}, 70, "ABCDEFXYX", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto list = ListOf("ABCDEF");
    const ListEdit edit = c.what == 'm'   ? MoveEntries(*list, c.selection, c.before)
                          : c.what == 'r' ? RemoveEntries(*list, c.selection)
                                          : InsertEntries(*list, c.before, ListOf("XYX")->Items());
    EXPECT_EQ(Letters(list->Items()), c.want);
    EXPECT_EQ(edit.Changed(), c.changed);
    ExpectTruth(edit, *list);
  }
  EXPECT_EQ(Letters(EntriesAt(*ListOf("ABCDEF"), Selection{4, 1, 9, 1})), "BE");
}

TEST(ListEdit, ThePlayingEntryIsFollowedAndItsFollowerFound) {
  const auto list = ListOf("ABCDEF");
  const ListEdit edit = RemoveEntries(*list, Selection{1, 2, 5});
  EXPECT_EQ(edit.NewIndex(3), 1u);
  EXPECT_EQ(edit.NewIndex(1), std::nullopt);
  EXPECT_EQ(edit.NewIndex(std::nullopt), std::nullopt);
  EXPECT_EQ(edit.NewIndexOfNext(1), 1u);
  EXPECT_EQ(edit.NewIndexOfNext(5), std::nullopt);
  EXPECT_EQ(RemoveEntries(*list, Selection{}).NewIndex(2), 2u);
}

TEST(ListEdit, DuplicatesGoAndTheFirstStays) {
  const auto song = [](const char* path, const char* title, const char* artist, int32_t duration_ms) {
    ItemRef item = ItemCache::Obtain(path, "", duration_ms, 0);
    item->SetTag("Title", title);
    item->SetTag("Artist", artist);
    return item;
  };
  auto list = Playlist::Create();
  list->Append(song("A", "Song", "X", 61000));
  list->Append(song("B", "song", "x", 61999));  // The same song in another file.
  list->Append(song("C", "song", "x", 62000));
  list->Append(list->At(0));
  list->Append(song("D", "", "x", 61000));
  list->Append(song("E", "", "x", 61000));
  list->Append(song("F", "song", "x", kUnknownDuration));
  list->Append(song("G", "song", "x", kUnknownDuration));
  list->Append(list->At(1));
  auto other = Playlist::Create();
  other->Replace(list->Items());

  ListEdit edit = RemoveDuplicates(*list, DuplicateRule::kSameItem);
  EXPECT_EQ(Letters(list->Items()), "ABCDEFG");
  EXPECT_EQ(edit.removed, 2u);
  ExpectTruth(edit, *list);
  EXPECT_EQ(edit.NewIndex(3), 0u) << "the same file goes on playing";
  edit = RemoveDuplicates(*list, DuplicateRule::kSameItem);
  EXPECT_FALSE(edit.Changed());

  edit = RemoveDuplicates(*other, DuplicateRule::kSameItemOrSong);
  EXPECT_EQ(Letters(other->Items()), "ACDEFG");
  ExpectTruth(edit, *other);
  EXPECT_EQ(edit.NewIndex(1), std::nullopt) << "another file";
  EXPECT_EQ(edit.NewIndex(8), std::nullopt);
}

TEST(ListEdit, MissingFilesGo) {
  auto list = ListOf("ABBBCA");
  std::string asked;
  const ListEdit edit = RemoveMissing(*list, [&](const std::string& path) {
    asked += path;
    return path != "B";
  });
  EXPECT_EQ(asked, "ABCA");
  EXPECT_EQ(Letters(list->Items()), "ACA");
  ExpectTruth(edit, *list);
}

// GBK bytes of the usual characters are in the order of their pinyin: a (0xB0A1) … zuo (0xD7F8).
TEST(ListSort, NaturalOrderOfTexts) {
  const std::vector<std::string> ascending = {
      "",
      "!",
      "1",
      "1a",
      "002",
      "2b",
      "10",
      "99999999999999999999",
      "100000000000000000000",
      "a",
      "A1",
      "a1b",
      "A02",
      "a10",
      "ab",
      "b1.2",
      "b1.10",
      "\xB0\xA1",  // 啊
      "\xB0\xA1"
      "2",
      "\xB0\xA1"
      "10",
      "\xB0\xA1\xB0\xA1",
      "\xD6\xDC\xBD\xDC\xC2\xD7",  // 周杰伦
      "\xD7\xF8",                  // 坐
  };
  const auto key = [](const std::string& text) {
    std::string out;
    AppendNaturalKey(text, out);
    return out;
  };
  for (size_t i = 0; i < ascending.size(); ++i)
    for (size_t j = 0; j < ascending.size(); ++j)
      EXPECT_EQ(key(ascending[i]) < key(ascending[j]), i < j) << ascending[i] << " and " << ascending[j];
  EXPECT_EQ(key("Track 007"), key("tRACK 7"));
  EXPECT_EQ(key("\xA3\xC1\xA3\xB1\xA3\xB2\xA1\xA1x"), key("a12 x")) << "full-width forms";
  EXPECT_NE(key("\xB0\x41"), key("\xB0\x61")) << "trail bytes are no letters";
  // Longer than a number's length can say: still an order.
  EXPECT_LT(key("1" + std::string(300, '0')), key("1" + std::string(299, '0') + "1"));
}

struct Entry {
  const char* path;
  const char* title;
  const char* artist;
  int32_t duration_ms;
  const char* track;
};

ComPtr<Playlist> Songs() {
  constexpr Entry kEntries[] = {{"A", "b 10", "\xE5\x91\xA8", -2, ""},   {"B", "B 9", "", 3000, "2"},
                                {"C", "a", "\xE5\x95\x8A", 2000, "11"},  {"D", "", "abc", 2000, "2"},
                                {"E", "b 9", "\xED\x95\x9C", 0, "1/12"}, {"F", "a", "\xEA\xB5\xAD", -2, ""}};
  auto list = Playlist::Create();
  for (const Entry& entry : kEntries) {
    ItemRef item = ItemCache::Obtain(entry.path, entry.title, entry.duration_ms, 0);
    if (*entry.artist) item->SetTag("Artist", entry.artist);
    item->SetTag("Tracknumber", entry.track);
    list->Append(item);
  }
  return list;
}

TEST(ListSort, ByEachKeyStableAndUnknownLast) {
  struct Case {
    const char* name;
    SortKey key;
    const char* want;
  };
  const Case cases[] = {
      {"title; the file's name where there is none", SortKey::kTitle, "CFBEAD"},
      {"artist; Korean before Chinese", SortKey::kArtist, "DFECAB"},
      {"album: none has one", SortKey::kAlbum, "ABCDEF"},
      {"duration", SortKey::kDuration, "ECDBAF"},
      {"track number", SortKey::kTrackNumber, "EBDCAF"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto list = Songs();
    const ListEdit edit = SortList(*list, c.key);
    EXPECT_EQ(Letters(list->Items()), c.want);
    ExpectTruth(edit, *list);
    EXPECT_FALSE(SortList(*list, c.key).Changed());
  }
  const auto list = Songs();
  ReverseList(*list);
  EXPECT_EQ(Letters(list->Items()), "FEDCBA");
  SortList(*list, SortKey::kPath);
  EXPECT_EQ(Letters(list->Items()), "ABCDEF");
  // As shown: here by the number of the path's letter from the end.
  SortList(*list, SortKey::kTitle, [](const PlayListItem& item) {
    return std::u16string(1, static_cast<char16_t>('z' - item.PathGbk()[0]));
  });
  EXPECT_EQ(Letters(list->Items()), "FEDCBA");
}

TEST(ListSort, ShuffleGivesEveryOrderAndLosesNothing) {
  std::set<std::string> seen;
  RandomSource random = SeededRandom(1);
  for (int i = 0; i < 200; ++i) {
    const auto list = ListOf("ABCD");
    const ListEdit edit = ShuffleList(*list, random);
    ExpectTruth(edit, *list);
    seen.insert(Letters(list->Items()));
  }
  EXPECT_EQ(seen.size(), 24u);
}

TEST(ListFind, EveryWordAnywhereGoingRound) {
  auto list = Playlist::Create();
  const auto add = [&](const char* path, const char* title, const char* artist, const char* album) {
    ItemRef item = ItemCache::Obtain(path, title, kUnknownDuration, 0);
    item->SetTag("Artist", artist);
    item->SetTag("Album", album);
    list->Append(item);
  };
  add("C:\\Music\\one.mp3", "", "\xE5\x91\xA8\xE6\x9D\xB0\xE4\xBC\xA6", "Jay");  // 周杰伦
  add("C:\\Music\\two.mp3", "\xCF\xA6\xD1\xF4 Two", "", "\xED\x95\x9C");         // 夕阳; 한
  add("C:\\\xB0\x5C\x61\\three.MP3", "", "ABBA", "jay two");                     // A trail byte 0x5C.
  struct Case {
    const char* name;
    std::u16string words;
    Selection found;
  };
  const Case cases[] = {
      {"in the path, case", u"MUSIC", {0, 1}},
      {"in title and path", u"  TWO \u3000 music ", {1}},
      {"in tags", u"jay", {0, 2}},
      {"over fields", u"three abba JAY", {2}},
      {"one word misses", u"three abba xyz", {}},
      {"Chinese, in UTF-8 and in GBK", u"\u6770\u4F26", {0}},
      {"Chinese in the title", u"\u5915", {1}},
      {"what GBK lacks", u"\uD55C", {1}},
      {"a trail byte is no backslash", u"\\a", {}},
      {"a backslash", u"\\three", {2}},
      {"nothing", u" \u3000\t", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(FindEntries(*list, ListSearch(c.words)), c.found);
  }
  // The characters 0xCFA6 0xD1F4 hold the bytes of 0xA6D1.
  const std::u16string across = Utf16FromGbk("\xA6\xD1");
  EXPECT_EQ(FindEntry(*list, ListSearch(across), 0), std::nullopt);

  // Four-byte forms: no match begins in the middle of one.
  const ItemRef four = ItemCache::Obtain("four", "\x81\x30\x81\x31\x81\x32\x81\x33", kUnknownDuration, 0);
  EXPECT_TRUE(ListSearch(Utf16FromGbk("\x81\x32\x81\x33")).Matches(*four));
  EXPECT_FALSE(ListSearch(Utf16FromGbk("\x81\x31\x81\x32")).Matches(*four));

  const ListSearch jay(u"jay");
  EXPECT_EQ(FindEntry(*list, jay, 0), 0u);
  EXPECT_EQ(FindEntry(*list, jay, 1), 2u);
  EXPECT_EQ(FindEntry(*list, jay, 3), 0u);
  EXPECT_EQ(FindEntry(*list, ListSearch(u"abba"), 0), 2u);
  EXPECT_EQ(FindEntry(*list, ListSearch(u"\u5915"), 2), 1u);
  EXPECT_EQ(FindEntry(*Playlist::Create(), jay, 0), std::nullopt);
}

TEST(ListHistory, RandomEditsAreTakenBackAndDoneAgain) {
  std::mt19937 engine(11);
  const auto number = [&](size_t bound) { return static_cast<size_t>(engine() % bound); };
  RandomSource random = [&](uint32_t bound) { return static_cast<uint32_t>(number(bound)); };
  for (int round = 0; round < 30; ++round) {
    auto list = ListOf("ABCABDEF");
    ListHistory history;
    std::vector<std::string> states = {Letters(list->Items())};
    while (states.size() < 15) {
      const Selection selection = {number(9), number(9), number(9)};
      ListEdit edit;
      switch (number(6)) {
        case 0:
          edit = RemoveEntries(*list, Selection{number(9)});
          break;
        case 1:
          edit = MoveEntries(*list, selection, number(10));
          break;
        case 2:
          edit = InsertEntries(*list, number(10), EntriesAt(*ListOf("ABCXYZ"), selection));
          break;
        case 3:
          edit = SortList(*list, SortKey::kPath);
          break;
        case 4:
          edit = ShuffleList(*list, random);
          break;
        case 5:
          edit = RemoveDuplicates(*list, DuplicateRule::kSameItem);
          break;
      }
      ExpectTruth(edit, *list);
      if (edit.Changed()) states.push_back(Letters(list->Items()));
      history.Add("edit " + std::to_string(states.size() - 1), std::move(edit));
    }
    // A walk up and down; every step says where the entries went.
    size_t at = states.size() - 1;
    for (int step = 0; step < 100; ++step) {
      const bool undo = number(2) == 0;
      EXPECT_EQ(history.UndoAction(), at > 0 ? "edit " + std::to_string(at) : "");
      EXPECT_EQ(history.RedoAction(), at + 1 < states.size() ? "edit " + std::to_string(at + 1) : "");
      const std::vector<ItemRef> before = list->Items();
      const auto edit = undo ? history.Undo(*list) : history.Redo(*list);
      ASSERT_EQ(edit.has_value(), undo ? at > 0 : at + 1 < states.size());
      if (!edit) continue;
      at = undo ? at - 1 : at + 1;
      ASSERT_EQ(Letters(list->Items()), states[at]);
      ASSERT_EQ(edit->count_after, list->Size());
      for (size_t i = 0; i < before.size(); ++i)
        if (const auto index = edit->NewIndex(i)) {
          ASSERT_EQ(list->At(*index).get(), before[i].get());
        }
    }
  }
  EXPECT_EQ(ItemCache::Size(), 0u);
}

TEST(ListHistory, NewEditsEndWhatCouldBeDoneAgain) {
  auto list = ListOf("ABC");
  ListHistory history;
  history.Add("reverse", ReverseList(*list));
  history.Undo(*list);
  EXPECT_TRUE(history.CanRedo());
  history.Add("nothing", RemoveEntries(*list, Selection{}));
  EXPECT_TRUE(history.CanRedo()) << "no edit";
  history.Add("remove", RemoveEntries(*list, Selection{0}));
  EXPECT_FALSE(history.CanRedo());
  EXPECT_EQ(history.UndoAction(), "remove");
  list->Append(Item("Z"));
  EXPECT_FALSE(history.Undo(*list)) << "changed past the history";
  EXPECT_FALSE(history.CanUndo());
  EXPECT_EQ(Letters(list->Items()), "BCZ");
}

TEST(ListHistory, MemoryIsBounded) {
  auto list = Playlist::Create();
  for (int i = 0; i < 1000; ++i)
    list->Append(Item("A" + std::to_string(i)));
  ListHistory history(20 * 1000 * (sizeof(ItemRef) + 4));
  for (int i = 0; i < 100; ++i)
    history.Add("reverse", ReverseList(*list));
  size_t undone = 0;
  while (history.Undo(*list))
    ++undone;
  EXPECT_GE(undone, 15u);
  EXPECT_LE(undone, 20u);
  size_t redone = 0;
  while (history.Redo(*list))
    ++redone;
  EXPECT_EQ(redone, undone);
  ListHistory small(100);
  small.Add("reverse", ReverseList(*list));
  small.Add("remove", RemoveEntries(*list, Selection{5}));
  EXPECT_TRUE(small.Undo(*list)) << "the newest step, whatever it takes";
  EXPECT_EQ(list->Size(), 1000u);
  EXPECT_FALSE(small.CanUndo());
}

}  // namespace
