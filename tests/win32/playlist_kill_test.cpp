// SPDX-License-Identifier: MIT
//
// Nothing is lost: a program that saves settings and twenty lists in a loop is killed at 200 random instants,
// and after each everything must be found as it was before the save or as it should be after it. The program
// that is killed is this one, run again for one of its tests.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>

#include "doc/settings.h"
#include "playlist/list_storage.h"
#include "tests/playlist_test_folder.h"

namespace melorin {
namespace {

constexpr size_t kLists = 20;
constexpr int kRounds = 200;
constexpr char kFolderVariable[] = "MELORIN_KILL_FOLDER";
constexpr char kSeedVariable[] = "MELORIN_KILL_SEED";
constexpr char kNameVariable[] = "MELORIN_KILL_NAME";  ///< Of what the two share, with an ending each.

/// What the folder should hold: which list stands where, and which generation of its entries.
struct Contents {
  std::array<uint32_t, kLists> order;
  std::array<uint32_t, kLists> generation;  ///< By list, not by place.
  bool operator==(const Contents&) const = default;
};

/// Shared by both processes. `contents[saved]` is on the disk, the other one is being saved.
struct State {
  Contents contents[2];
  std::atomic<uint32_t> saved;
  std::atomic<uint32_t> settings_saved;
  std::atomic<uint32_t> settings_saving;
};

class SharedState {
 public:
  explicit SharedState(const std::string& name)
      : mapping_(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(State),
                                    (name + "_state").c_str())),
        state_(static_cast<State*>(MapViewOfFile(mapping_, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(State)))) {}
  ~SharedState() {
    UnmapViewOfFile(state_);
    CloseHandle(mapping_);
  }
  SharedState(const SharedState&) = delete;
  SharedState& operator=(const SharedState&) = delete;
  State* operator->() const { return state_; }

 private:
  HANDLE mapping_;
  State* state_;
};

std::string ListName(uint32_t list) {
  return "L" + std::to_string(list);
}

std::string EntryPath(uint32_t list, uint32_t generation, size_t entry) {
  return "D:\\" + ListName(list) + "\\" + std::to_string(generation) + "\\" + std::to_string(entry) + ".mp3";
}

size_t EntryCount(uint32_t list, uint32_t generation) {
  return 20 + (list * 7 + generation * 13) % 200;
}

void Fill(Playlist& list, uint32_t number, uint32_t generation) {
  list.Clear();
  for (size_t i = 0; i < EntryCount(number, generation); ++i)
    list.Append(ItemCache::Obtain(EntryPath(number, generation, i), "Title", 1000, 0));
}

std::string SettingsPath(const std::string& folder) {
  return folder + "\\settings.xml";
}

bool SaveSettings(const std::string& folder, uint32_t generation) {
  Settings settings;
  settings.lyric.proxy_port = static_cast<int32_t>(generation);
  settings.lyric.proxy_addr_gbk = std::to_string(generation);
  return settings.Save(SettingsPath(folder), "1");
}

// The program that is killed.

class Saver {
 public:
  Saver(std::string folder, std::string name, uint32_t seed)
      : folder_(std::move(folder)), name_(std::move(name)), random_(seed), state_(name_) {}

  void RunUntilKilled() {
    Load();
    const HANDLE started = OpenEventA(EVENT_MODIFY_STATE, FALSE, (name_ + "_started").c_str());
    SetEvent(started);
    for (uint32_t step = 1;; ++step) {
      Change();
      state_->settings_saving = state_->settings_saved + 1;
      if (!SaveSettings(folder_, state_->settings_saving)) std::abort();
      state_->settings_saved.store(state_->settings_saving);
      if (!SaveAllLists(set_, folder_, {})) std::abort();
      state_->saved = 1 - state_->saved;
      if (step % 4 == 0) Load();
    }
  }

 private:
  void Load() {
    set_.Clear();
    LoadAllLists(set_, folder_, kLists, Below(kLists), "none", {});
    if (set_.Size() != kLists) std::abort();
  }

  size_t Below(size_t bound) { return random_() % bound; }

  void Change() {
    Contents next = state_->contents[state_->saved];
    for (int i = 0; i < 5; ++i) {
      const size_t a = Below(kLists);
      const size_t b = Below(kLists);
      set_.Swap(a, b);
      std::swap(next.order[a], next.order[b]);
    }
    for (int i = 0; i < 4; ++i) {
      const size_t at = Below(kLists);
      if (!EnsureLoaded(*set_.At(at), {})) std::abort();
      const uint32_t list = next.order[at];
      Fill(*set_.At(at), list, ++next.generation[list]);
    }
    state_->contents[1 - state_->saved] = next;
  }

  std::string folder_;
  std::string name_;
  std::mt19937 random_;
  SharedState state_;
  PlaylistSet set_;
};

TEST(StorageKill, DISABLED_Saver) {
  const char* folder = std::getenv(kFolderVariable);
  const char* seed = std::getenv(kSeedVariable);
  const char* name = std::getenv(kNameVariable);
  if (folder == nullptr || seed == nullptr || name == nullptr) GTEST_SKIP() << "is run by the other test";
  Saver(folder, name, static_cast<uint32_t>(std::atoi(seed))).RunUntilKilled();
}

// The one that kills it.

PROCESS_INFORMATION StartSaver(const std::string& folder, int seed) {
  SetEnvironmentVariableA(kFolderVariable, folder.c_str());
  SetEnvironmentVariableA(kSeedVariable, std::to_string(seed).c_str());
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  std::string line = "\"" + std::string(program) +
                     "\" --gtest_filter=StorageKill.DISABLED_Saver --gtest_also_run_disabled_tests";
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
    return {};
  return process;
}

/// What is on the disk. A list that is not whole, twice there or not at all fails the test.
Contents ReadBack(const std::string& folder) {
  Contents found = {};
  PlaylistSet set;
  LoadAllLists(set, folder, RecoverStoredLists(folder), 0, "none", {});
  EXPECT_EQ(set.Size(), kLists);
  std::array<bool, kLists> seen = {};
  for (size_t i = 0; i < std::min(set.Size(), kLists); ++i) {
    Playlist& list = *set.At(i);
    SCOPED_TRACE(list.NameGbk());
    EXPECT_TRUE(EnsureLoaded(list, {}));
    const auto number = static_cast<uint32_t>(std::atoi(list.NameGbk().c_str() + 1));
    if (list.IsEmpty() || number >= kLists || seen[number]) {
      ADD_FAILURE() << "empty, foreign or twice there";
      continue;
    }
    seen[number] = true;
    const size_t generation_at = EntryPath(number, 0, 0).find("\\0\\") + 1;
    const auto generation =
        static_cast<uint32_t>(std::atoi(list.At(0)->PathGbk().c_str() + static_cast<int>(generation_at)));
    EXPECT_EQ(list.Size(), EntryCount(number, generation));
    for (size_t entry = 0; entry < list.Size(); ++entry)
      EXPECT_EQ(list.At(entry)->PathGbk(), EntryPath(number, generation, entry));
    found.order[i] = number;
    found.generation[number] = generation;
  }
  return found;
}

void CheckSettings(const std::string& folder, const SharedState& state) {
  Settings settings;
  EXPECT_EQ(settings.Load(SettingsPath(folder)), LoadResult::kLoaded);
  const auto generation = static_cast<uint32_t>(settings.lyric.proxy_port);
  EXPECT_TRUE(generation == state->settings_saved || generation == state->settings_saving) << generation;
  EXPECT_EQ(settings.lyric.proxy_addr_gbk, std::to_string(generation));
  state->settings_saved = generation;
  state->settings_saving = generation;
}

TEST(StorageKill, EveryListIsWholeAfterAnyKill) {
  TestFolder folder;
  const std::string name = "melorin_kill_" + std::to_string(GetCurrentProcessId());
  SetEnvironmentVariableA(kNameVariable, name.c_str());
  SharedState state(name);
  PlaylistSet set;
  Contents first = {};
  for (uint32_t i = 0; i < kLists; ++i) {
    set.Append(Playlist::Create(ListName(i)));
    Fill(*set.At(i), i, 0);
    first.order[i] = i;
  }
  ASSERT_TRUE(SaveAllLists(set, folder.Path(), {}));
  ASSERT_TRUE(SaveSettings(folder.Path(), 0));
  set.Clear();
  state->contents[0] = first;
  state->contents[1] = first;

  const HANDLE started = CreateEventA(nullptr, FALSE, FALSE, (name + "_started").c_str());
  std::mt19937 random(20091);
  int saves_cut = 0;
  int generations = 0;
  for (int round = 0; round < kRounds && !::testing::Test::HasFailure(); ++round) {
    SCOPED_TRACE(round);
    const PROCESS_INFORMATION process = StartSaver(folder.Path(), round);
    ASSERT_NE(process.hProcess, nullptr);
    const HANDLE either[] = {started, process.hProcess};
    EXPECT_EQ(WaitForMultipleObjects(2, either, FALSE, 30000), WAIT_OBJECT_0) << "the saver did not start";
    Sleep(random() % 100);
    const bool was_alive = WaitForSingleObject(process.hProcess, 0) == WAIT_TIMEOUT;
    EXPECT_TRUE(was_alive) << "the saver ended by itself";
    TerminateProcess(process.hProcess, 1);
    WaitForSingleObject(process.hProcess, 10000);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);

    const bool cut = folder.Names().size() != kLists + 1;
    saves_cut += cut ? 1 : 0;
    const Contents found = ReadBack(folder.Path());
    const bool is_old = found == state->contents[state->saved];
    EXPECT_TRUE(is_old || found == state->contents[1 - state->saved]);
    CheckSettings(folder.Path(), state);
    state->contents[0] = found;
    state->contents[1] = found;
    state->saved = 0;
    for (const uint32_t generation : found.generation)
      generations = std::max(generations, static_cast<int>(generation));
  }
  CloseHandle(started);
  // The kills must have hit saves in their middle, and saves must have been completed between them.
  RecordProperty("saves_cut", saves_cut);
  std::printf("%d of %d kills hit a save of the lists in its middle; generation %d was reached\n", saves_cut,
              kRounds, generations);
  EXPECT_GT(saves_cut, kRounds / 20);
  EXPECT_GT(generations, 10);
}

}  // namespace
}  // namespace melorin
