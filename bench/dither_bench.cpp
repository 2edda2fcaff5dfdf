// SPDX-License-Identifier: MIT
//
// Float to integer conversion of stereo blocks, with and without dither, beside a plain loop that shifts its
// histories. Time a frame is the counter "frame".
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "playback/dither_shaper.h"
#include "playback/sample_convert.h"

namespace melorin {
namespace {

constexpr uint32_t kFrames = 4608;

std::vector<float> MakeSamples() {
  std::vector<float> samples(kFrames * 2);
  for (uint32_t i = 0; i < samples.size(); ++i)
    samples[i] = 0.4f * static_cast<float>(std::sin(i * 0.013) + std::sin(i * 0.37));
  return samples;
}

void ReportFrames(benchmark::State& state) {
  state.counters["frame"] = benchmark::Counter(
      kFrames, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The in-place conversion needs a fresh block each time: this is what laying it out costs.
void BM_Copy(benchmark::State& state) {
  const std::vector<float> samples = MakeSamples();
  std::vector<uint8_t> block(samples.size() * 4);
  for (auto _ : state) {
    std::memcpy(block.data(), samples.data(), block.size());
    benchmark::DoNotOptimize(block.data());
    benchmark::ClobberMemory();
  }
  ReportFrames(state);
}
BENCHMARK(BM_Copy);

void BM_Plain(benchmark::State& state) {
  const std::vector<float> samples = MakeSamples();
  std::vector<uint8_t> block(samples.size() * 4);
  for (auto _ : state) {
    std::memcpy(block.data(), samples.data(), block.size());
    ConvertSamples(block.data(), static_cast<uint32_t>(block.size()), static_cast<uint16_t>(state.range(0)));
    benchmark::ClobberMemory();
  }
  ReportFrames(state);
}
BENCHMARK(BM_Plain)->ArgName("bits")->Arg(8)->Arg(16)->Arg(24)->Arg(32);

// Arguments: the "Dither" setting and the rate; 16 bits.
void BM_Dither(benchmark::State& state) {
  const std::vector<float> samples = MakeSamples();
  std::vector<uint8_t> block(samples.size() * 4);
  const auto shaper = DitherShaper::Create({.sample_rate = static_cast<uint32_t>(state.range(1)),
                                            .type = static_cast<int32_t>(state.range(0)) - 1});
  for (auto _ : state) {
    std::memcpy(block.data(), samples.data(), block.size());
    shaper->Convert(block.data(), static_cast<uint32_t>(block.size()));
    benchmark::ClobberMemory();
  }
  ReportFrames(state);
}

void BM_DitherPlainLoop(benchmark::State& state) {
  const std::vector<float> samples = MakeSamples();
  std::vector<int16_t> out(samples.size());
  const int32_t type = static_cast<int32_t>(state.range(0)) - 1;
  const auto shaper =
      DitherShaper::Create({.sample_rate = static_cast<uint32_t>(state.range(1)), .type = type});
  const double* noise = shaper->Noise();
  const uint32_t index = shaper->ShaperIndex();
  const uint32_t length = type != 0 ? kShaperLength[index] : 0;
  double history[2][21] = {};
  uint32_t counter = 0;
  for (auto _ : state) {
    for (uint32_t i = 0; i < samples.size(); ++i) {
      double* past = history[i % 2];
      double x = samples[i] * 32768.0 + noise[counter++ % 16384];
      for (uint32_t k = 0; k < length; ++k)
        x += past[k] * kShaperCoefficients[index][k];
      const double r = std::nearbyint(x);
      for (int k = 20; k > 0; --k)
        past[k] = past[k - 1];
      past[0] = r - x;
      out[i] = static_cast<int16_t>(r < -32768 ? -32768 : r > 32767 ? 32767 : r);
    }
    benchmark::ClobberMemory();
  }
  ReportFrames(state);
}
BENCHMARK(BM_Dither)->ArgNames({"dither", "rate"})->ArgsProduct({{1, 2, 3, 4}, {44100, 48000}});
BENCHMARK(BM_DitherPlainLoop)->ArgNames({"dither", "rate"})->ArgsProduct({{1, 2, 3, 4}, {44100, 48000}});

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
