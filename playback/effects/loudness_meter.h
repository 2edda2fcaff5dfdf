// SPDX-License-Identifier: MIT
//
// Measures the loudness of a track (EBU R128 integrated loudness) while it plays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "playback/effects/track_gain.h"

namespace melorin {

/// Thread: one at a time. Add does not allocate.
class LoudnessMeter {
 public:
  /// The loudness that gains bring tracks to, LUFS. Source: ReplayGain 2.0.
  static constexpr double kReferenceLufs = -18.0;

  /// 1 to 8 channels in the order of the platform's standard speaker masks. Null when a value is out of range
  /// or memory runs out.
  static std::unique_ptr<LoudnessMeter> Create(uint32_t sample_rate, uint16_t channels);
  ~LoudnessMeter();
  LoudnessMeter(const LoudnessMeter&) = delete;
  LoudnessMeter& operator=(const LoudnessMeter&) = delete;

  void Add(const float* samples, size_t frames);
  void Reset();
  /// Of all that was added, the gain rounded to 0.01 dB. None when nothing of it is loud enough to be
  /// measured (silence, less than 400 ms).
  std::optional<TrackGain> Result() const;

 private:
  struct State;
  explicit LoudnessMeter(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace melorin
