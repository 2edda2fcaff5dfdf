// SPDX-License-Identifier: MIT
//
// Finding the lyric file of a song among 20,000 in 200 folders, two levels deep. First: nothing is
// remembered, the disk is read. Later: the folders are known, and only their time stamps are asked. Beside
// them the same search without an index: Enumerate lists every folder and rates every file for each song,
// RateAll rates names that are remembered, folded. Of the songs one has its exact name in the middle, one is
// there under a like name only, and one is not there.
//
// The files are made in the system's folder for temporary files on the first run and used again.
#include <benchmark/benchmark.h>

#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "lyrics/lyric_finder.h"
#include "lyrics/name_similarity.h"
#include "lyrics/song_key.h"
#include "platform/file.h"
#include "platform/text.h"

namespace {

using namespace melorin;

constexpr int kGroups = 10;
constexpr int kFoldersInGroup = 20;
constexpr int kFilesInFolder = 100;

/// Names of 400 artists in 20,000 titles.
struct Collection {
  std::string folder;
  std::vector<std::string> folders;
  std::vector<std::string> names;  ///< Without extension, of all folders.

  Collection() {
    static const char* const kWords[] = {"月亮",     "代表",  "我的心", "Love", "晚风", "Summer",
                                         "海阔天空", "Night", "R&B",    "夜曲", "風",   "故乡",
                                         "Blues",    "光年",  "Live",   "听雨"};
    std::mt19937 random(20261125);
    const auto words = [&random](size_t least, size_t most) {
      std::string out;
      for (size_t i = least + random() % (most - least + 1); i > 0; --i)
        out.append(out.empty() ? "" : " ").append(kWords[random() % 16]);
      return out;
    };
    std::vector<std::string> artists;
    for (int i = 0; i < 400; ++i)
      artists.push_back(words(1, 2) + " " + std::to_string(i));
    folder = TempDirectory() + "melorin_bench_lyrics";
    const bool made = !DirectoryExists(JoinPath(folder, "done"));
    MakeDirectory(folder);
    for (int group = 0; group < kGroups; ++group) {
      const std::string outer = JoinPath(folder, "group " + std::to_string(group));
      MakeDirectory(outer);
      for (int i = 0; i < kFoldersInGroup; ++i) {
        folders.push_back(JoinPath(outer, "folder " + std::to_string(i)));
        MakeDirectory(folders.back());
        for (int file = 0; file < kFilesInFolder; ++file) {
          const std::string artist = artists[random() % artists.size()];
          const std::string title = words(2, 4);
          std::string name = random() % 4 == 0 ? title + "-" + artist : artist + " - " + title;
          if (random() % 8 == 0) name += " (" + words(1, 1) + ")";
          names.push_back(GbkFromUtf8(name + " " + std::to_string(names.size())));
          if (made) WriteFileSafely(JoinPath(folders.back(), names.back() + ".lrc"), {});
        }
      }
    }
    if (made) {
      MakeDirectory(JoinPath(folder, "done"));
      // What changed just now is not trusted.
      std::this_thread::sleep_for(std::chrono::seconds(5));
    }
  }
};

const Collection& TheCollection() {
  static const Collection collection;
  return collection;
}

enum SongKind { kExact, kLike, kMissing };

ItemRef Song(SongKind kind) {
  std::string artist = "Nobody";
  std::string title = "Nothing of the kind";
  if (kind != kMissing) {
    // The first behind the middle that says "artist - title".
    const std::vector<std::string>& names = TheCollection().names;
    size_t i = names.size() / 2;
    while (names[i].find(" - ") == std::string::npos || names[i].find('(') != std::string::npos)
      ++i;
    const ArtistAndTitle split = SplitBaseName(names[i]);
    artist = Utf8FromGbk(split.artist);
    title = Utf8FromGbk(split.title) + (kind == kLike ? " (Live)" : "");
  }
  ItemRef item = ItemCache::Obtain("D:\\Music\\" + std::to_string(kind) + ".mp3", {}, kUnknownDuration, 0);
  TagFields tags;
  tags.Add("Artist", artist);
  tags.Add("Title", title);
  item->SetTags(tags);
  return item;
}

const LyricSearch& Search() {
  static const LyricSearch search{{TheCollection().folder}, {}};
  return search;
}

void Check(benchmark::State& state, SongKind kind, int score) {
  if (score != (kind == kExact ? 9 : kind == kLike ? 8 : 0)) state.SkipWithError("another score");
}

void First(benchmark::State& state, SongKind kind) {
  const ItemRef song = Song(kind);
  const LyricAssociations none;
  for (auto _ : state) {
    LyricFinder finder(none);
    Check(state, kind, finder.Find(*song, Search()).score);
  }
}

void Later(benchmark::State& state, SongKind kind) {
  const ItemRef song = Song(kind);
  const LyricAssociations none;
  LyricFinder finder(none);
  finder.Find(*Song(kMissing), Search());
  for (auto _ : state)
    Check(state, kind, finder.Find(*song, Search()).score);
}

int BestBelow(const std::string& folder, const FoldedName& song, int best) {
  for (const DirectoryEntry& entry : ListDirectory(folder)) {
    if (best == 9) break;
    if (entry.is_directory)
      best = std::max(best, BestBelow(JoinPath(folder, entry.name_gbk), song, best));
    else
      best = std::max(best, Similarity(song, FoldName(entry.name_gbk.substr(0, entry.name_gbk.size() - 4))));
  }
  return best;
}

void Enumerate(benchmark::State& state, SongKind kind) {
  const FoldedName song = FoldSong(SongKeyOf(*Song(kind)));
  for (auto _ : state)
    Check(state, kind, BestBelow(TheCollection().folder, song, 0));
}

void RateAll(benchmark::State& state, SongKind kind) {
  const FoldedName song = FoldSong(SongKeyOf(*Song(kind)));
  std::vector<FoldedName> names;
  for (const std::string& name : TheCollection().names)
    names.push_back(FoldName(name));
  for (auto _ : state) {
    int best = 0;
    for (const FoldedName& name : names)
      best = std::max(best, Similarity(song, name));
    Check(state, kind, best);
  }
}

void Fold(benchmark::State& state) {
  const std::vector<std::string>& names = TheCollection().names;
  for (auto _ : state)
    for (const std::string& name : names)
      benchmark::DoNotOptimize(FoldName(name));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(names.size()));
}

#define MELORIN_SONGS(Function)                                              \
  BENCHMARK_CAPTURE(Function, exact, kExact)->Unit(benchmark::kMillisecond); \
  BENCHMARK_CAPTURE(Function, like, kLike)->Unit(benchmark::kMillisecond);   \
  BENCHMARK_CAPTURE(Function, missing, kMissing)->Unit(benchmark::kMillisecond)
MELORIN_SONGS(First);
MELORIN_SONGS(Later);
MELORIN_SONGS(Enumerate);
MELORIN_SONGS(RateAll);
BENCHMARK(Fold)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
