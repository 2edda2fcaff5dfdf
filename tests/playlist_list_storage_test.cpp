// SPDX-License-Identifier: MIT
//
// The stored lists: what the folder holds after a save, and what is found after a save that was cut off at
// any of its steps or ran into a full disk.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "playlist/list_journal.h"
#include "playlist/list_storage.h"
#include "playlist/mzbl.h"
#include "playlist/stored_save.h"
#include "tests/playlist_test_folder.h"

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

namespace melorin {
namespace {

using Strings = std::vector<std::string>;

ComPtr<Playlist> MakeList(const std::string& name, int entries) {
  auto list = Playlist::Create(name);
  for (int i = 0; i < entries; ++i)
    list->Append(ItemCache::Obtain("D:\\" + name + "\\" + std::to_string(i) + ".mp3", name, 1000, 0));
  return list;
}

PlaylistSet MakeSet(const Strings& names) {
  PlaylistSet set;
  for (const std::string& name : names)
    set.Append(MakeList(name, 3));
  return set;
}

PlaylistSet Load(const TestFolder& folder, size_t active = 0) {
  PlaylistSet set;
  LoadAllLists(set, folder.Path(), RecoverStoredLists(folder.Path()), active, "Default", {});
  return set;
}

/// The names of the lists that a load finds, each with "!" when its entries are not those of the name.
Strings Stored(const TestFolder& folder) {
  Strings names;
  PlaylistSet set = Load(folder);
  for (size_t i = 0; i < set.Size(); ++i) {
    Playlist& list = *set.At(i);
    const bool whole = EnsureLoaded(list, {}) && list.Size() == 3 &&
                       list.At(2)->PathGbk() == "D:\\" + list.NameGbk() + "\\2.mp3";
    names.push_back(list.NameGbk() + (whole ? "" : "!"));
  }
  return names;
}

Strings Names(size_t count) {
  Strings names;
  for (size_t i = 0; i < count; ++i)
    names.push_back(NumberedName(i, ".mzbl"));
  return names;
}

TEST(ListStorage, LoadsTheActiveListOnly) {
  TestFolder folder;
  PlaylistSet set = MakeSet({"A", "B", "C"});
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  EXPECT_EQ(folder.Names(), Names(3));
  PlaylistSet loaded = Load(folder, 1);
  ASSERT_EQ(loaded.Size(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(loaded.At(i)->NameGbk(), set.At(i)->NameGbk());
    EXPECT_EQ(loaded.At(i)->IsLoaded(), i == 1);
    EXPECT_EQ(loaded.At(i)->Size(), i == 1 ? 3u : 0u);
  }
  EXPECT_TRUE(EnsureLoaded(*loaded.At(2), {}));
  EXPECT_EQ(loaded.At(2)->Size(), 3u);
}

TEST(ListStorage, FollowsReorderingDeletingAndChanging) {
  TestFolder folder;
  PlaylistSet set = MakeSet({"A", "B", "C", "D", "E"});
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  PlaylistSet loaded = Load(folder, 1);
  loaded.Swap(0, 4);
  loaded.Swap(1, 3);
  loaded.Remove(2);
  loaded.Insert(1, MakeList("New", 3));
  ASSERT_TRUE(SaveAllLists(loaded, folder.Path(), {}));
  EXPECT_EQ(folder.Names(), Names(5));
  EXPECT_EQ(Stored(folder), (Strings{"E", "New", "D", "B", "A"}));
  // The same set again: lists that were not loaded are found where the save has put them.
  loaded.Swap(0, 4);
  loaded.Remove(4);
  ASSERT_TRUE(SaveAllLists(loaded, folder.Path(), {}));
  EXPECT_EQ(folder.Names(), Names(4));
  EXPECT_EQ(Stored(folder), (Strings{"A", "New", "D", "B"}));
  EXPECT_TRUE(EnsureLoaded(*loaded.At(0), {}));
  EXPECT_EQ(loaded.At(0)->Size(), 3u);
}

TEST(ListStorage, AListNamesOnlyItsOwnFile) {
  TestFolder folder;
  folder.Write("notes.mzbl", "x");
  folder.Write("999.mzbl", "x");
  folder.Write("old.MZBL.TMP", "x");
  folder.Write("000.new", "x");
  folder.Write("readme.txt", "x");
  PlaylistSet set = MakeSet({"A"});
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  EXPECT_EQ(folder.Names(), (Strings{"000.mzbl", "readme.txt"}));
}

TEST(ListStorage, ReadsGapsAndAlwaysHasAList) {
  TestFolder folder;
  EXPECT_EQ(Load(folder).At(0)->NameGbk(), "Default");
  PlaylistSet set = MakeSet({"A", "B", "C"});
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  DeleteFileAt(folder.Path("001.mzbl"));
  EXPECT_EQ(RecoverStoredLists(folder.Path()), 3u);
  EXPECT_EQ(Stored(folder), (Strings{"A", "C"}));
  PlaylistSet few;
  EXPECT_EQ(LoadAllLists(few, folder.Path(), 1, 0, "Default", {}), 1u);
  EXPECT_EQ(few.Size(), 1u);
}

TEST(ListStorage, TakesOverTheOlderForm) {
  TestFolder folder;
  ASSERT_TRUE(SavePlaylist(*MakeList("Old", 3), folder.Path("001.mzpl"), {}));
  folder.Write("002.mzpl", "<mzplaylist version='3' title='Cut'><items><item file='D:\\x.mp3'/>");
  PlaylistSet set = MakeSet({"A"});
  ASSERT_TRUE(SavePlaylist(*set.At(0), folder.Path("000.mzbl"), {}));
  PlaylistSet loaded = Load(folder);
  ASSERT_EQ(loaded.Size(), 3u);
  EXPECT_TRUE(loaded.At(1)->IsLoaded());
  EXPECT_EQ(loaded.At(1)->Size(), 3u);
  EXPECT_EQ(loaded.At(2)->Size(), 1u);
  EXPECT_EQ(folder.Names(), (Strings{"000.mzbl", "001.mzbl", "002.mzbl", "002.mzpl.damaged"}));
}

TEST(ListStorage, AnUnreadableListKeepsItsPlaceAndItsFile) {
  TestFolder folder;
  PlaylistSet set = MakeSet({"A", "B"});
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  folder.Write("000.mzbl", "of a version to come");
  PlaylistSet loaded = Load(folder, 0);
  ASSERT_EQ(loaded.Size(), 2u);
  EXPECT_FALSE(loaded.At(0)->IsLoaded());
  EXPECT_FALSE(EnsureLoaded(*loaded.At(0), {}));
  loaded.Swap(0, 1);
  ASSERT_TRUE(SaveAllLists(loaded, folder.Path(), {}));
  EXPECT_EQ(folder.Read("001.mzbl"), "of a version to come");
}

TEST(ListStorage, ListsOfAnotherFolderAreBroughtAlong) {
  TestFolder before;
  TestFolder after;
  PlaylistSet set = MakeSet({"A", "B"});
  ASSERT_TRUE(SaveAllLists(set, before.Path(), {}));
  PlaylistSet loaded = Load(before, 1);
  ASSERT_TRUE(SaveAllLists(loaded, after.Path(), {}));
  EXPECT_EQ(Stored(after), (Strings{"A", "B"}));
}

TEST(ListStorage, AnotherNameOfTheSameFolderLosesNothing) {
  TestFolder folder;
  PlaylistSet set = MakeSet({"A", "B", "C"});
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  PlaylistSet loaded;
  LoadAllLists(loaded, folder.Path("."), 3, 1, "Default", {});
  loaded.Swap(0, 2);
  ASSERT_TRUE(SaveAllLists(loaded, folder.Path(), {}));
  EXPECT_EQ(Stored(folder), (Strings{"C", "B", "A"}));
}

/// Counts what is done to the disk; at one step the power is cut, or from there on the disk is full.
class FakeDisk final : public StorageDisk {
 public:
  enum class Fault { kNone, kPowerCut, kFull };
  struct PowerCut {};
  FakeDisk(Fault fault, int at) : fault_(fault), at_(at) {}

  bool Write(const std::string& path, std::span<const uint8_t> bytes) override {
    if (Step(true)) return StorageDisk::Write(path, bytes);
    StorageDisk::Write(path, bytes.first(bytes.size() / 2));
    if (fault_ == Fault::kPowerCut) throw PowerCut();
    return false;
  }
  bool Move(const std::string& from, const std::string& to) override {
    if (!Step(false)) throw PowerCut();
    return StorageDisk::Move(from, to);
  }
  bool Delete(const std::string& path) override {
    if (!Step(false)) throw PowerCut();
    return StorageDisk::Delete(path);
  }
  int Steps() const { return steps_; }

 private:
  bool Step(bool needs_space) {
    const int now = steps_++;
    if (fault_ == Fault::kFull) return !needs_space || now < at_;
    return fault_ == Fault::kNone || now != at_;
  }
  Fault fault_;
  int at_;
  int steps_ = 0;
};

/// Five stored lists, of which the set has B and D loaded; what is done with it must lead to kAfter.
PlaylistSet Disturbed(const TestFolder& folder) {
  const Strings names = {"A", "B", "C", "D", "E"};
  for (size_t i = 0; i < names.size(); ++i) {
    const std::vector<uint8_t> bytes = WriteMzbl(*MakeList(names[i], 3), true);
    folder.Write(NumberedName(i, ".mzbl"), {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }
  PlaylistSet loaded = Load(folder, 1);
  EnsureLoaded(*loaded.At(3), {});
  loaded.Swap(0, 4);
  loaded.Swap(1, 2);
  loaded.Remove(3);
  loaded.Insert(0, MakeList("New", 3));
  return loaded;
}
const Strings kBefore = {"A", "B", "C", "D", "E"};
const Strings kAfter = {"New", "E", "C", "B", "A"};

TEST(ListStorage, ACutAtAnyStepLeavesAllListsOldOrAllNew) {
  bool seen_before = false;
  bool seen_after = false;
  bool finished = false;
  for (int step = 0; !finished; ++step) {
    ASSERT_LT(step, 100);
    for (int second = 0; second < 12; ++second) {
      SCOPED_TRACE(std::to_string(step) + "/" + std::to_string(second));
      TestFolder folder;
      PlaylistSet set = Disturbed(folder);
      FakeDisk disk(FakeDisk::Fault::kPowerCut, step);
      try {
        EXPECT_TRUE(SaveAllListsTo(disk, set, folder.Path(), {}));
        finished = true;
      } catch (const FakeDisk::PowerCut&) {
      }
      // The recovery is cut off, too.
      FakeDisk again(FakeDisk::Fault::kPowerCut, second);
      try {
        FinishSave(again, folder.Path());
      } catch (const FakeDisk::PowerCut&) {
      }
      const Strings stored = Stored(folder);
      EXPECT_TRUE(stored == kBefore || stored == kAfter) << ::testing::PrintToString(stored);
      seen_before = seen_before || stored == kBefore;
      seen_after = seen_after || stored == kAfter;
      EXPECT_EQ(folder.Names(), Names(5));
      if (second >= again.Steps()) break;
    }
  }
  EXPECT_TRUE(seen_before);
  EXPECT_TRUE(seen_after);
}

TEST(ListStorage, AFullDiskLeavesTheStoredLists) {
  for (int step = 0;; ++step) {
    ASSERT_LT(step, 100);
    SCOPED_TRACE(step);
    TestFolder folder;
    PlaylistSet set = Disturbed(folder);
    FakeDisk disk(FakeDisk::Fault::kFull, step);
    const bool saved = SaveAllListsTo(disk, set, folder.Path(), {});
    EXPECT_EQ(Stored(folder), saved ? kAfter : kBefore);
    EXPECT_EQ(folder.Names(), Names(5));
    // When there is room again, nothing of the failure remains.
    EXPECT_TRUE(SaveAllLists(set, folder.Path(), {}));
    EXPECT_EQ(Stored(folder), kAfter);
    if (saved) break;
  }
}

#if !defined(_WIN32)
TEST(ListStorage, AFileThatCannotGrowLeavesTheStoredLists) {
  TestFolder folder;
  PlaylistSet set = Disturbed(folder);
  set.Append(MakeList("Large", 1000));
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit old = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  rlimit small = old;
  small.rlim_cur = 8000;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const bool saved = SaveAllLists(set, folder.Path(), {});
  setrlimit(RLIMIT_FSIZE, &old);
  EXPECT_FALSE(saved);
  EXPECT_EQ(Stored(folder), kBefore);
  EXPECT_EQ(folder.Names(), Names(5));
}
#endif

TEST(ListStorage, WritesOnlyWhatChanged) {
  TestFolder folder;
  PlaylistSet set = MakeSet({"A", "B", "C"});
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  FakeDisk nothing(FakeDisk::Fault::kNone, 0);
  EXPECT_TRUE(SaveAllListsTo(nothing, set, folder.Path(), {}));
  EXPECT_EQ(nothing.Steps(), 0);
  PlaylistSet loaded = Load(folder);
  FakeDisk still_nothing(FakeDisk::Fault::kFull, 0);
  EXPECT_TRUE(SaveAllListsTo(still_nothing, loaded, folder.Path(), {}));
  EXPECT_EQ(still_nothing.Steps(), 0);
  // Where there is no folder to be made, nothing can be saved.
  EXPECT_FALSE(SaveAllLists(set, folder.Path("000.mzbl") + kPathSeparator + "x", {}));
}

TEST(ListJournal, IsWholeOrNothing) {
  ListJournal journal;
  journal.phase = 2;
  journal.from = {std::nullopt, 12, 0};
  const std::string text = FormatJournal(journal);
  const auto parsed = ParseJournal(text);
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->phase, 2);
  EXPECT_EQ(parsed->from, journal.from);
  for (size_t size = 0; size < text.size(); ++size)
    EXPECT_FALSE(ParseJournal(text.substr(0, size)).has_value()) << size;
  for (size_t i = 0; i < text.size(); ++i) {
    std::string changed = text;
    changed[i] = static_cast<char>(changed[i] ^ 1);
    EXPECT_FALSE(ParseJournal(changed).has_value()) << i;
  }
  EXPECT_FALSE(NumberOfName("1.mzbl", ".mzbl").has_value());
  EXPECT_EQ(NumberOfName("1000.MZBL", ".mzbl"), 1000u);
}

}  // namespace
}  // namespace melorin
