// SPDX-License-Identifier: MIT
//
// The equalizer against its design equations, its two routines against each other, and its changes by ear:
// what they leave far from the tone that was played.
#include <gtest/gtest.h>

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

// What is to become of a frequency, from the design equations, in double precision; or with the filters'
// numbers rounded to what a float holds, which moves the lowest bands a little.
Complex Wanted(const EqualizerBands& bands, double rate, double hz, bool rounded) {
  const auto round = [rounded](double value) { return rounded ? static_cast<float>(value) : value; };
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
    const Complex band =
        round(alpha) * (1.0 - 1.005 * z1 * z1) / (1.0 - round(gamma) * z1 + round(beta) * z1 * z1);
    response *= 1.0 + gain * band;
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
  std::vector<Case> cases = {{"all up", Bands(12)},
                             {"all down", Bands(-12)},
                             {"preamp up", Bands(0, 12)},
                             {"preamp down", Bands(0, -12)},
                             {"both", Bands(5, -3)}};
  for (size_t k = 0; k < EqualizerBands::kBands; ++k)
    cases.push_back({"band " + std::to_string(k), OneBand(k, k % 2 == 0 ? 12 : -12)});
  for (const uint32_t rate : {8000u, 11025u, 16000u, 22050u, 32000u, 44100u, 48000u, 96000u}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(c.name + " at " + std::to_string(rate));
      Equalizer equalizer(rate, 2);
      equalizer.Start(c.bands);
      // Long enough for the lowest band to die away.
      std::vector<float> response(2 * (rate / 4));
      response[0] = 1;
      response[1] = -0.5f;
      Play(equalizer, response.data(), response.size() / 2);
      for (double hz = 22; hz < rate / 2.0; hz *= 1.37) {
        const Complex turn = std::polar(1.0, -2 * std::numbers::pi * hz / rate);
        Complex left = 0, right = 0, at = 1;
        for (size_t n = 0; n < response.size(); n += 2, at *= turn) {
          left += static_cast<double>(response[n]) * at;
          right += static_cast<double>(response[n + 1]) * at;
        }
        const Complex exact = Wanted(c.bands, rate, hz, false);
        const Complex wanted = Wanted(c.bands, rate, hz, true);
        ASSERT_LT(std::abs(Db(left) - Db(exact)), hz < 100 ? 0.04 : 0.01) << hz << " Hz";
        ASSERT_LT(std::abs(Db(left) - Db(wanted)), 0.005) << hz << " Hz";
        ASSERT_LT(std::abs(left / wanted - 1.0), 0.001) << hz << " Hz, with its phase";
        ASSERT_LT(std::abs(right / wanted + 0.5), 0.0005) << hz << " Hz, right";
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

}  // namespace
}  // namespace melorin
