// SPDX-License-Identifier: MIT
//
// Lists of 25,000 to 200,000 entries in random path order: obtaining the items, the next entry in random
// mode, sorting, finding, removing duplicates, taking edits back. A path has some 60 bytes, every third with
// Chinese folder names; an item has a title and six tags.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "playlist/list_edit.h"
#include "playlist/list_find.h"
#include "playlist/list_sort.h"
#include "playlist/list_undo.h"
#include "playlist/play_order.h"
#include "playlist/title_format.h"

namespace {

using namespace melorin;

std::string PathOf(size_t number) {
  const std::string album = std::to_string(number / 12);
  const std::string track = std::to_string(number % 12 + 1);
  if (number % 3 == 0)  // "D:\音乐\周杰伦\专辑…\… 夜曲.mp3"
    return "D:\\\xD2\xF4\xC0\xD6\\\xD6\xDC\xBD\xDC\xC2\xD7 Collection\\\xD7\xA8\xBC\xAD " + album + "\\" +
           track + " - \xD2\xB9\xC7\xFA and a longer name.mp3";
  return "D:\\Music\\Some Artist " + album + "\\The Album of that year\\" + track + " - A Song Title.mp3";
}

std::vector<std::string> Paths(size_t count) {
  std::vector<std::string> paths;
  for (size_t i = 0; i < count; ++i)
    paths.push_back(PathOf(i));
  std::shuffle(paths.begin(), paths.end(), std::mt19937(1));
  // A copy has its texts one behind the other in memory, as a file that is read has.
  return std::vector<std::string>(paths);
}

ComPtr<Playlist> ListOf(size_t count) {
  auto list = Playlist::Create();
  std::mt19937 random(2);
  for (const std::string& path : Paths(count)) {
    ItemRef item = ItemCache::Obtain(path, "Some Artist - A Song Title " + std::to_string(random() % 1000),
                                     static_cast<int32_t>(random() % 400000), 0);
    TagFields tags;
    tags.Add("Title", "A Song Title " + std::to_string(random() % 1000));
    tags.Add("Artist",
             random() % 2 ? "Artist " + std::to_string(random() % 5000) : "\xE5\x91\xA8\xE6\x9D\xB0");
    tags.Add("Album", "The Album " + std::to_string(random() % 9000));
    tags.Add("Date", "2004");
    tags.Add("Genre", "Pop");
    tags.Add("Tracknumber", std::to_string(random() % 20 + 1));
    item->SetTags(tags);
    item->SetCodec("MP3|MPEG 1 - Layer 3");
    list->Append(std::move(item));
  }
  return list;
}

size_t Count(const benchmark::State& state) {
  return static_cast<size_t>(state.range(0));
}

/// Copies of the texts only: what the items' own texts cost.
void CopyPaths(benchmark::State& state) {
  const auto paths = Paths(Count(state));
  for (auto _ : state) {
    auto copy = paths;
    benchmark::DoNotOptimize(copy);
  }
  state.SetComplexityN(state.range(0));
}

void ObtainNewItems(benchmark::State& state) {
  const auto paths = Paths(Count(state));
  for (auto _ : state) {
    auto list = Playlist::Create();
    list->Reserve(paths.size());
    for (const std::string& path : paths)
      list->Append(ItemCache::Obtain(path, std::string(), kUnknownDuration, 0));
    state.PauseTiming();
    list = nullptr;
    state.ResumeTiming();
  }
  state.SetComplexityN(state.range(0));
}

void ObtainKnownItems(benchmark::State& state) {
  const auto paths = Paths(Count(state));
  auto list = Playlist::Create();
  for (const std::string& path : paths)
    list->Append(ItemCache::Obtain(path, std::string(), kUnknownDuration, 0));
  for (auto _ : state)
    for (const std::string& path : paths)
      benchmark::DoNotOptimize(ItemCache::Obtain(path, std::string(), kUnknownDuration, 0));
  state.SetComplexityN(state.range(0));
}

void ReleaseItems(benchmark::State& state) {
  const auto paths = Paths(Count(state));
  for (auto _ : state) {
    state.PauseTiming();
    auto list = Playlist::Create();
    for (const std::string& path : paths)
      list->Append(ItemCache::Obtain(path, std::string(), kUnknownDuration, 0));
    state.ResumeTiming();
    list = nullptr;
  }
  state.SetComplexityN(state.range(0));
}

/// With a rebuild every time: the worst case.
void RandomNext(benchmark::State& state) {
  RandomOrder order(SeededRandom(1));
  size_t playing = 5;
  for (auto _ : state) {
    order.Reset();
    playing = *order.Next(Count(state), playing);
  }
  state.SetComplexityN(state.range(0));
}

void Sort(benchmark::State& state, SortKey key, bool as_shown) {
  const auto list = ListOf(Count(state));
  const std::vector<ItemRef> entries = list->Items();
  const TitleSettings settings;
  ShownTitle shown;
  if (as_shown) shown = [&](const PlayListItem& item) { return EntryTitle(item, settings); };
  for (auto _ : state) {
    state.PauseTiming();
    list->Replace(entries);
    state.ResumeTiming();
    benchmark::DoNotOptimize(SortList(*list, key, shown));
  }
  state.SetComplexityN(state.range(0));
}

void Shuffle(benchmark::State& state) {
  const auto list = ListOf(Count(state));
  const RandomSource random = SeededRandom(1);
  for (auto _ : state)
    benchmark::DoNotOptimize(ShuffleList(*list, random));
  state.SetComplexityN(state.range(0));
}

/// Words that no entry has all of: every text is looked through.
void Find(benchmark::State& state) {
  const auto list = ListOf(Count(state));
  const ListSearch search(u"song \u6770 nowhere");
  for (auto _ : state)
    if (FindEntry(*list, search, 7)) state.SkipWithError("found what is not there");
  state.SetComplexityN(state.range(0));
}

void Duplicates(benchmark::State& state, DuplicateRule rule) {
  const auto list = ListOf(Count(state));
  const std::vector<ItemRef> entries = list->Items();
  for (auto _ : state) {
    state.PauseTiming();
    list->Replace(entries);
    list->Append(entries[entries.size() / 2]);
    state.ResumeTiming();
    if (RemoveDuplicates(*list, rule).removed == 0) state.SkipWithError("kept a duplicate");
  }
  state.SetComplexityN(state.range(0));
}

void MoveAndTakeBack(benchmark::State& state) {
  const auto list = ListOf(Count(state));
  ListHistory history;
  const std::vector<size_t> selection = {3, 5, 8};
  for (auto _ : state) {
    history.Add("move", MoveEntries(*list, selection, list->Size() / 2));
    history.Undo(*list);
  }
  state.SetComplexityN(state.range(0));
}

void Sizes(benchmark::internal::Benchmark* b) {
  for (const int count : {25000, 50000, 100000, 200000})
    b->Arg(count);
  b->Unit(benchmark::kMillisecond)->Complexity();
}

BENCHMARK(CopyPaths)->Apply(Sizes);
BENCHMARK(ObtainNewItems)->Apply(Sizes);
BENCHMARK(ObtainKnownItems)->Apply(Sizes);
BENCHMARK(ReleaseItems)->Apply(Sizes);
BENCHMARK(RandomNext)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, title, SortKey::kTitle, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, title_as_shown, SortKey::kTitle, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, artist, SortKey::kArtist, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, album, SortKey::kAlbum, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, path, SortKey::kPath, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, duration, SortKey::kDuration, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, track_number, SortKey::kTrackNumber, false)->Apply(Sizes);
BENCHMARK(Shuffle)->Apply(Sizes);
BENCHMARK(Find)->Apply(Sizes);
BENCHMARK_CAPTURE(Duplicates, same_item, DuplicateRule::kSameItem)->Apply(Sizes);
BENCHMARK_CAPTURE(Duplicates, same_song, DuplicateRule::kSameItemOrSong)->Apply(Sizes);
BENCHMARK(MoveAndTakeBack)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
