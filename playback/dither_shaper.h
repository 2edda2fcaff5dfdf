// SPDX-License-Identifier: MIT
//
// DitherShaper: float samples to integers with dither and noise shaping, after the SSRC sample-rate
// converter.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "playback/dither_coefficients.h"

namespace melorin {

/// The platform's documented rand(): 0 to 32767. An own one, so that both builds give the same noise.
class PlatformRandom {
 public:
  explicit PlatformRandom(uint32_t seed) : state_(seed) {}
  uint32_t Next() {
    state_ = state_ * 214013u + 2531011u;
    return state_ >> 16 & 0x7FFF;
  }

 private:
  uint32_t state_;
};

struct DitherParameters {
  uint16_t channels = 2;
  uint32_t sample_rate = 44100;  ///< Hz
  uint16_t bits = 16;
  /// 0 noise alone, 1 with first-order error feedback, 2 shaped for the rate, 3 the alternative shapers at
  /// 44100 and 48000 Hz.
  int32_t type = 0;
  int32_t shape = 1;  ///< Of the noise: 0 rectangular, 1 triangular, 2 Gaussian.
  double amplitude = 0.18;
  uint32_t seed = 1;
};

/// Thread: one at a time. Convert does not allocate.
class DitherShaper {
 public:
  static constexpr uint32_t kMaxChannels = 8;
  static constexpr uint32_t kNoiseEntries = 16384;

  /// Null for other than 1 to 8 channels or a width that is not 8, 16, 24 or 32, and when memory runs out.
  /// `peak` receives the peak of the noise in units of the last bit.
  static std::unique_ptr<DitherShaper> Create(const DitherParameters& parameters, uint32_t* peak = nullptr);

  /// Converts a block of floats in place, as ConvertSamples does. The quantisation error fed back is that of
  /// the rounding alone, also where the result clips, so that clipping does not upset the filter. What is not
  /// a number counts as 0, and what exceeds 512 times full scale as that.
  uint32_t Convert(uint8_t* block, uint32_t float_bytes);

  uint32_t ShaperIndex() const { return index_; }
  /// The noise that is added, in units of the last bit, one entry a sample.
  const double* Noise() const { return noise_.data(); }

 private:
  static constexpr uint32_t kChunkFrames = 128;

  explicit DitherShaper(const DitherParameters& parameters);
  void MakeNoise(const DitherParameters& parameters);
  void ConvertChunk(uint8_t* in, uint8_t* out, uint32_t samples);
  template <uint32_t kLength, bool kPair>
  void Shape(const float* in, int32_t* out, uint32_t frames, uint32_t channel);
  template <uint32_t kLength>
  void ShapeAll(const float* in, int32_t* out, uint32_t frames);

  uint32_t channels_;
  uint16_t bits_;
  uint32_t length_;  ///< Of the shaper, 0 for none.
  uint32_t index_;
  double scale_;
  uint32_t counter_ = 0;  ///< Next entry of the noise.
  /// Every coefficient twice, for both halves of a register; oldest error first.
  std::array<double, 2 * kShaperMaxLength> coefficients_{};
  /// Errors of two channels side by side, oldest first.
  std::array<std::array<double, 2 * kShaperMaxLength>, kMaxChannels / 2> history_{};
  /// One entry more, equal to the first: two at a time are read across the end.
  std::array<double, kNoiseEntries + 1> noise_{};
};

}  // namespace melorin
