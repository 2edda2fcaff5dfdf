// SPDX-License-Identifier: MIT
//
// Two channels are shaped at a time, as doubles in one SSE register. The errors of a chunk are laid one after
// the other behind those of the chunk before, so nothing is ever shifted.
//
// The error fed back is the output less the input, the sign that the published coefficients are made for: -1
// alone gives the high pass 1 - z^-1, and the 44100 Hz set takes 22 dB off the rounding noise at 3.5 kHz. The
// other sign would add 6 dB there.
#include "playback/dither_shaper.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numbers>
#include <type_traits>
#include <utility>

#include "playback/sample_convert.h"

namespace melorin {
namespace {

constexpr std::array<uint32_t, 5> kShaperRates = {48000, 44100, 37800, 32000, 22050};
constexpr float kLargestSample = 512.0f;

// Added to a double and taken off again it leaves the nearest integer, halves to even, while the double stays
// below 2^51: samples are bounded so that it does.
constexpr double kRounder = 6755399441055744.0;

uint32_t FindShaper(uint32_t sample_rate, int32_t type) {
  if (type == 1) return 0;
  for (uint32_t i = 0; i < kShaperRates.size(); ++i) {
    if (kShaperRates[i] != sample_rate) continue;
    return type == 3 && i < 2 ? i + 6 : i + 1;
  }
  return 0;
}

// The generator behind a shuffle table, whose low-order patterns would be heard as tones otherwise.
class ShuffledRandom {
 public:
  explicit ShuffledRandom(uint32_t seed) : random_(seed) {
    for (uint32_t& entry : table_)
      entry = random_.Next();
  }
  double Uniform() {
    uint32_t& entry = table_[random_.Next() % table_.size()];
    const double value = entry * 3.051850947599719e-5;  // 1 / 32767
    entry = random_.Next();
    return value;
  }

 private:
  PlatformRandom random_;
  std::array<uint32_t, 97> table_;
};

}  // namespace

std::unique_ptr<DitherShaper> DitherShaper::Create(const DitherParameters& parameters, uint32_t* peak) {
  const uint16_t bits = parameters.bits;
  if (parameters.channels == 0 || parameters.channels > kMaxChannels) return nullptr;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 32) return nullptr;
  std::unique_ptr<DitherShaper> shaper(new (std::nothrow) DitherShaper(parameters));
  if (shaper && peak) *peak = parameters.type != 0 ? kShaperPeak[shaper->index_] : 1;
  return shaper;
}

DitherShaper::DitherShaper(const DitherParameters& parameters)
    : channels_(parameters.channels),
      bits_(parameters.bits),
      index_(FindShaper(parameters.sample_rate, parameters.type)),
      scale_(static_cast<double>(int64_t{1} << (parameters.bits - 1))) {
  length_ = parameters.type != 0 ? kShaperLength[index_] : 0;
  for (uint32_t k = 0; k < length_; ++k) {
    const uint32_t at = 2 * (length_ - 1 - k);
    coefficients_[at] = coefficients_[at + 1] = kShaperCoefficients[index_][k];
  }
  MakeNoise(parameters);
}

void DitherShaper::MakeNoise(const DitherParameters& parameters) {
  ShuffledRandom random(parameters.seed);
  const double amplitude = parameters.amplitude;
  double radius = 0;
  double angle = 0;
  for (uint32_t i = 0; i < kNoiseEntries; ++i) {
    if (parameters.shape == 2) {
      if (i % 2 == 0) {
        radius = std::sqrt(-2.0 * std::log(std::max(1.0 - random.Uniform(), 1e-9)));
        angle = 2.0 * std::numbers::pi * random.Uniform();
      }
      noise_[i] = radius * (i % 2 == 0 ? std::cos(angle) : std::sin(angle)) * amplitude;
    } else {
      const double first = random.Uniform();
      const double second = parameters.shape == 0 ? 0.5 : random.Uniform();
      noise_[i] = (first - second) * amplitude;
    }
  }
  noise_[kNoiseEntries] = noise_[0];
}

uint32_t DitherShaper::Convert(uint8_t* block, uint32_t float_bytes) {
  const uint32_t samples = float_bytes / 4;
  const uint32_t chunk = kChunkFrames * channels_;
  uint32_t done = 0;
  // A frame that is not whole at the end of a block is left out.
  const uint32_t whole = samples - samples % channels_;
  for (; done < whole; done += chunk)
    ConvertChunk(block + done * 4, block + done * (bits_ / 8u), std::min(chunk, whole - done));
  return whole * (bits_ / 8u);
}

void DitherShaper::ConvertChunk(uint8_t* in, uint8_t* out, uint32_t samples) {
  alignas(16) float floats[kChunkFrames * kMaxChannels];
  alignas(16) int32_t integers[kChunkFrames * kMaxChannels];
  std::memcpy(floats, in, samples * 4);
  const uint32_t rounded_up = (samples + 3) & ~3u;
  std::fill(floats + samples, floats + rounded_up, 0.0f);
  const __m128 highest = _mm_set1_ps(kLargestSample);
  const __m128 lowest = _mm_set1_ps(-kLargestSample);
  for (uint32_t i = 0; i < rounded_up; i += 4) {
    __m128 value = _mm_load_ps(floats + i);
    value = _mm_and_ps(value, _mm_cmpord_ps(value, value));
    _mm_store_ps(floats + i, _mm_max_ps(_mm_min_ps(value, highest), lowest));
  }
  const uint32_t frames = samples / channels_;
  switch (length_) {
    case 0:
      ShapeAll<0>(floats, integers, frames);
      break;
    case 1:
      ShapeAll<1>(floats, integers, frames);
      break;
    case 15:
      ShapeAll<15>(floats, integers, frames);
      break;
    case 16:
      ShapeAll<16>(floats, integers, frames);
      break;
    default:
      ShapeAll<20>(floats, integers, frames);
      break;
  }
  PackSamples({integers, samples}, bits_, out);
  counter_ = (counter_ + samples) % kNoiseEntries;
}

namespace {

// Adds the past errors' share, oldest error first, so that only the last product waits for the frame before.
// Two sums halve the chain. Spelt out by the pack: a loop of 20 is not unrolled by every compiler, which
// doubles its time.
template <uint32_t kLength, size_t... kIndex>
inline __m128d AddPast(__m128d x, const double* past, const double* coefficients,
                       std::index_sequence<kIndex...>) {
  [[maybe_unused]] __m128d other = _mm_setzero_pd();
  [[maybe_unused]] const auto add = [&]<size_t k>(std::integral_constant<size_t, k>) {
    const __m128d term = _mm_mul_pd(_mm_load_pd(past + 2 * k), _mm_load_pd(coefficients + 2 * k));
    if constexpr (k + 1 == kLength)
      x = _mm_add_pd(_mm_add_pd(x, other), term);
    else if constexpr (k % 2 == 0)
      other = _mm_add_pd(other, term);
    else
      x = _mm_add_pd(x, term);
  };
  (add(std::integral_constant<size_t, kIndex>{}), ...);
  return x;
}

}  // namespace

template <uint32_t kLength>
void DitherShaper::ShapeAll(const float* in, int32_t* out, uint32_t frames) {
  uint32_t channel = 0;
  for (; channel + 1 < channels_; channel += 2)
    Shape<kLength, true>(in, out, frames, channel);
  if (channel < channels_) Shape<kLength, false>(in, out, frames, channel);
}

template <uint32_t kLength, bool kPair>
void DitherShaper::Shape(const float* in, int32_t* out, uint32_t frames, uint32_t channel) {
  constexpr uint32_t kHistory = 2 * kLength;
  alignas(16) double errors[kHistory + 2 * kChunkFrames];
  alignas(16) double coefficients[kHistory + 2];
  double* history = history_[channel / 2].data();
  std::copy_n(history, kHistory, errors);
  std::copy_n(coefficients_.data(), kHistory, coefficients);
  const __m128d scale = _mm_set1_pd(scale_);
  const __m128d lowest = _mm_set1_pd(-scale_);
  const __m128d highest = _mm_set1_pd(scale_ - 1);
  const __m128d rounder = _mm_set1_pd(kRounder);
  const uint32_t stride = channels_;
  uint32_t noise_at = (counter_ + channel) % kNoiseEntries;
  in += channel;
  out += channel;
  for (uint32_t n = 0; n < frames; ++n, in += stride, out += stride) {
    __m128 sample;
    __m128d x;
    if constexpr (kPair) {
      sample = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(in)));
      x = _mm_loadu_pd(noise_.data() + noise_at);
    } else {
      sample = _mm_load_ss(in);
      x = _mm_load_sd(noise_.data() + noise_at);
    }
    noise_at = (noise_at + stride) % kNoiseEntries;
    x = _mm_add_pd(_mm_mul_pd(_mm_cvtps_pd(sample), scale), x);
    x = AddPast<kLength>(x, errors + 2 * n, coefficients, std::make_index_sequence<kLength>{});
    const __m128d rounded = _mm_sub_pd(_mm_add_pd(x, rounder), rounder);
    if constexpr (kLength > 0) _mm_store_pd(errors + kHistory + 2 * n, _mm_sub_pd(rounded, x));
    const __m128i integers = _mm_cvttpd_epi32(_mm_max_pd(_mm_min_pd(rounded, highest), lowest));
    if constexpr (kPair)
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out), integers);
    else
      *out = _mm_cvtsi128_si32(integers);
  }
  std::copy_n(errors + 2 * frames, kHistory, history);
}

}  // namespace melorin
