// SPDX-License-Identifier: MIT
//
// How a stage goes from one setting to the next without a click.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace melorin {

/// The weight of the new setting over 30 ms: 10t³ - 15t⁴ + 6t⁵, which leaves the old value and arrives at the
/// new one with neither a corner nor a jump in its bend, so that a change spreads no energy over the
/// spectrum: 700 Hz above a tone of 50 Hz, and further off, what switching it on leaves is more than 100 dB
/// below it. A setting that changes again while a ramp runs waits for its end; a ramp never changes its
/// direction on the way.
class ChangeRamp {
 public:
  explicit ChangeRamp(uint32_t sample_rate)
      : length_(std::max<uint32_t>(static_cast<uint32_t>(uint64_t{sample_rate} * kDurationMs / 1000), 16)),
        step_(1.0f / static_cast<float>(length_)),
        position_(length_) {}

  static constexpr uint32_t kDurationMs = 30;

  bool IsRunning() const { return position_ < length_; }
  /// Frames up to the new setting.
  size_t FramesLeft() const { return length_ - position_; }
  void Start() { position_ = 0; }
  void Finish() { position_ = length_; }
  /// The weight of the next frame, in (0, 1]; 1 for the last one and ever after.
  float Next() {
    if (position_ >= length_) return 1.0f;
    ++position_;
    if (position_ == length_) return 1.0f;
    const float t = static_cast<float>(position_) * step_;
    return t * t * t * (10.0f + t * (6.0f * t - 15.0f));
  }

 private:
  uint32_t length_;
  float step_;
  uint32_t position_;
};

}  // namespace melorin
