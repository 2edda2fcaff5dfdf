// SPDX-License-Identifier: MIT
#include "playback/effects/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "playback_count_allocations.h"

namespace melorin {
namespace {

constexpr size_t kBlock = 4608;
using Samples = std::vector<float>;

double Db(double factor) {
  return 20 * std::log10(factor + 1e-12);
}

Samples Tone(double hz, uint32_t rate, size_t frames) {
  Samples tone(frames);
  for (size_t i = 0; i < frames; ++i)
    tone[i] = static_cast<float>(0.9 * std::sin(2 * std::numbers::pi * hz * static_cast<double>(i) / rate));
  return tone;
}

/// The whole signal in blocks of those lengths, in turn, and to the end.
Samples Convert(Resampler& resampler, const Samples& in, uint16_t channels, size_t in_block = kBlock,
                size_t out_block = kBlock) {
  Samples all;
  Samples block(out_block * channels);
  Resampler::Count count;
  for (size_t at = 0; at < in.size() / channels; at += count.in_frames) {
    const size_t frames = std::min(in_block, in.size() / channels - at);
    EXPECT_TRUE(resampler.Process(in.data() + at * channels, frames, block.data(), out_block, &count));
    if (count.in_frames == 0 && count.out_frames == 0) return {};
    all.insert(all.end(), block.data(), block.data() + count.out_frames * channels);
  }
  do {
    EXPECT_TRUE(resampler.Process(nullptr, 0, block.data(), out_block, &count));
    all.insert(all.end(), block.data(), block.data() + count.out_frames * channels);
  } while (count.out_frames > 0);
  return all;
}

Samples ConvertTone(double hz, uint32_t from, uint32_t to, ResampleQuality quality) {
  const auto resampler = Resampler::Create(from, to, 1, quality, kBlock);
  if (!resampler) return {};
  return Convert(*resampler, Tone(hz, from, from / 5), 1);
}

/// The middle of the signal against the best fitting tone of that frequency.
struct Fit {
  double level_db = 0;  ///< Of the tone against 0.9.
  double noise_db = 0;  ///< Of the rest against the tone.
  double phase = 0;     ///< In radians.
};

Fit FitTone(const Samples& signal, double hz, uint32_t rate) {
  double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0;
  const size_t begin = signal.size() / 4;
  const size_t end = signal.size() * 3 / 4;
  const auto angle = [&](size_t i) { return 2 * std::numbers::pi * hz * static_cast<double>(i) / rate; };
  for (size_t i = begin; i < end; ++i) {
    const double s = std::sin(angle(i)), c = std::cos(angle(i)), y = signal[i];
    ss += s * s, cc += c * c, sc += s * c, ys += y * s, yc += y * c;
  }
  const double a = (ys * cc - yc * sc) / (ss * cc - sc * sc);
  const double b = (yc * ss - ys * sc) / (ss * cc - sc * sc);
  double rest = 0;
  for (size_t i = begin; i < end; ++i)
    rest += std::pow(signal[i] - a * std::sin(angle(i)) - b * std::cos(angle(i)), 2);
  const double size = std::hypot(a, b);
  return {Db(size / 0.9), Db(std::sqrt(2 * rest / static_cast<double>(end - begin)) / size),
          std::atan2(b, a)};
}

double LevelDb(const Samples& signal) {
  double sum = 0;
  for (size_t i = signal.size() / 4; i < signal.size() * 3 / 4; ++i)
    sum += static_cast<double>(signal[i]) * signal[i];
  return Db(std::sqrt(sum / static_cast<double>(signal.size()) * 4) / 0.9);
}

struct Rates {
  uint32_t from, to;
};
constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100},  {44100, 96000},  {96000, 44100}, {22050, 44100},
                            {8000, 48000},  {44100, 192000}, {192000, 44100}, {44100, 44101}};

TEST(Resampler, KeepsAToneItsLevelAndItsPlace) {
  for (const Rates rates : kRates) {
    SCOPED_TRACE(std::to_string(rates.from) + " to " + std::to_string(rates.to));
    const Fit fast = FitTone(ConvertTone(1000, rates.from, rates.to, ResampleQuality::kFast), 1000, rates.to);
    const Fit high = FitTone(ConvertTone(1000, rates.from, rates.to, ResampleQuality::kHigh), 1000, rates.to);
    EXPECT_LT(fast.noise_db, -130);
    EXPECT_LT(high.noise_db, -145);
    for (const Fit& fit : {fast, high}) {
      EXPECT_NEAR(fit.level_db, 0, 0.001);
      EXPECT_NEAR(fit.phase, 0, 1e-5);
    }
  }
}

TEST(Resampler, HighTonesKeepTheirLevelAndLeaveNoImages) {
  for (const double hz : {10000.0, 18000.0, 20000.0}) {
    SCOPED_TRACE(hz);
    for (const Rates rates : {Rates{44100, 48000}, Rates{48000, 44100}, Rates{44100, 192000}}) {
      const Fit fast = FitTone(ConvertTone(hz, rates.from, rates.to, ResampleQuality::kFast), hz, rates.to);
      const Fit high = FitTone(ConvertTone(hz, rates.from, rates.to, ResampleQuality::kHigh), hz, rates.to);
      EXPECT_NEAR(fast.level_db, 0, 0.02);
      EXPECT_NEAR(high.level_db, 0, 0.02);
      EXPECT_LT(fast.noise_db, -130);
      EXPECT_LT(high.noise_db, -145);
    }
  }
}

TEST(Resampler, WhatTheLowerRateCannotHoldIsSilent) {
  for (const double hz : {22051.0, 23000.0, 30000.0, 40000.0, 47000.0}) {
    SCOPED_TRACE(hz);
    EXPECT_LT(LevelDb(ConvertTone(hz, 96000, 44100, ResampleQuality::kFast)), -130);
    EXPECT_LT(LevelDb(ConvertTone(hz, 96000, 44100, ResampleQuality::kHigh)), -145);
  }
}

// The blocks are the caller's business: whatever their lengths, the same samples come out, as many as the
// rates say, and what follows Clear has forgotten what came before.
TEST(Resampler, BlocksDoNotShowInTheOutput) {
  for (const Rates rates : {Rates{44100, 48000}, Rates{96000, 44100}, Rates{8000, 96000}}) {
    SCOPED_TRACE(rates.from);
    const auto resampler = Resampler::Create(rates.from, rates.to, 1, ResampleQuality::kHigh, kBlock);
    ASSERT_TRUE(resampler);
    const Samples in = Tone(440, rates.from, 10007);
    const Samples whole = Convert(*resampler, in, 1);
    EXPECT_NEAR(static_cast<double>(whole.size()), 10007.0 * rates.to / rates.from, 0.5);
    for (const Rates blocks : {Rates{1, 1}, Rates{7, 4096}, Rates{10007, 13}, Rates{10007, 200000}}) {
      SCOPED_TRACE(blocks.from);
      ASSERT_TRUE(resampler->Clear());
      EXPECT_EQ(Convert(*resampler, in, 1, blocks.from, blocks.to), whole);
    }
  }
}

TEST(Resampler, PlaysWithoutAllocating) {
  if (!CanCountAllocations()) GTEST_SKIP() << "allocations cannot be counted here";
  const Samples in(kBlock * 2, 0.25f);
  Samples out(kBlock * 2);
  for (const Rates rates : kRates)
    for (const ResampleQuality quality : {ResampleQuality::kFast, ResampleQuality::kHigh}) {
      SCOPED_TRACE(std::to_string(rates.from) + " to " + std::to_string(rates.to));
      t_allocations = 0;
      const auto resampler = Resampler::Create(rates.from, rates.to, 2, quality, kBlock);
      ASSERT_TRUE(resampler);
      ASSERT_GT(t_allocations, 0u);
      for (int round = 0; round < 2; ++round) {
        t_allocations = 0;
        Resampler::Count count;
        for (int block = 0; block < 50; ++block)
          for (size_t at = 0; at < kBlock; at += count.in_frames)
            ASSERT_TRUE(resampler->Process(in.data() + at * 2, kBlock - at, out.data(), kBlock, &count));
        do
          ASSERT_TRUE(resampler->Process(nullptr, 0, out.data(), kBlock, &count));
        while (count.out_frames > 0);
        EXPECT_EQ(t_allocations, 0u);
        ASSERT_TRUE(resampler->Clear());
      }
    }
}

TEST(Resampler, ShortSignalsComeOutWhole) {
  for (const size_t frames : {1u, 2u, 100u, 4608u}) {
    const auto resampler = Resampler::Create(44100, 48000, 1, ResampleQuality::kHigh, kBlock);
    ASSERT_TRUE(resampler);
    const Samples out = Convert(*resampler, Samples(frames, 0.5f), 1);
    EXPECT_NEAR(static_cast<double>(out.size()), static_cast<double>(frames) * 48000 / 44100, 0.5);
    Resampler::Count count;
    float more = 0;
    EXPECT_FALSE(resampler->Process(&more, 1, &more, 1, &count));
  }
  const auto empty = Resampler::Create(44100, 48000, 1, ResampleQuality::kFast, kBlock);
  ASSERT_TRUE(empty);
  EXPECT_TRUE(Convert(*empty, {}, 1).empty());
}

TEST(Resampler, ChannelsStayApart) {
  for (uint16_t channels = 1; channels <= 8; ++channels) {
    const auto resampler = Resampler::Create(44100, 48000, channels, ResampleQuality::kFast, kBlock);
    ASSERT_TRUE(resampler);
    Samples in(8000u * channels);
    for (size_t i = 0; i < in.size(); ++i)
      in[i] = 0.1f * static_cast<float>(i % channels + 1);
    const Samples out = Convert(*resampler, in, channels);
    for (size_t channel = 0; channel < channels; ++channel)
      EXPECT_NEAR(out[4000u * channels + channel], 0.1 * static_cast<double>(channel + 1), 1e-4);
  }
}

// A file of floats may hold anything.
TEST(Resampler, BrokenSamplesPass) {
  const auto resampler = Resampler::Create(44100, 48000, 1, ResampleQuality::kHigh, kBlock);
  ASSERT_TRUE(resampler);
  Samples in(4 * kBlock, 0.25f);
  in[1000] = std::numeric_limits<float>::quiet_NaN();
  in[1010] = std::numeric_limits<float>::infinity();
  const Samples out = Convert(*resampler, in, 1);
  EXPECT_NEAR(out.at(4 * kBlock), 0.25, 1e-6);
}

TEST(Resampler, RefusesWhatItCannotDo) {
  struct {
    uint32_t from, to;
    uint16_t channels;
    bool made;
  } const cases[] = {{44100, 48000, 0, false},  {44100, 48000, 9, false}, {44100, 44100, 2, false},
                     {0, 48000, 2, false},      {44100, 0, 2, false},     {768001, 48000, 2, false},
                     {1, 768000, 2, false},     {768000, 1, 1, false},    {0xFFFFFFFF, 48000, 2, false},
                     {1, 257, 1, false},        {1, 256, 1, true},        {768000, 3000, 1, true},
                     {767999, 768000, 1, true}, {1, 2, 8, true}};
  for (const auto& c : cases)
    EXPECT_EQ(Resampler::Create(c.from, c.to, c.channels, ResampleQuality::kFast, kBlock) != nullptr, c.made)
        << c.from << " to " << c.to;
}

}  // namespace
}  // namespace melorin
