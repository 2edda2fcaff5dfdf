// SPDX-License-Identifier: MIT
//
// Sample conversion, dither and noise shaping against plain routines that follow the definition word for
// word; the ring and the spectrum of the visual data.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>
#include <numbers>
#include <vector>

#include "playback/dither_shaper.h"
#include "playback/sample_convert.h"
#include "playback/visual_data.h"
#include "playback/visual_ring.h"

namespace melorin {
namespace {

constexpr uint16_t kWidths[] = {8, 16, 24, 32};
constexpr uint16_t kChannelCounts[] = {1, 2, 3, 6, 8};

std::vector<uint8_t> Block(const std::vector<float>& samples) {
  std::vector<uint8_t> block(samples.size() * 4);
  if (!samples.empty()) std::memcpy(block.data(), samples.data(), block.size());
  return block;
}

std::vector<int64_t> Unpack(const std::vector<uint8_t>& block, size_t bytes, uint16_t bits) {
  std::vector<int64_t> samples;
  const size_t width = bits / 8u;
  for (size_t i = 0; i + width <= bytes; i += width) {
    uint32_t value = 0;
    for (size_t k = 0; k < width; ++k)
      value |= uint32_t{block[i + k]} << (8 * k);
    if (bits == 8)
      samples.push_back(static_cast<int64_t>(value) - 128);
    else
      samples.push_back(static_cast<int32_t>(value << (32 - bits)) >> (32 - bits));
  }
  return samples;
}

std::vector<float> Noise(size_t count, float amplitude) {
  std::vector<float> samples(count);
  uint32_t state = 12345;
  for (float& sample : samples) {
    state = state * 1664525u + 1013904223u;
    sample = amplitude * static_cast<float>(static_cast<int32_t>(state)) / 2147483648.0f;
  }
  return samples;
}

TEST(SampleConvert, RoundsTheNarrowAndTruncatesTheWide) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  struct Case {
    float in;
    int64_t bits8, bits16, bits24, bits32;
  };
  const Case cases[] = {
      {0, 0, 0, 0, 0},
      {1, 127, 32767, 8388607, 2147483647},
      {-1, -128, -32768, -8388608, -2147483648LL},
      {0.5f, 64, 16384, 4194304, 1073741824},
      {1.5f / 32768, 0, 2, 384, 98304},  // Halves go to the even neighbour,
      {2.5f / 32768, 0, 2, 640, 163840},
      {-0.5f / 32768, 0, 0, -128, -32768},
      {-1.5f / 32768, 0, -2, -384, -98304},
      {1.9f / 8388608, 0, 0, 1, 486},  // the wide formats towards zero.
      {-1.9f / 8388608, 0, 0, -1, -486},
      {0.99999994f, 127, 32767, 8388607, 2147483520},
      {1e30f, 127, 32767, 8388607, 2147483647},
      {-1e30f, -128, -32768, -8388608, -2147483648LL},
      {kInf, 127, 32767, 8388607, 2147483647},
      {-kInf, -128, -32768, -8388608, -2147483648LL},
      {kNan, 0, 0, 0, 0},
  };
  std::vector<float> samples;
  for (const Case& c : cases)
    samples.push_back(c.in);
  for (const uint16_t bits : kWidths) {
    std::vector<uint8_t> block = Block(samples);
    const uint32_t bytes = ConvertSamples(block.data(), static_cast<uint32_t>(block.size()), bits);
    ASSERT_EQ(bytes, samples.size() * bits / 8u);
    const std::vector<int64_t> out = Unpack(block, bytes, bits);
    for (size_t i = 0; i < out.size(); ++i) {
      const Case& c = cases[i];
      EXPECT_EQ(out[i], bits == 8    ? c.bits8
                        : bits == 16 ? c.bits16
                        : bits == 24 ? c.bits24
                                     : c.bits32)
          << c.in << " to " << bits << " bits";
    }
  }
}

TEST(SampleConvert, AnyLengthConvertsInPlaceAndTouchesNothingBehind) {
  for (const uint16_t bits : kWidths)
    for (const size_t count : {0u, 1u, 3u, 7u, 511u, 512u, 513u, 2049u}) {
      const std::vector<float> samples = Noise(count, 1.2f);
      std::vector<uint8_t> block = Block(samples);
      const uint32_t bytes = ConvertSamples(block.data(), static_cast<uint32_t>(block.size()), bits);
      const std::vector<int64_t> out = Unpack(block, bytes, bits);
      ASSERT_EQ(out.size(), count);
      const double full = std::ldexp(1.0, bits - 1);
      for (size_t i = 0; i < count; ++i) {
        const double scaled = samples[i] * full;
        const double want = bits <= 16 ? std::nearbyint(scaled) : std::trunc(scaled);
        ASSERT_EQ(static_cast<double>(out[i]), std::clamp(want, -full, full - 1))
            << bits << " bits, sample " << i;
      }
    }
}

// The definition: histories that shift, sums from the newest error on.
class PlainShaper {
 public:
  PlainShaper(const DitherParameters& p, const DitherShaper& shaper)
      : parameters_(p), index_(shaper.ShaperIndex()), noise_(shaper.Noise()) {}
  int64_t Next(float sample) {
    const double full = std::ldexp(1.0, parameters_.bits - 1);
    double* history = history_[channel_];
    double x = static_cast<double>(sample) * full + noise_[counter_];
    counter_ = (counter_ + 1) % 16384;
    channel_ = (channel_ + 1) % parameters_.channels;
    if (parameters_.type != 0) {
      double sum = 0;
      for (uint32_t k = 0; k < kShaperLength[index_]; ++k)
        sum += history[k] * kShaperCoefficients[index_][k];
      x += sum;
    }
    const double r = std::nearbyint(x);
    for (int k = 20; k > 0; --k)
      history[k] = history[k - 1];
    history[0] = r - x;
    return static_cast<int64_t>(std::clamp(r, -full, full - 1));
  }

 private:
  const DitherParameters parameters_;
  const uint32_t index_;
  const double* noise_;
  uint32_t counter_ = 0;
  uint32_t channel_ = 0;
  double history_[8][21] = {};
};

TEST(Dither, EqualsTheDefinitionSampleBySample) {
  for (const uint16_t channels : kChannelCounts)
    for (const uint32_t rate : {48000u, 44100u, 37800u, 32000u, 22050u, 96000u})
      for (const int32_t type : {0, 1, 2, 3})
        for (const uint16_t bits : kWidths) {
          SCOPED_TRACE(testing::Message() << channels << " channels, " << rate << " Hz, type " << type << ", "
                                          << bits << " bits");
          const DitherParameters parameters{
              .channels = channels, .sample_rate = rate, .bits = bits, .type = type, .seed = 7};
          const auto shaper = DitherShaper::Create(parameters);
          PlainShaper plain(parameters, *shaper);
          // Blocks of lengths that divide neither the noise nor the chunks, and clipping in some of them.
          for (const uint32_t frames : {1u, 127u, 128u, 129u, 1000u, 2600u}) {
            const std::vector<float> samples = Noise(frames * channels, frames == 1000 ? 1.1f : 0.7f);
            std::vector<uint8_t> block = Block(samples);
            const uint32_t bytes = shaper->Convert(block.data(), static_cast<uint32_t>(block.size()));
            ASSERT_EQ(bytes, samples.size() * bits / 8u);
            const std::vector<int64_t> out = Unpack(block, bytes, bits);
            for (size_t i = 0; i < out.size(); ++i)
              ASSERT_EQ(out[i], plain.Next(samples[i])) << "sample " << i;
          }
        }
}

TEST(Dither, ChoosesTheShaperByRateAndType) {
  struct Case {
    uint32_t rate;
    int32_t type;
    uint32_t index, peak;
  };
  for (const Case& c :
       {Case{44100, 0, 2, 1}, Case{44100, 1, 0, 8}, Case{44100, 2, 2, 27}, Case{44100, 3, 7, 9},
        Case{48000, 2, 1, 18}, Case{48000, 3, 6, 10}, Case{37800, 3, 3, 8}, Case{32000, 2, 4, 8},
        Case{22050, 2, 5, 8}, Case{96000, 2, 0, 8}, Case{96000, 3, 0, 8}}) {
    uint32_t peak = 0;
    const auto shaper = DitherShaper::Create({.sample_rate = c.rate, .type = c.type}, &peak);
    EXPECT_EQ(shaper->ShaperIndex(), c.index) << c.rate << " " << c.type;
    EXPECT_EQ(peak, c.peak);
  }
  EXPECT_FALSE(DitherShaper::Create({.channels = 9}));
  EXPECT_FALSE(DitherShaper::Create({.channels = 0}));
  EXPECT_FALSE(DitherShaper::Create({.bits = 12}));
}

TEST(Dither, TheNoiseIsTheOneOfThePlatformsGenerator) {
  PlatformRandom random(1);
  EXPECT_EQ(random.Next(), 41u);
  EXPECT_EQ(random.Next(), 18467u);
  EXPECT_EQ(random.Next(), 6334u);
  const auto shaper = DitherShaper::Create({});
  EXPECT_DOUBLE_EQ(shaper->Noise()[0], -0.12623676259651478);
  EXPECT_DOUBLE_EQ(shaper->Noise()[16383], 0.09357890560625017);
  struct Case {
    int32_t shape;
    double deviation, bound;
  };
  for (const Case& c : {Case{0, 0.18 / std::sqrt(12.0), 0.09}, Case{1, 0.18 / std::sqrt(6.0), 0.18},
                        Case{2, 0.18, 0.18 * 6.5}}) {
    const auto other = DitherShaper::Create({.shape = c.shape});
    double sum = 0, squares = 0, most = 0;
    for (int i = 0; i < 16384; ++i) {
      const double value = other->Noise()[i];
      sum += value;
      squares += value * value;
      most = std::max(most, std::fabs(value));
    }
    EXPECT_NEAR(sum / 16384, 0, 0.01);
    EXPECT_NEAR(std::sqrt(squares / 16384), c.deviation, c.deviation * 0.03) << "shape " << c.shape;
    EXPECT_LE(most, c.bound);
  }
}

TEST(Dither, RecoversFromWhatNoSampleShouldBe) {
  for (const uint16_t bits : {kWidths[1], kWidths[3]}) {
    const auto shaper = DitherShaper::Create({.bits = bits, .type = 2});
    std::vector<float> samples(4000, 0.0f);
    for (size_t i = 0; i < 1000; ++i)
      samples[i] = 3.0f;
    samples[500] = std::numeric_limits<float>::quiet_NaN();
    samples[501] = std::numeric_limits<float>::infinity();
    samples[502] = -1e38f;
    std::vector<uint8_t> block = Block(samples);
    const uint32_t bytes = shaper->Convert(block.data(), static_cast<uint32_t>(block.size()));
    const std::vector<int64_t> out = Unpack(block, bytes, bits);
    for (size_t i = 1100; i < out.size(); ++i)
      ASSERT_LE(std::abs(out[i]), 40) << bits << " bits, sample " << i;
  }
}

TEST(Dither, ShapingMovesTheNoiseOutOfTheMiddle) {
  const auto error_power = [](int32_t type) {
    const auto shaper = DitherShaper::Create({.channels = 1, .type = type});
    std::vector<float> samples(20000);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = 0.1f * static_cast<float>(std::sin(static_cast<double>(i) * 0.01));
    std::vector<uint8_t> block = Block(samples);
    const uint32_t bytes = shaper->Convert(block.data(), static_cast<uint32_t>(block.size()));
    const std::vector<int64_t> out = Unpack(block, bytes, 16);
    // Around 3.5 kHz, where the ear hears best.
    double re = 0, im = 0, power = 0;
    for (size_t i = 0; i < out.size(); ++i) {
      const double error = static_cast<double>(out[i]) - samples[i] * 32768.0;
      const double angle = 2 * std::numbers::pi * 3500.0 / 44100.0 * static_cast<double>(i);
      const double window = 1 - std::cos(2 * std::numbers::pi * static_cast<double>(i % 200) / 200);
      re += window * error * std::cos(angle);
      im += window * error * std::sin(angle);
      if (i % 200 == 199) {
        power += re * re + im * im;
        re = im = 0;
      }
    }
    return power;
  };
  // The noise itself is not shaped: it lies 12 dB below the error of the rounding.
  EXPECT_LT(error_power(2), error_power(0) / 10);
  EXPECT_LT(error_power(3), error_power(0) / 7);
}

TEST(VisualRingTest, HoldsTheLatestBytes) {
  VisualRing ring;
  ASSERT_TRUE(ring.Init(1000));
  std::deque<uint8_t> plain;
  uint32_t state = 1;
  uint8_t next = 0;
  for (int round = 0; round < 3000; ++round) {
    state = state * 1664525u + 1013904223u;
    const uint32_t count = (state >> 16) % (round % 50 == 0 ? 2500 : 400);
    if (state >> 31) {
      std::vector<uint8_t> bytes(count);
      for (uint8_t& byte : bytes)
        plain.push_back(byte = next++);
      ring.Append(bytes);
      while (plain.size() > 1000)
        plain.pop_front();
    } else {
      ring.DiscardDownTo(count);
      while (plain.size() > count)
        plain.pop_front();
    }
    ASSERT_EQ(ring.SizeBytes(), plain.size());
    std::vector<uint8_t> out(1200);
    out.resize(ring.Peek(out));
    ASSERT_EQ(out, std::vector<uint8_t>(plain.begin(), plain.end()));
  }
}

TEST(VisualDataTest, TakesTheTopSixteenBitsOfAChannel) {
  const uint8_t pcm[] = {0x80, 0x00, 0xFF, 0x7F, 0x12, 0x34, 0x56, 0xF8, 0x01, 0x02, 0x03, 0x84};
  struct Case {
    uint16_t bits, channels, channel;
    std::vector<int16_t> want;
  };
  for (const Case& c :
       {Case{8, 2, 0, {0, 0x7F00, -0x6E00, -0x2A00}}, Case{8, 2, 1, {-0x8000, -0x100, -0x4C00, 0x7800}},
        Case{16, 1, 0, {0x0080, 0x7FFF, 0x3412, -0x7AA}}, Case{24, 2, 1, {0x3412, -0x7BFD, 0, 0}},
        Case{32, 1, 0, {0x7FFF, -0x7AA, -0x7BFD, 0}}}) {
    std::vector<int16_t> out(4, 99);
    ExtractChannel(pcm, c.bits, c.channels, c.channel, out);
    EXPECT_EQ(out, c.want) << c.bits << " bits, channel " << c.channel;
  }
}

TEST(VisualDataTest, AFullScaleSineHasMagnitudeOne) {
  SpectrumState spectrum;
  ASSERT_TRUE(spectrum.Init());
  std::array<int16_t, kVisualFrames> wave;
  for (size_t i = 0; i < wave.size(); ++i)
    wave[i] =
        static_cast<int16_t>(32767 * std::sin(2 * std::numbers::pi * 40 * static_cast<double>(i) / 512));
  std::array<float, kVisualBins> magnitudes;
  spectrum.Compute(wave, magnitudes);
  EXPECT_NEAR(magnitudes[40], 1.0, 0.01);
  EXPECT_NEAR(magnitudes[41], 0.5, 0.01);
  EXPECT_LT(magnitudes[45], 0.001);
  EXPECT_LT(magnitudes[200], 0.001);
}

}  // namespace
}  // namespace melorin
