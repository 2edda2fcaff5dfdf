// SPDX-License-Identifier: MIT
//
// Balance, surround and limiter, each by itself.
#include "playback/device_format.h"
#include "playback/effects/balance.h"
#include "playback/effects/limiter.h"
#include "playback/effects/sample_loops.h"
#include "playback/effects/surround.h"
#include "playback_effects_fakes.h"

namespace melorin {
namespace {

using namespace effects_test;

std::vector<float> Noise(size_t count, uint32_t seed, float level = 1.0f) {
  Dice dice(seed);
  std::vector<float> samples(count);
  for (float& sample : samples)
    sample = level * static_cast<float>(dice.Roll(-32767, 32767)) / 32767.0f;
  return samples;
}

TEST(Balance, AttenuatesTheSpeakersOfOneSide) {
  struct Case {
    int32_t volume, balance;
    uint16_t channels;
    std::vector<float> factors;
  };
  const Case cases[] = {
      {100, 0, 2, {1, 1}},
      {50, 0, 1, {0.5f}},
      {100, 100, 1, {1}},
      {100, 25, 2, {0.75f, 1}},
      {50, -100, 2, {0.5f, 0}},
      {100, 500, 2, {0, 1}},
      {900, 0, 2, {1, 1}},
      {0, 0, 2, {0, 0}},
      {-1, 0, 2, {0, 0}},
      {100, 40, 3, {0.6f, 1, 1}},
      {100, 40, 4, {0.6f, 1, 0.6f, 1}},
      {100, 40, 5, {0.6f, 1, 1, 0.6f, 1}},
      {100, -40, 6, {1, 0.6f, 1, 1, 1, 0.6f}},
      {100, 40, 7, {0.6f, 1, 1, 1, 0.6f, 1, 1}},
      {100, -40, 8, {1, 0.6f, 1, 1, 1, 0.6f, 1, 0.6f}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.volume << " " << c.balance << " " << c.channels);
    Balance stage(8000, c.channels, {c.volume, c.balance});
    std::vector<float> samples(size_t{c.channels} * 13, 1.0f);
    const bool idle = stage.IsIdle();
    EXPECT_EQ(idle, std::all_of(c.factors.begin(), c.factors.end(), [](float f) { return f == 1.0f; }));
    if (!idle) stage.Process(samples.data(), 13);
    for (size_t i = 0; i < samples.size(); ++i)
      EXPECT_FLOAT_EQ(samples[i], c.factors[i % c.channels]) << i;
  }
  // The same law as the device's.
  for (const int32_t balance : {-100, -37, 0, 62, 100}) {
    const uint32_t word = WaveOutVolumeWord(80, balance);
    const Balance::Factors factors = Balance::FactorsFor({80, balance}, 2);
    EXPECT_NEAR(factors[0], (word & 0xFFFF) / 65535.0, 1e-4);
    EXPECT_NEAR(factors[1], (word >> 16) / 65535.0, 1e-4);
  }
}

TEST(Surround, WidensAndKeepsTheMonoSum) {
  constexpr size_t kFrames = 8000;
  for (const uint32_t rate : {1u, 8000u, 44100u, 768000u})
    for (const int32_t level : {1, 50, 100, 1000}) {
      SCOPED_TRACE(testing::Message() << rate << " Hz, level " << level);
      Surround stage(rate, 2, level);
      const std::vector<float> in = Noise(kFrames * 2, 5);
      std::vector<float> out = in;
      ASSERT_FALSE(stage.IsIdle());
      stage.Process(out.data(), kFrames);
      double side_in = 0;
      double side_out = 0;
      for (size_t i = 0; i < out.size(); i += 2) {
        ASSERT_NEAR(out[i] + out[i + 1], in[i] + in[i + 1], 1e-6);
        ASSERT_LE(std::fabs(out[i]), 2.8f) << "9 dB above what went in";
        side_in += std::pow(in[i] - in[i + 1], 2);
        side_out += std::pow(out[i] - out[i + 1], 2);
      }
      EXPECT_GT(side_out, side_in);
    }
}

TEST(Surround, SpreadsAMonoRecordingAndFadesAway) {
  constexpr uint32_t kRate = 44100;
  Surround stage(kRate, 2, 100);
  std::vector<float> impulse(size_t{kRate} * 2, 0.0f);
  impulse[0] = impulse[1] = 1.0f;
  ASSERT_FALSE(stage.IsIdle());
  stage.Process(impulse.data(), kRate);
  const size_t delay = static_cast<size_t>(13.7e-3 * kRate + 0.5);
  EXPECT_EQ(PeakOf(impulse.data() + 2, delay * 2 - 2), 0.0f);
  EXPECT_NEAR(impulse[delay * 2], 0.35f, 0.02);
  EXPECT_EQ(impulse[delay * 2], -impulse[delay * 2 + 1]);
  EXPECT_LT(PeakOf(impulse.data() + kRate * 2 * 160 / 1000, 1000), 1e-3f);
  // Long after, there is nothing: neither sound nor denormals.
  EXPECT_EQ(PeakOf(impulse.data() + kRate * 2 - 2000, 2000), 0.0f);
  stage.Flush();
  std::vector<float> silence(2000, 0.0f);
  stage.Process(silence.data(), 1000);
  EXPECT_EQ(PeakOf(silence.data(), 2000), 0.0f);
}

TEST(Surround, LeavesSpeakersInTheMiddleAlone) {
  EXPECT_TRUE(Surround(44100, 1, 100).IsIdle());
  EXPECT_TRUE(Surround(44100, 2, -5).IsIdle());
  const std::vector<std::vector<size_t>> middle = {{}, {0}, {}, {2}, {}, {2}, {2, 3}, {2, 3, 6}, {2, 3}};
  for (uint16_t channels = 2; channels <= 8; ++channels) {
    SCOPED_TRACE(channels);
    Surround stage(44100, channels, 80);
    const std::vector<float> in = Noise(size_t{channels} * 2000, 9);
    std::vector<float> out = in;
    ASSERT_FALSE(stage.IsIdle());
    stage.Process(out.data(), 2000);
    for (size_t channel = 0; channel < channels; ++channel) {
      bool same = true;
      for (size_t i = channel; i < in.size(); i += channels)
        same = same && in[i] == out[i];
      const auto& fixed = middle[channels];
      EXPECT_EQ(same, std::find(fixed.begin(), fixed.end(), channel) != fixed.end()) << channel;
    }
  }
}

/// Feeds blocks of a size through the limiter as the chain does; what comes out, in its place.
std::vector<float> Limited(Limiter& limiter, std::vector<float> samples, uint16_t channels, size_t block) {
  const size_t frames = samples.size() / channels;
  samples.resize(samples.size() + limiter.LookAhead() * channels);
  for (size_t done = 0; done < frames; done += std::min(block, frames - done))
    limiter.Process(samples.data() + done * channels, std::min(block, frames - done), true);
  limiter.Process(samples.data() + frames * channels, limiter.LookAhead(), false);
  samples.resize(frames * channels);
  return samples;
}

TEST(Limiter, NothingGoesBeyondFullScaleAndNothingElseIsTouched) {
  for (const uint32_t rate : {1u, 8000u, 44100u, 768000u})
    for (const uint16_t channels : std::initializer_list<uint16_t>{1, 2, 5}) {
      SCOPED_TRACE(testing::Message() << rate << " Hz, " << channels << " channels");
      Limiter limiter(rate, channels);
      const size_t size = size_t{channels} * 20000;
      const std::vector<float> loud = Noise(size, 3, 4.0f);
      const std::vector<float> out = Limited(limiter, loud, channels, 551);
      ASSERT_LE(PeakOf(out.data(), size), 1.0f);
      EXPECT_GT(PeakOf(out.data(), size), 0.9f) << "no more than needed";
      for (size_t i = 0; i < size; i += channels)  // One gain for all.
        for (size_t channel = 1; channel < channels; ++channel)
          ASSERT_NEAR(out[i] * loud[i + channel], out[i + channel] * loud[i], 1e-5) << i;

      limiter.Flush();
      EXPECT_EQ(Limited(limiter, loud, channels, 77), out) << "blocks do not matter";
      limiter.Flush();
      const std::vector<float> full = Noise(size, 4, 1.0f);
      EXPECT_EQ(Limited(limiter, full, channels, 551), full);
    }
}

TEST(Limiter, LooksAheadAndReleasesWithoutACorner) {
  constexpr uint32_t kRate = 44100;
  Limiter limiter(kRate, 1);
  std::vector<float> samples(3 * kRate, 0.5f);
  samples[10000] = 4.0f;
  const std::vector<float> out = Limited(limiter, samples, 1, 1096);
  EXPECT_EQ(out[10000], 1.0f);
  const size_t ahead = limiter.LookAhead();
  for (size_t i = 0; i < 10000 - ahead; ++i)
    ASSERT_EQ(out[i], 0.5f) << i;
  EXPECT_NEAR(out[9999], 0.125f, 0.005) << "already down";
  EXPECT_NEAR(out[10000 + kRate * 15 / 1000], 0.125f, 1e-6) << "held";
  // 150 ms on from there, 63 % of the way is made good.
  EXPECT_NEAR(out[10000 + kRate * 170 / 1000], 0.5f - 0.375f * 0.37f, 0.01);
  EXPECT_EQ(out.back(), 0.5f) << "at rest again";
  float steepest = 0;
  for (size_t i = 9000; i + 2 < samples.size(); ++i)
    if (i < 9998 || i > 10000) steepest = std::max(steepest, std::fabs(out[i] - 2 * out[i + 1] + out[i + 2]));
  EXPECT_LT(steepest, 0.375f * 4.5f / static_cast<float>(ahead * ahead) * 1.1f) << "a parabola, not a ramp";
}

TEST(Limiter, ABassToneKeepsItsShape) {
  constexpr uint32_t kRate = 44100;
  std::vector<float> tone(kRate);
  for (size_t i = 0; i < tone.size(); ++i)
    tone[i] = static_cast<float>(4 * std::sin(2 * std::numbers::pi * 50 * static_cast<double>(i) / kRate));
  Limiter limiter(kRate, 1);
  const std::vector<float> out = Limited(limiter, tone, 1, 1096);
  for (size_t i = kRate / 10; i < tone.size(); ++i)
    ASSERT_NEAR(out[i], tone[i] / 4, 1e-5) << i;
}

}  // namespace
}  // namespace melorin
