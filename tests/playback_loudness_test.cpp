// SPDX-License-Identifier: MIT
#include "playback/effects/loudness_meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "playback_count_allocations.h"

namespace melorin {
namespace {

constexpr uint32_t kRate = 48000;

struct Part {
  double seconds;
  double level_db;  ///< Peak of the sine.
};

/// A sine of 1 kHz in the channels of the mask, silence in the others.
void AddTone(LoudnessMeter& meter, uint16_t channels, const Part& part, uint32_t sounding = 0xFF,
             uint32_t rate = kRate) {
  std::vector<float> second(size_t{rate} * channels);
  const double peak = std::pow(10, part.level_db / 20);
  for (size_t i = 0; i < rate; ++i) {
    const double value = peak * std::sin(2 * std::numbers::pi * 1000 * static_cast<double>(i) / rate);
    for (size_t channel = 0; channel < channels; ++channel)
      if (sounding >> channel & 1) second[i * channels + channel] = static_cast<float>(value);
  }
  for (auto left = static_cast<size_t>(part.seconds * rate); left > 0;) {
    const size_t frames = std::min<size_t>(left, rate);
    meter.Add(second.data(), frames);
    left -= frames;
  }
}

double Lufs(const LoudnessMeter& meter) {
  const std::optional<TrackGain> result = meter.Result();
  return result ? LoudnessMeter::kReferenceLufs - result->gain_db : std::numeric_limits<double>::quiet_NaN();
}

// EBU Tech 3341, table 1: minimum requirements test signals 1 to 5; ±0.1 LU is asked for.
TEST(LoudnessMeter, ReadsTheTestSignals) {
  struct {
    std::vector<Part> parts;
    double lufs;
  } const cases[] = {
      {{{20, -23}}, -23},
      {{{20, -33}}, -33},
      {{{10, -36}, {60, -23}, {10, -36}}, -23},
      {{{10, -72}, {10, -36}, {60, -23}, {10, -36}, {10, -72}}, -23},
      {{{20, -26}, {20.1, -20}, {20, -26}}, -23},
  };
  for (const auto& c : cases) {
    const auto meter = LoudnessMeter::Create(kRate, 2);
    ASSERT_TRUE(meter);
    for (const Part& part : c.parts)
      AddTone(*meter, 2, part);
    EXPECT_NEAR(Lufs(*meter), c.lufs, 0.03) << c.parts.size();
  }
}

// One channel at a time of each layout: 3.01 dB below a stereo pair, 1.5 dB more at the listener's sides,
// none for the LFE; a mono track is heard from both speakers.
TEST(LoudnessMeter, WeighsTheSpeakers) {
  constexpr double kFront = -26.01, kSide = -24.52, kNone = 0;
  const std::vector<std::vector<double>> layouts = {
      {-23},
      {kFront, kFront},
      {kFront, kFront, kFront},
      {kFront, kFront, kSide, kSide},
      {kFront, kFront, kFront, kSide, kSide},
      {kFront, kFront, kFront, kNone, kSide, kSide},
      {kFront, kFront, kFront, kNone, kSide, kSide, kFront},
      {kFront, kFront, kFront, kNone, kFront, kFront, kSide, kSide},
  };
  for (const auto& layout : layouts) {
    const auto meter = LoudnessMeter::Create(kRate, static_cast<uint16_t>(layout.size()));
    ASSERT_TRUE(meter);
    for (size_t channel = 0; channel < layout.size(); ++channel) {
      meter->Reset();
      AddTone(*meter, static_cast<uint16_t>(layout.size()), {1, -23}, 1u << channel);
      if (layout[channel] == kNone)
        EXPECT_FALSE(meter->Result());
      else
        EXPECT_NEAR(Lufs(*meter), layout[channel], 0.03) << layout.size() << " " << channel;
    }
  }
}

TEST(LoudnessMeter, ReadsTheSameAtEveryRate) {
  for (const uint32_t rate : {8000u, 11025u, 44100u, 96000u, 192000u, 768000u}) {
    const auto meter = LoudnessMeter::Create(rate, 2);
    ASSERT_TRUE(meter);
    AddTone(*meter, 2, {1, -23}, 3, rate);
    EXPECT_NEAR(Lufs(*meter), -23, 0.1) << rate;
  }
  for (const auto& [rate, channels] :
       {std::pair<uint32_t, uint16_t>{0, 2}, {3999, 2}, {768001, 2}, {44100, 0}, {44100, 9}, {0xFFFFFFFF, 2}})
    EXPECT_FALSE(LoudnessMeter::Create(rate, channels)) << rate;
}

TEST(LoudnessMeter, SilenceAndShortPiecesHaveNoLoudness) {
  const auto meter = LoudnessMeter::Create(kRate, 2);
  ASSERT_TRUE(meter);
  EXPECT_FALSE(meter->Result());
  AddTone(*meter, 2, {2, -200});
  EXPECT_FALSE(meter->Result());
  meter->Reset();
  AddTone(*meter, 2, {0.39, -3});
  EXPECT_FALSE(meter->Result());
  AddTone(*meter, 2, {0.02, -3});
  EXPECT_NEAR(Lufs(*meter), -3, 0.2);
}

TEST(LoudnessMeter, MeasuresWithoutAllocating) {
  if (!CanCountAllocations()) GTEST_SKIP() << "allocations cannot be counted here";
  t_allocations = 0;
  const auto meter = LoudnessMeter::Create(kRate, 2);
  ASSERT_TRUE(meter);
  ASSERT_GT(t_allocations, 0u);
  const std::vector<float> block(4608 * 2, 0.25f);
  t_allocations = 0;
  for (int i = 0; i < 200; ++i)
    meter->Add(block.data(), block.size() / 2);
  EXPECT_EQ(t_allocations, 0u);
}

TEST(LoudnessMeter, BlocksDoNotShowAndBrokenSamplesCountAsSilence) {
  const auto whole = LoudnessMeter::Create(kRate, 1);
  const auto pieces = LoudnessMeter::Create(kRate, 1);
  ASSERT_TRUE(whole && pieces);
  std::vector<float> samples(kRate);
  for (size_t i = 0; i < samples.size(); ++i)
    samples[i] = 0.5f * static_cast<float>(std::sin(0.05 * static_cast<double>(i)));
  samples[777] = -1.25f;
  whole->Add(samples.data(), samples.size());
  const std::vector<float> broken = {std::numeric_limits<float>::quiet_NaN(),
                                     std::numeric_limits<float>::infinity(), -3e38f};
  for (size_t at = 0; at < samples.size(); at += 100) {
    pieces->Add(samples.data() + at, 1);
    pieces->Add(samples.data() + at + 1, 99);
  }
  EXPECT_EQ(whole->Result(), pieces->Result());
  EXPECT_EQ(whole->Result()->peak, 1.25);
  whole->Add(broken.data(), broken.size());
  whole->Add(samples.data(), samples.size());
  EXPECT_NEAR(Lufs(*whole), Lufs(*pieces), 0.05);
  EXPECT_EQ(whole->Result()->peak, 1.25);
}

}  // namespace
}  // namespace melorin
