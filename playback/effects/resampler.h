// SPDX-License-Identifier: MIT
//
// From one sample rate to another, streaming.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace melorin {

/// Figures and how they were measured: docs/decisions/0003-resampler.md.
enum class ResampleQuality {
  kFast,  ///< "HQResample" off: noise, images and aliases 130 dB below a full-scale tone; 32-bit arithmetic.
  kHigh,  ///< "HQResample" on: 145 dB, as much as 24-bit output holds; 64-bit arithmetic.
};

/// With the half of the lower rate as 1: the level is within 0.1 dB to 0.92 (20.3 kHz at 44100 Hz) and falls
/// from there; nothing is left from 1 on. What lies between 0.92 and 1 of the input's own half, when that is
/// the lower, leaves images above 1, fainter than it. The whole output of n frames in has n × out_rate /
/// in_rate frames (rounded), and lies in time where the input does: the filter's delay is taken out. Thread:
/// one at a time. Create and Clear allocate and take some milliseconds; after either, Process allocates
/// nothing at the usual rates, and at odd ones seldom and little.
class Resampler {
 public:
  /// 1 to 8 channels, rates of 1 to 768000 Hz that differ, neither more than 256 times the other.
  /// max_in_frames: the most frames that the caller has at a time; more than so many are not gathered before
  /// they go through. Null when a value is out of range or memory runs out.
  static std::unique_ptr<Resampler> Create(uint32_t in_rate, uint32_t out_rate, uint16_t channels,
                                           ResampleQuality quality, size_t max_in_frames);
  ~Resampler();
  Resampler(const Resampler&) = delete;
  Resampler& operator=(const Resampler&) = delete;

  struct Count {
    size_t in_frames = 0;   ///< Taken of the input.
    size_t out_frames = 0;  ///< Put into the output.
  };
  /// Interleaved floats. An empty input (in null, 0 frames) says that the input has ended: repeated calls
  /// give what is left, and 0 frames at the end. False when it broke (out of memory).
  bool Process(const float* in, size_t in_frames, float* out, size_t out_capacity, Count* count);
  /// Forgets all input: the next Process begins a new signal. False when memory runs out.
  bool Clear();

 private:
  struct State;
  explicit Resampler(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace melorin
