// SPDX-License-Identifier: MIT
//
// Lists of 25,000 to 200,000 entries in random order of their paths, read and written in every format, with
// what the player knows of each file (duration, codec, format, six tags) where the format holds it. The floor
// is what any reader of the text form must do: find the lines and copy them. Reading includes opening the
// file and making the items; giving them back is not counted.
//
// The files are made in the system's folder for temporary files on the first run and used again. So a second
// run with --benchmark_filter for one case shows that case's own `list_MB`, the working set with the
// list read, and `peak_MB`, its peak, in which the list file that is mapped while it is read counts.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
// After windows.h, which it needs.
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

#include "platform/file.h"
#include "platform/text.h"
#include "playlist/list_file.h"

namespace {

using namespace melorin;

#if defined(_WIN32)
PROCESS_MEMORY_COUNTERS Memory() {
  PROCESS_MEMORY_COUNTERS counters = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters;
}
#endif

/// The working set; 0 on the host.
double Megabytes() {
#if defined(_WIN32)
  return static_cast<double>(Memory().WorkingSetSize) / 1e6;
#else
  return 0;
#endif
}

double PeakMegabytes() {
#if defined(_WIN32)
  return static_cast<double>(Memory().PeakWorkingSetSize) / 1e6;
#else
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1e3;
#endif
}

/// Songs as a collection has them: artist folders with album folders, a good part of the names Chinese.
ComPtr<Playlist> MakeList(size_t count) {
  static const char* const kWords[] = {"月亮",     "代表",     "我的心", "Love", "晚风",  "Summer",
                                       "海阔天空", "Night",    "R&B",    "夜曲", "Remix", "故乡",
                                       "Blues",    "光年之外", "Live",   "听雨"};
  std::mt19937 random(20091);
  const auto words = [&random](int number) {
    std::string out;
    for (int i = 0; i < number; ++i)
      out.append(i == 0 ? "" : " ").append(kWords[random() % 16]);
    return out;
  };
  std::vector<size_t> order(count);
  std::iota(order.begin(), order.end(), size_t{0});
  std::shuffle(order.begin(), order.end(), random);
  auto list = Playlist::Create("Bench");
  for (const size_t number : order) {
    const std::string artist = words(2);
    const std::string album = words(3);
    const std::string title = words(3);
    const std::string path =
        "D:\\Music\\" + artist + "\\" + album + "\\" + std::to_string(number) + " " + title + ".mp3";
    ItemRef item = ItemCache::Obtain(GbkFromUtf8(path), GbkFromUtf8(artist + " - " + title),
                                     static_cast<int32_t>(random() % 400000) + 1000, 0);
    item->SetCodec("MP3|MPEG 1 - Layer 3");
    item->SetFormat({44100, 2, 16, 320000});
    item->SetTimeStamp(0x49000000 + random() % 0xFFFFFF);
    TagFields tags;
    tags.Add("Title", title);
    tags.Add("Artist", artist);
    tags.Add("Album", album);
    tags.Add("Date", std::to_string(1980 + random() % 40));
    tags.Add("Genre", "Pop");
    tags.Add("Tracknumber", std::to_string(random() % 20));
    item->SetTags(tags);
    list->Append(std::move(item));
  }
  return list;
}

/// The path of a file with so many entries, which is made when it is not there.
std::string ListPath(size_t count, const char* ending) {
  const std::string folder = TempDirectory() + "melorin_bench_lists";
  MakeDirectory(folder);
  const auto path = [&](const char* any) { return JoinPath(folder, std::to_string(count) + any); };
  if (!FileExists(path(ending))) {
    const auto list = MakeList(count);
    for (const char* any : {".m3u", ".m3u8", ".mzbl", ".mzpl"})
      SavePlaylist(*list, path(any), {});
  }
  return path(ending);
}

void Finish(benchmark::State& state) {
  state.counters["peak_MB"] = PeakMegabytes();
  state.SetComplexityN(state.range(0));
}

void Floor(benchmark::State& state) {
  const std::string path = ListPath(static_cast<size_t>(state.range(0)), ".m3u8");
  for (auto _ : state) {
    MappedFile file;
    file.Open(path);
    const std::string_view text(reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size());
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
      const size_t end = std::min(text.find('\n', at), text.size());
      lines.emplace_back(text.substr(at, end - at));
      at = end + 1;
    }
    benchmark::DoNotOptimize(lines.data());
  }
  Finish(state);
}

void Read(benchmark::State& state, const char* ending) {
  const std::string path = ListPath(static_cast<size_t>(state.range(0)), ending);
  for (auto _ : state) {
    auto list = Playlist::Create();
    if (!LoadPlaylist(*list, path, {}) || list->Size() != static_cast<size_t>(state.range(0)))
      state.SkipWithError("not read whole");
    state.PauseTiming();
    state.counters["list_MB"] = Megabytes();
    list.Reset();
    state.ResumeTiming();
  }
  Finish(state);
}

void Write(benchmark::State& state, const char* ending) {
  const std::string path = ListPath(static_cast<size_t>(state.range(0)), ending);
  const auto list = Playlist::Create();
  LoadPlaylist(*list, ListPath(static_cast<size_t>(state.range(0)), ".mzbl"), {});
  for (auto _ : state) {
    if (!SavePlaylist(*list, path, {})) state.SkipWithError("not written");
  }
  Finish(state);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(25000)->Arg(50000)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond)->Complexity();
}

BENCHMARK(Floor)->Apply(Sizes);
BENCHMARK_CAPTURE(Read, m3u, ".m3u")->Apply(Sizes);
BENCHMARK_CAPTURE(Read, m3u8, ".m3u8")->Apply(Sizes);
BENCHMARK_CAPTURE(Read, mzbl, ".mzbl")->Apply(Sizes);
BENCHMARK_CAPTURE(Read, mzpl, ".mzpl")->Apply(Sizes);
BENCHMARK_CAPTURE(Write, m3u, ".m3u")->Apply(Sizes);
BENCHMARK_CAPTURE(Write, m3u8, ".m3u8")->Apply(Sizes);
BENCHMARK_CAPTURE(Write, mzbl, ".mzbl")->Apply(Sizes);
BENCHMARK_CAPTURE(Write, mzpl, ".mzpl")->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
