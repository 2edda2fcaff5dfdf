// SPDX-License-Identifier: MIT
//
// An MP3 to 16-bit PCM through the whole chain (file, source, decoder, blocks, conversion), beside libmpg123
// alone fed the same bytes in packets of the same size. The file is MELORIN_BENCH_MP3, or one of the test
// corpus.
#include <benchmark/benchmark.h>
#include <mpg123.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "playback/sample_convert.h"
#include "playback/source_chain.h"
#include "sound/exports.h"
#include "sound/sound_library.h"

namespace {

using namespace melorin;

constexpr size_t kPacketBytes = 4096;

std::string InputPath() {
  if (const char* path = std::getenv("MELORIN_BENCH_MP3")) return path;
  const char* corpus = std::getenv("MELORIN_CORPUS");
  return std::string(corpus ? corpus : "../shared/corpus") + "/mp3/deadbeef__cbr_rhytm_30sec.mp3";
}

SoundLibrary& Library() {
  static SoundLibrary library;
  static const bool started = library.Start("") == S_OK;
  static_cast<void>(started);
  return library;
}

/// What the source hands out, tags left off: the bytes that both sides decode.
std::vector<uint8_t> AudioBytes() {
  std::vector<uint8_t> bytes;
  ComPtr<SoundSource> source;
  ComPtr<SoundBuffer> packet;
  const std::u16string path = Utf16FromUtf8(InputPath());
  if (FAILED(Library().OpenSource(AsWide(path.c_str()), 0, source.Receive())) ||
      FAILED(CreateSoundBuffer(packet.Receive(), kPacketBytes)))
    return bytes;
  while (source->Read(packet.get()) == S_OK) {
    uint8_t* data = nullptr;
    uint32_t length = 0;
    packet->GetData(&data, &length);
    bytes.insert(bytes.end(), data, data + length);
  }
  return bytes;
}

/// Bytes of float PCM decoded; 0 when something is wrong. `convert`: to 16 bits, block by block.
size_t DecodeBare(const std::vector<uint8_t>& bytes, bool convert) {
  mpg123_handle* handle = mpg123_new(nullptr, nullptr);
  if (!handle) return 0;
  mpg123_param(handle, MPG123_ADD_FLAGS, MPG123_FORCE_FLOAT | MPG123_QUIET | MPG123_SKIP_ID3V2, 0);
  mpg123_open_feed(handle);
  std::vector<uint8_t> pcm(2304 * 8);
  size_t total = 0;
  for (size_t at = 0; at < bytes.size(); at += kPacketBytes) {
    mpg123_feed(handle, bytes.data() + at, std::min(kPacketBytes, bytes.size() - at));
    for (;;) {
      size_t got = 0;
      const int status = mpg123_read(handle, pcm.data(), pcm.size(), &got);
      total += got;
      if (convert && got > 0)
        benchmark::DoNotOptimize(ConvertSamples(pcm.data(), static_cast<uint32_t>(got), 16));
      if (status == MPG123_NEED_MORE || status == MPG123_ERR) break;
    }
  }
  mpg123_delete(handle);
  return total;
}

size_t DecodeChain(bool convert) {
  std::unique_ptr<SourceChain> chain;
  const std::u16string path = Utf16FromUtf8(InputPath());
  if (FAILED(SourceChain::Open(Library(), AsWide(path.c_str()), 0, &chain))) return 0;
  ComPtr<SoundBuffer> block;
  if (FAILED(CreateSoundBuffer(block.Receive(), chain->BlockBytes()))) return 0;
  size_t total = 0;
  while (chain->NextBlock(*block) == S_OK) {
    uint8_t* data = nullptr;
    uint32_t length = 0;
    block->GetData(&data, &length);
    total += length;
    if (convert) benchmark::DoNotOptimize(ConvertSamples(data, length, 16));
  }
  return total;
}

template <class Decode>
void Run(benchmark::State& state, const Decode& decode) {
  size_t bytes = 0;
  for (auto _ : state)
    bytes = decode();
  if (bytes == 0) state.SkipWithError("nothing decoded: set MELORIN_BENCH_MP3");
  // Of stereo at 44100 Hz.
  state.counters["x_real_time"] = benchmark::Counter(static_cast<double>(bytes) / 8 / 44100,
                                                     benchmark::Counter::kIsIterationInvariantRate);
  state.counters["frames"] = static_cast<double>(bytes) / 8;
}

void BareMpg123(benchmark::State& state) {
  const std::vector<uint8_t> bytes = AudioBytes();
  Run(state, [&] { return DecodeBare(bytes, state.range(0) != 0); });
}

void WholeChain(benchmark::State& state) {
  Run(state, [&] { return DecodeChain(state.range(0) != 0); });
}

BENCHMARK(BareMpg123)->ArgName("to16")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeChain)->ArgName("to16")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
