// SPDX-License-Identifier: MIT
//
// A long lyric, 2,000 lines of 56 bytes, from the disk or from memory to sorted lines. Beside it what no
// reader can do without: looking at each byte once, copying the bytes, and making as many texts.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "lyrics/lyric_file.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr int kLines = 2000;

std::string Time(int ms) {
  const auto two = [](int number) { return std::to_string(100 + number % 100).substr(1); };
  return "[" + two(ms / 60000) + ":" + two(ms / 1000 % 60) + "." + two(ms / 10 % 100) + "]";
}

/// GBK. Each line has 22 hanzi; with `shuffled` the times are in no order.
std::string Text(bool shuffled) {
  std::string text;
  unsigned seed = 1;
  for (int i = 0; i < kLines; ++i) {
    // 1237 has no divisor in common with the number of lines: every time occurs once.
    text += Time(1000 + 2000 * (shuffled ? i * 1237 % kLines : i));
    for (int hanzi = 0; hanzi < 22; ++hanzi) {
      seed = seed * 1103515245 + 12345;
      text += static_cast<char>(0xB0 + (seed >> 16) % 39);
      text += static_cast<char>(0xA1 + (seed >> 24) % 94);
    }
    text += "\r\n";
  }
  return text;
}

std::span<const uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

void Parse(benchmark::State& state, const std::string& text) {
  size_t lines = 0;
  for (auto _ : state) {
    LyricDoc doc;
    ParseLyricBytes(doc, Bytes(text));
    lines = doc.Lines().size();
  }
  if (lines != kLines) state.SkipWithError("lines are missing");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

void LoadFromDisk(benchmark::State& state) {
  const std::string text = Text(false);
  const std::string path = TempDirectory() + "melorin_lyric_bench.lrc";
  if (!WriteFileSafely(path, Bytes(text))) state.SkipWithError("the file cannot be written");
  bool loaded = true;
  for (auto _ : state) {
    LyricDoc doc;
    loaded = LoadLyricFile(doc, path) && doc.Lines().size() == kLines && loaded;
  }
  DeleteFileAt(path);
  if (!loaded) state.SkipWithError("lines are missing");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
void ParseGbk(benchmark::State& state) {
  Parse(state, Text(false));
}
void ParseGbkShuffled(benchmark::State& state) {
  Parse(state, Text(true));
}
void ParseUtf8(benchmark::State& state) {
  Parse(state, Utf8FromGbk(Text(false)));
}
void ParseGbkByUtf16(benchmark::State& state) {
  const std::string text = Text(false);
  for (auto _ : state) {
    LyricDoc doc;
    doc.Parse(Utf16FromGbk(text));
    benchmark::DoNotOptimize(doc.Lines().data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

LyricDoc Document() {
  LyricDoc doc;
  ParseLyricBytes(doc, Bytes(Text(false)));
  return doc;
}
void WriteMerged(benchmark::State& state) {
  const LyricDoc doc = Document();
  for (auto _ : state)
    benchmark::DoNotOptimize(doc.Write(true).size());
}
void FindLine(benchmark::State& state) {
  const LyricDoc doc = Document();
  int32_t time_ms = 0;
  for (auto _ : state) {
    time_ms = (time_ms + 40000) % (kLines * 2000);
    benchmark::DoNotOptimize(doc.LineAtTime(time_ms, 1000, 0));
  }
}

void PeerReadFile(benchmark::State& state) {
  const std::string text = Text(false);
  const std::string path = TempDirectory() + "melorin_lyric_bench_peer.lrc";
  WriteFileSafely(path, Bytes(text));
  std::vector<uint8_t> bytes(text.size());
  int64_t got = 0;
  for (auto _ : state) {
    File file;
    file.Open(path, File::Access::kRead, File::Share::kReadWrite, File::Create::kMustExist);
    got = file.Read(bytes);
  }
  DeleteFileAt(path);
  if (got != static_cast<int64_t>(text.size())) state.SkipWithError("the file cannot be read");
  state.SetBytesProcessed(state.iterations() * got);
}
void PeerScanBytes(benchmark::State& state) {
  const std::string text = Text(false);
  for (auto _ : state) {
    size_t marks = 0;
    for (const char c : text)
      if (c == '\n' || c == '\r' || c == '[') {
        ++marks;
        benchmark::DoNotOptimize(marks);
      }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
void PeerMemcpy(benchmark::State& state) {
  const std::string text = Text(false);
  std::string copy(text.size(), ' ');
  for (auto _ : state) {
    std::memcpy(copy.data(), text.data(), text.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
void PeerMakeTexts(benchmark::State& state) {
  const std::string text = Text(false);
  for (auto _ : state) {
    std::vector<LyricLine> lines;
    for (int i = 0; i < kLines; ++i)
      lines.push_back({std::string(text, static_cast<size_t>(i) * 56 + 10, 44), i});
    benchmark::DoNotOptimize(lines.data());
  }
}

BENCHMARK(LoadFromDisk)->Unit(benchmark::kMicrosecond);
BENCHMARK(ParseGbk)->Unit(benchmark::kMicrosecond);
BENCHMARK(ParseGbkShuffled)->Unit(benchmark::kMicrosecond);
BENCHMARK(ParseUtf8)->Unit(benchmark::kMicrosecond);
BENCHMARK(ParseGbkByUtf16)->Unit(benchmark::kMicrosecond);
BENCHMARK(WriteMerged)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindLine)->Unit(benchmark::kMicrosecond);
BENCHMARK(PeerReadFile)->Unit(benchmark::kMicrosecond);
BENCHMARK(PeerScanBytes)->Unit(benchmark::kMicrosecond);
BENCHMARK(PeerMemcpy)->Unit(benchmark::kMicrosecond);
BENCHMARK(PeerMakeTexts)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
