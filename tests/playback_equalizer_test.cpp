// SPDX-License-Identifier: MIT
//
// The equalizer against its design equations, and its two routines against each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <complex>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "playback/effects/equalizer.h"

namespace melorin {
namespace {

using Complex = std::complex<double>;

// Set to the same value: ten bands, then the preamplifier.
EqualizerBands Bands(int32_t all, int32_t preamp = 0) {
  EqualizerBands bands;
  bands.values.fill(all);
  bands.values[EqualizerBands::kPreamp] = preamp;
  return bands;
}

EqualizerBands OneBand(size_t band, int32_t db) {
  EqualizerBands bands;
  bands.values[band] = db;
  return bands;
}

EqualizerBands RandomBands(std::mt19937& random) {
  EqualizerBands bands;
  for (int32_t& value : bands.values)
    value = static_cast<int32_t>(random() % 25) - 12;
  return bands;
}

std::vector<float> Noise(std::mt19937& random, size_t samples, float amplitude = 0.5f) {
  std::uniform_real_distribution<float> uniform(-amplitude, amplitude);
  std::vector<float> noise(samples);
  for (float& sample : noise)
    sample = uniform(random);
  return noise;
}

// As a chain drives a stage.
void Play(Equalizer& equalizer, float* samples, size_t frames) {
  if (!equalizer.IsIdle()) equalizer.Process(samples, frames);
}

// The sign of zero counts.
size_t FirstDifference(const std::vector<float>& a, const std::vector<float>& b) {
  for (size_t i = 0; i < a.size(); ++i)
    if (std::memcmp(&a[i], &b[i], sizeof(float)) != 0) return i;
  return a.size();
}

// What is to become of a frequency, from the design equations in double precision.
Complex Wanted(const EqualizerBands& bands, double rate, double hz) {
  const double pi = std::numbers::pi;
  const double preamp = std::pow(10.0, bands.values[10] / 28.0) - 1;
  const Complex z1 = std::polar(1.0, -2 * pi * hz / rate);
  Complex response = 1;
  double centre = 31.25;
  for (size_t k = 0; k < 10 && centre <= rate / 2.3; ++k, centre *= 2) {
    const double theta = 2 * pi * centre / rate;
    const double t = std::tan(1.2247449 * theta / 2);
    const double beta = (1 - t) / (1 + t);
    const double gamma = std::cos(theta) * (1 + beta);
    const double alpha = (1 - beta) / 2;
    const double gain = std::pow(10.0, bands.values[k] / 28.0) - 1 + preamp;
    response *= 1.0 + gain * alpha * (1.0 - 1.005 * z1 * z1) / (1.0 - gamma * z1 + beta * z1 * z1);
  }
  return response;
}

double Db(Complex response) {
  return 20 * std::log10(std::abs(response));
}

TEST(EqualizerTest, HasTheResponseOfItsDesign) {
  struct Case {
    std::string name;
    EqualizerBands bands;
  };
  const std::vector<Case> together = {{"all up", Bands(12)},
                                      {"all down", Bands(-12)},
                                      {"preamp up", Bands(0, 12)},
                                      {"preamp down", Bands(0, -12)},
                                      {"both", Bands(5, -3)}};
  std::vector<Case> each;
  for (size_t k = 0; k < EqualizerBands::kBands; ++k)
    each.push_back({"band " + std::to_string(k), OneBand(k, k % 2 == 0 ? 12 : -12)});
  for (const uint32_t rate : {8000u, 11025u, 16000u, 22050u, 32000u, 44100u, 48000u, 192000u}) {
    for (const Case& c : rate == 44100 ? each : together) {
      SCOPED_TRACE(c.name + " at " + std::to_string(rate));
      Equalizer equalizer(rate, 2);
      equalizer.Start(c.bands);
      // Long enough for the lowest band to die away.
      std::vector<float> response(2 * (rate / 8));
      response[0] = 1;
      response[1] = -0.5f;
      Play(equalizer, response.data(), response.size() / 2);
      for (double hz = 22; hz < rate / 2.0; hz *= 1.6) {
        const Complex turn = std::polar(1.0, -2 * std::numbers::pi * hz / rate);
        Complex left = 0, right = 0, at = 1;
        for (size_t n = 0; n < response.size(); n += 2, at *= turn) {
          left += static_cast<double>(response[n]) * at;
          right += static_cast<double>(response[n + 1]) * at;
        }
        const Complex wanted = Wanted(c.bands, rate, hz);
        ASSERT_LT(std::abs(Db(left) - Db(wanted)), 0.001) << hz << " Hz";
        ASSERT_LT(std::abs(left / wanted - 1.0), 0.0001) << hz << " Hz, with its phase";
        ASSERT_LT(std::abs(right / wanted + 0.5), 0.0001) << hz << " Hz, right";
      }
    }
  }
}

TEST(EqualizerTest, BothRoutinesGiveTheSameBits) {
  std::mt19937 random(7);
  for (const uint16_t channels : std::initializer_list<uint16_t>{1, 2, 5})
    // 0 to 10 bands take part.
    for (const uint32_t rate :
         {50u, 100u, 200u, 400u, 700u, 1500u, 3000u, 5000u, 8000u, 16000u, 22050u, 44100u}) {
      SCOPED_TRACE(std::to_string(channels) + " channels at " + std::to_string(rate));
      Equalizer plain(rate, channels, Equalizer::Routine::kPlain);
      Equalizer vector(rate, channels, Equalizer::Routine::kVector);
      const EqualizerBands first = RandomBands(random);
      plain.Start(first);
      vector.Start(first);
      // Short blocks, in which the pipeline never fills, and long ones; noise, silence, and what dies away.
      for (int block = 0; block < 30; ++block) {
        const size_t frames = block % 3 == 2 ? random() % 1500 : random() % 24;
        std::vector<float> a = Noise(random, frames * channels, block % 10 == 9 ? 1e-7f : 0.7f);
        if (block % 10 == 8) std::fill(a.begin(), a.end(), -0.0f);
        std::vector<float> b = a;
        if (random() % 4 == 0) {
          const EqualizerBands bands = random() % 4 == 0 ? Bands(0) : RandomBands(random);
          plain.SetBands(bands);
          vector.SetBands(bands);
        }
        if (random() % 20 == 0) {
          plain.Flush();
          vector.Flush();
        }
        ASSERT_EQ(plain.IsIdle(), vector.IsIdle());
        Play(plain, a.data(), frames);
        Play(vector, b.data(), frames);
        ASSERT_EQ(FirstDifference(a, b), a.size()) << "block " << block << " of " << frames;
      }
    }
}

// The whole of a sound, block by block.
std::vector<float> Played(Equalizer& equalizer, std::vector<float> samples, uint16_t channels,
                          size_t block = 441) {
  const size_t frames = samples.size() / channels;
  for (size_t at = 0; at < frames; at += block)
    Play(equalizer, &samples[at * channels], std::min(block, frames - at));
  return samples;
}

std::vector<float> Played(const EqualizerBands& bands, uint32_t rate, const std::vector<float>& samples,
                          uint16_t channels) {
  Equalizer equalizer(rate, channels);
  equalizer.Start(bands);
  return Played(equalizer, samples, channels);
}

TEST(EqualizerTest, LeavesOutBandsTooHighForTheRate) {
  const struct {
    uint32_t rate, bands;
  } cases[] = {{0, 0},     {71, 0},    {72, 1},     {8000, 7},   {11025, 8},  {16000, 8},  {22050, 9},
               {32000, 9}, {36799, 9}, {36800, 10}, {44100, 10}, {48000, 10}, {384000, 10}};
  std::mt19937 random(1);
  const std::vector<float> noise = Noise(random, 2000);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rate);
    EXPECT_EQ(ActiveEqualizerBands(c.rate), c.bands);
    for (size_t k = c.bands; k < EqualizerBands::kBands; ++k) {
      EXPECT_EQ(Played(OneBand(k, 12), c.rate, noise, 2), noise) << k;
      EqualizerBands bands = Bands(4);
      bands.values[k] = -12;
      EXPECT_EQ(Played(bands, c.rate, noise, 2), Played(Bands(4), c.rate, noise, 2)) << k;
    }
    if (c.bands > 0 && c.rate > 2.45 * kEqualizerCentres[c.bands - 1]) {
      EXPECT_NE(Played(OneBand(c.bands - 1, 1), c.rate, noise, 2), noise);
    }
  }
}

TEST(EqualizerTest, IsStableWhereTheHighestBandsDesignIsNot) {
  std::mt19937 random(9);
  const std::vector<float> noise = Noise(random, 8000);
  for (const uint32_t rate : {72u, 4700u, 9500u, 18500u, 36800u, 37800u, 39100u})
    for (const float sample : Played(Bands(12), rate, noise, 2))
      ASSERT_LT(std::abs(sample), 100.0f) << rate;
}

TEST(EqualizerTest, ValuesBeyondTwelveDecibelsActAsTwelve) {
  std::mt19937 random(2);
  const std::vector<float> noise = Noise(random, 2000);
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
  EXPECT_EQ(Played(Bands(13, kMost), 44100, noise, 2), Played(Bands(12, 12), 44100, noise, 2));
  EXPECT_EQ(Played(Bands(kLeast, -13), 44100, noise, 2), Played(Bands(-12, -12), 44100, noise, 2));
  EXPECT_NE(Played(Bands(11, 12), 44100, noise, 2), Played(Bands(12, 12), 44100, noise, 2));
}

TEST(EqualizerTest, WorksOnTheFirstTwoChannelsOnly) {
  std::mt19937 random(3);
  const std::vector<float> five = Noise(random, 5 * 3000);
  std::vector<float> two, left;
  for (size_t i = 0; i < five.size(); i += 5) {
    two.insert(two.end(), {five[i], five[i + 1]});
    left.push_back(five[i]);
  }
  const EqualizerBands bands = RandomBands(random);
  const std::vector<float> stereo = Played(bands, 44100, two, 2);
  const std::vector<float> mono = Played(bands, 44100, left, 1);
  const std::vector<float> many = Played(bands, 44100, five, 5);
  for (size_t n = 0; n < left.size(); ++n) {
    ASSERT_EQ(mono[n], stereo[2 * n]);
    for (size_t c = 0; c < 5; ++c)
      ASSERT_EQ(many[5 * n + c], c < 2 ? stereo[2 * n + c] : five[5 * n + c]) << n << ", " << c;
  }
}

TEST(EqualizerTest, IsIdleWhenFlatAndBeginsAfresh) {
  std::mt19937 random(4);
  const std::vector<float> noise = Noise(random, 2 * 4410);
  Equalizer fresh(44100, 2), used(44100, 2);
  EXPECT_TRUE(fresh.IsIdle());
  used.Start(Bands(7));
  EXPECT_NE(Played(used, noise, 2), noise);
  used.SetBands(Bands(0));
  EXPECT_FALSE(used.IsIdle()) << "it moves there";
  Played(used, noise, 2);
  EXPECT_TRUE(used.IsIdle());
  EXPECT_EQ(Played(used, noise, 2), noise);
  fresh.SetBands(Bands(3, 1));
  used.SetBands(Bands(3, 1));
  EXPECT_EQ(Played(used, noise, 2), Played(fresh, noise, 2)) << "nothing is left of before";
  // A seek: what was under way is finished, what was heard forgotten.
  used.SetBands(Bands(-5));
  EXPECT_FALSE(used.IsIdle());
  used.Flush();
  EXPECT_EQ(Played(used, noise, 2), Played(Bands(-5), 44100, noise, 2));
}

TEST(EqualizerTest, AChangeWaitsForTheEndOfTheOneBefore) {
  std::mt19937 random(5);
  const std::vector<float> noise = Noise(random, 2 * 441);
  // What is set before each block of 10 ms; a ramp takes three.
  const auto play = [&](const std::vector<std::pair<int, int32_t>>& changes) {
    Equalizer equalizer(44100, 2);
    equalizer.Start(Bands(1));
    std::vector<float> all;
    for (int block = 0; block < 9; ++block) {
      for (const auto& [at, db] : changes)
        if (at == block) equalizer.SetBands(Bands(db));
      const std::vector<float> played = Played(equalizer, noise, 2);
      all.insert(all.end(), played.begin(), played.end());
    }
    return all;
  };
  const std::vector<float> waited = play({{0, 6}, {1, 12}, {2, -9}});
  EXPECT_EQ(waited, play({{0, 6}, {3, -9}})) << "the latest counts";
  EXPECT_NE(waited, play({{0, 6}, {4, -9}}));
  EXPECT_EQ(play({{0, 6}, {1, 12}, {2, 6}}), play({{0, 6}}));
}

TEST(EqualizerTest, HistoriesDieAwayAtOnceAndBrokenOnesHeal) {
  for (const Equalizer::Routine routine : {Equalizer::Routine::kPlain, Equalizer::Routine::kVector}) {
    Equalizer equalizer(44100, 2, routine);
    equalizer.Start(Bands(12));
    std::vector<float> block(2 * 1000, 0.0f);
    block[0] = block[1] = 1;
    Play(equalizer, block.data(), 1000);
    // By its decay alone the lowest band would be at 1e-18 then.
    for (int i = 0; i < 15; ++i) {
      std::fill(block.begin(), block.end(), 0.0f);
      Play(equalizer, block.data(), 1000);
    }
    EXPECT_EQ(block, std::vector<float>(2 * 1000, 0.0f));
    block[700] = std::numeric_limits<float>::infinity();
    block[701] = std::numeric_limits<float>::quiet_NaN();
    Play(equalizer, block.data(), 1000);
    std::fill(block.begin(), block.end(), 0.25f);
    Play(equalizer, block.data(), 1000);
    for (const float sample : block)
      ASSERT_TRUE(std::isfinite(sample));
  }
}

TEST(EqualizerTest, IsSetFromAnotherThreadWhileItWorks) {
  Equalizer equalizer(44100, 2);
  std::atomic<bool> done{false};
  std::thread user([&] {
    std::mt19937 random(8);
    do
      equalizer.SetBands(RandomBands(random));
    while (!done);
    equalizer.SetBands(Bands(0));
  });
  std::vector<float> block(2 * 441);
  for (int i = 0; i < 100; ++i) {
    std::fill(block.begin(), block.end(), 0.1f);
    Play(equalizer, block.data(), 441);
  }
  done = true;
  user.join();
  for (int i = 0; i < 7; ++i)
    Play(equalizer, block.data(), 441);
  EXPECT_TRUE(equalizer.IsIdle()) << "the last value arrives";
}

}  // namespace
}  // namespace melorin
