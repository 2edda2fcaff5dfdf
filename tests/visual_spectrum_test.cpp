// SPDX-License-Identifier: MIT
//
// From the 512 audible frames to the bars of the display.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>

#include "playback/visual_data.h"
#include "visual/spectrum_bars.h"

namespace melorin {
namespace {

constexpr uint32_t kRate = 44100;

std::array<float, kVisualBins> SpectrumOf(const std::function<double(uint32_t)>& sample) {
  std::array<int16_t, kVisualFrames> wave;
  for (uint32_t i = 0; i < kVisualFrames; ++i)
    wave[i] = static_cast<int16_t>(std::lround(sample(i) * 32767));
  SpectrumState state;
  EXPECT_TRUE(state.Init());
  std::array<float, kVisualBins> magnitudes;
  state.Compute(wave, magnitudes);
  return magnitudes;
}

std::array<float, kVisualBins> Sine(double hz, double amplitude) {
  return SpectrumOf([=](uint32_t i) { return amplitude * std::sin(2 * std::numbers::pi * hz * i / kRate); });
}

size_t Highest(const SpectrumBars& bars) {
  const auto levels = bars.Levels();
  return static_cast<size_t>(std::max_element(levels.begin(), levels.end()) - levels.begin());
}

TEST(SpectrumBarsTest, ASineStandsInItsBandAsHighAsItIsLoud) {
  const SpectrumBarsOptions options;
  for (const double hz : {120.0, 440.0, 1000.0, 3000.0, 9000.0, 15000.0}) {
    for (const double db : {0.0, -20.0, -40.0}) {
      SpectrumBars bars(options);
      bars.Update(Sine(hz, std::pow(10, db / 20)), kRate, 0);
      const size_t bar = Highest(bars);
      // Bins lie 86 Hz apart, and a tone fills its neighbours too.
      EXPECT_LT(std::abs(bars.CentreHz(bar) - hz), std::max(130.0, 0.2 * hz)) << hz;
      // Between two bins the window loses 1.4 dB.
      EXPECT_NEAR((bars.Levels()[bar] - 1) * options.range_db, db - 0.7, 0.9) << hz;
      EXPECT_EQ(bars.Levels()[bar], bars.Peaks()[bar]);
      if (hz < 2000) {
        EXPECT_LT(bars.Levels()[options.bars - 1],
                  bars.Levels()[bar] - 0.5f * (1 + static_cast<float>(db) / 60))
            << hz;
      }
    }
  }
}

TEST(SpectrumBarsTest, WhiteNoiseIsLevelAndSilenceIsNothing) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> value(-0.5, 0.5);
  std::array<float, kVisualBins> power{};
  for (int round = 0; round < 400; ++round) {
    const auto magnitudes = SpectrumOf([&](uint32_t) { return value(random); });
    for (size_t k = 0; k < kVisualBins; ++k)
      power[k] += magnitudes[k] * magnitudes[k] / 400;
  }
  std::transform(power.begin(), power.end(), power.begin(), [](float p) { return std::sqrt(p); });
  SpectrumBars bars;
  bars.Update(power, kRate, 0);
  const auto [low, high] = std::minmax_element(bars.Levels().begin(), bars.Levels().end());
  EXPECT_GT(*low, 0.3f);
  EXPECT_LT((*high - *low) * SpectrumBarsOptions().range_db, 3.0f);

  bars.Clear();
  EXPECT_TRUE(bars.IsEmpty());
  bars.Update(SpectrumOf([](uint32_t) { return 0.0; }), kRate, 20);
  EXPECT_TRUE(bars.IsEmpty());
}

TEST(SpectrumBarsTest, BarsAndPeaksFallByTimeNotByFrames) {
  const auto loud = Sine(1000, 0.9);
  const auto after = [&](uint32_t total_ms, uint32_t step_ms) {
    SpectrumBars bars;
    bars.Update(loud, kRate, 0);
    const size_t bar = Highest(bars);
    for (uint32_t ms = 0; ms < total_ms; ms += step_ms)
      bars.Update({}, 0, step_ms);
    return std::pair(bars.Levels()[bar], bars.Peaks()[bar]);
  };
  for (const uint32_t total : {200u, 600u, 800u, 1200u}) {
    const auto smooth = after(total, 10);
    const auto rough = after(total, 100);
    EXPECT_NEAR(smooth.first, rough.first, 0.001) << total;
    EXPECT_NEAR(smooth.second, rough.second, 0.001) << total;
  }
  EXPECT_NEAR(after(0, 10).first - after(200, 10).first, 0.32, 0.001);
  EXPECT_EQ(after(600, 10).second, after(0, 10).second);  // Held.
  EXPECT_NEAR(after(0, 10).second - after(1000, 10).second, 1.8 * 0.4 * 0.4 / 2, 0.001);

  SpectrumBars bars;
  bars.Update(loud, kRate, 0);
  EXPECT_FALSE(bars.IsEmpty());
  bars.Update({}, 0, 5000);
  EXPECT_TRUE(bars.IsEmpty());
}

TEST(SpectrumBarsTest, OddRatesAndSizesAreTaken) {
  for (const uint32_t rate : {1u, 8000u, 768000u}) {
    for (const size_t bins : {size_t{1}, size_t{7}, size_t{256}}) {
      SpectrumBars bars({.bars = 64, .lowest_hz = 0});
      const std::vector<float> magnitudes(bins, std::nanf(""));
      bars.Update(magnitudes, rate, 10);
      const std::vector<float> loud(bins, 9.0f);
      bars.Update(loud, rate, 10);
      for (const float level : bars.Levels())
        EXPECT_EQ(level, 1.0f);
    }
  }
}

}  // namespace
}  // namespace melorin
