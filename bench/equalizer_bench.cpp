// SPDX-License-Identifier: MIT
//
// The equalizer over stereo blocks with all ten bands, beside the loop one would write first and one that
// holds both channels in a register. Time a frame is the counter "frame".
#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <cmath>
#include <vector>

#include "playback/effects/equalizer.h"

namespace melorin {
namespace {

constexpr uint32_t kRate = 44100;
constexpr size_t kFrames = kRate / 40;  // A block of the chain.
constexpr size_t kBands = EqualizerBands::kBands;

EqualizerBands Bands(int32_t shift) {
  EqualizerBands bands;
  for (size_t k = 0; k < kBands; ++k)
    bands.values[k] = static_cast<int32_t>(k + 1) - shift;
  return bands;
}

std::vector<float> MakeSamples() {
  std::vector<float> samples(kFrames * 2);
  for (size_t i = 0; i < samples.size(); ++i)
    samples[i] = 0.2f * static_cast<float>(std::sin(static_cast<double>(i) * 0.013) +
                                           std::sin(static_cast<double>(i) * 0.37));
  return samples;
}

// Every block is a copy of the same sound, so that what is boosted does not grow from turn to turn.
template <class Work>
void Measure(benchmark::State& state, Work work) {
  const std::vector<float> samples = MakeSamples();
  std::vector<float> block(samples.size());
  for (auto _ : state) {
    std::copy(samples.begin(), samples.end(), block.begin());
    work(block.data());
    benchmark::DoNotOptimize(block.data());
    benchmark::ClobberMemory();
  }
  state.counters["frame"] = benchmark::Counter(
      kFrames, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_Copy(benchmark::State& state) {
  Measure(state, [](float*) {});
}
BENCHMARK(BM_Copy);

void BM_Equalizer(benchmark::State& state, Equalizer::Routine routine) {
  Equalizer equalizer(kRate, 2, routine);
  equalizer.Start(Bands(5));
  Measure(state, [&](float* block) {
    if (!equalizer.IsIdle()) equalizer.Process(block, kFrames);
  });
}
BENCHMARK_CAPTURE(BM_Equalizer, plain, Equalizer::Routine::kPlain);
BENCHMARK_CAPTURE(BM_Equalizer, vector, Equalizer::Routine::kVector);

// Something new is set before every block, so that a ramp always runs.
void BM_EqualizerMoving(benchmark::State& state, Equalizer::Routine routine) {
  Equalizer equalizer(kRate, 2, routine);
  equalizer.Start(Bands(5));
  int32_t turn = 0;
  Measure(state, [&](float* block) {
    equalizer.SetBands(Bands(5 + ++turn % 3));
    if (!equalizer.IsIdle()) equalizer.Process(block, kFrames);
  });
}
BENCHMARK_CAPTURE(BM_EqualizerMoving, plain, Equalizer::Routine::kPlain);
BENCHMARK_CAPTURE(BM_EqualizerMoving, vector, Equalizer::Routine::kVector);

struct Filters {
  Filters() {
    for (size_t k = 0; k < kBands; ++k) {
      const EqualizerBandDesign exact = DesignEqualizerBand(kEqualizerCentres[k], kRate);
      design[k] = {static_cast<float>(exact.gamma), static_cast<float>(-exact.beta),
                   static_cast<float>(exact.alpha)};
      gain[k] = EqualizerGain(Bands(5).values[k], 0);
    }
  }
  struct Band {
    float gamma, minus_beta, alpha;
  };
  Band design[kBands];
  float gain[kBands];
};

void BM_PlainLoop(benchmark::State& state) {
  const Filters filters;
  float history[2][kBands][2] = {};
  Measure(state, [&](float* block) {
    for (size_t i = 0; i < 2 * kFrames; ++i) {
      float s = block[i];
      for (size_t k = 0; k < kBands; ++k) {
        float* past = history[i % 2][k];
        const Filters::Band& band = filters.design[k];
        const float w = band.alpha * s + band.gamma * past[0] + band.minus_beta * past[1];
        s += filters.gain[k] * (w - 1.005f * past[1]);
        past[1] = past[0];
        past[0] = w;
      }
      block[i] = s;
    }
  });
}
BENCHMARK(BM_PlainLoop);

void BM_BothChannelsLoop(benchmark::State& state) {
  const Filters filters;
  __m128 history[kBands][2];
  for (auto& past : history)
    past[0] = past[1] = _mm_setzero_ps();
  Measure(state, [&](float* block) {
    for (size_t n = 0; n < kFrames; ++n) {
      __m128 s = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(block + 2 * n)));
      for (size_t k = 0; k < kBands; ++k) {
        const Filters::Band& band = filters.design[k];
        const __m128 w = _mm_add_ps(_mm_add_ps(_mm_mul_ps(_mm_set1_ps(band.alpha), s),
                                               _mm_mul_ps(_mm_set1_ps(band.gamma), history[k][0])),
                                    _mm_mul_ps(_mm_set1_ps(band.minus_beta), history[k][1]));
        const __m128 out = _mm_sub_ps(w, _mm_mul_ps(_mm_set1_ps(1.005f), history[k][1]));
        s = _mm_add_ps(s, _mm_mul_ps(_mm_set1_ps(filters.gain[k]), out));
        history[k][1] = history[k][0];
        history[k][0] = w;
      }
      _mm_storel_epi64(reinterpret_cast<__m128i*>(block + 2 * n), _mm_castps_si128(s));
    }
  });
}
BENCHMARK(BM_BothChannelsLoop);

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
