// SPDX-License-Identifier: MIT
#include "playback/effects/limiter.h"

#include <algorithm>
#include <cmath>

#include "playback/effects/sample_loops.h"

namespace melorin {

namespace {

/// A release ends here; the means smooth what is left to it.
constexpr double kReleased = 1.0 - 1e-6;

/// Even, so that two means of equal length fill the window.
size_t LookAheadFrames(uint32_t sample_rate) {
  return std::max<size_t>(
      static_cast<size_t>(uint64_t{sample_rate} * Limiter::kLookAheadMs / 1000) & ~size_t{1}, 8);
}

size_t HoldFrames(uint32_t sample_rate) {
  return static_cast<size_t>(uint64_t{sample_rate} * Limiter::kHoldMs / 1000);
}

}  // namespace

void Limiter::RunningMean::SetLength(size_t length) {
  values_.resize(length);
  share_ = 1.0 / static_cast<double>(length);
}

void Limiter::RunningMean::Fill(float value) {
  std::fill(values_.begin(), values_.end(), value);
  sum_ = static_cast<double>(value) * static_cast<double>(values_.size());
}

float Limiter::RunningMean::Next(float value) {
  sum_ += static_cast<double>(value) - static_cast<double>(values_[position_]);
  values_[position_] = value;
  if (++position_ == values_.size()) position_ = 0;
  return static_cast<float>(sum_ * share_);
}

void Limiter::RunningMinimum::SetLength(size_t length) {
  queue_.resize(length);
}

void Limiter::RunningMinimum::Clear() {
  first_ = count_ = 0;
}

float Limiter::RunningMinimum::Next(float value) {
  const size_t length = queue_.size();
  if (count_ > 0 && queue_[first_].index + length <= index_) {
    if (++first_ == length) first_ = 0;
    --count_;
  }
  const auto slot = [&](size_t place) {
    const size_t at = first_ + place;
    return at < length ? at : at - length;
  };
  while (count_ > 0 && queue_[slot(count_ - 1)].value >= value)
    --count_;
  queue_[slot(count_++)] = {value, index_++};
  return queue_[first_].value;
}

// Window of the minimum: the look-ahead, the frame itself and the hold. Means of L / 2 + 1 each span L + 1,
// the look-ahead and the frame.
Limiter::Limiter(uint32_t sample_rate, uint16_t channels)
    : channels_(channels),
      look_ahead_(LookAheadFrames(sample_rate)),
      release_(std::exp(-1000.0 / (static_cast<double>(kReleaseMs) * sample_rate))) {
  minimum_.SetLength(look_ahead_ + 1 + HoldFrames(sample_rate));
  first_mean_.SetLength(look_ahead_ / 2 + 1);
  second_mean_.SetLength(look_ahead_ / 2 + 1);
  Rest();
}

void Limiter::Rest() {
  resting_ = true;
  quiet_frames_ = 0;
  envelope_ = 1;
  minimum_.Clear();
  first_mean_.Fill(1.0f);
  second_mean_.Fill(1.0f);
}

void Limiter::Flush() {
  Rest();
  waiting_ = 0;
}

inline float Limiter::NextGain(float peak) {
  const float needed = minimum_.Next(peak > 1.0f ? 1.0f / peak : 1.0f);
  envelope_ = 1.0 - (1.0 - envelope_) * release_;
  if (envelope_ > kReleased) envelope_ = 1.0;
  envelope_ = std::min<double>(envelope_, static_cast<double>(needed));
  quiet_frames_ = envelope_ < 1.0 ? 0 : quiet_frames_ + 1;
  return second_mean_.Next(first_mean_.Next(static_cast<float>(envelope_)));
}

void Limiter::Process(float* samples, size_t frames, bool watch) {
  const size_t ahead = look_ahead_ * channels_;
  // Everything that the means and the minimum hold is 1 again.
  if (!resting_ && quiet_frames_ > 2 * look_ahead_) Rest();
  if (resting_ && watch && PeakOf(samples, frames * channels_) > 1.0f) resting_ = false;
  if (resting_) {
    waiting_ = std::min(waiting_ + frames, look_ahead_);
    return;
  }
  for (; frames > 0; --frames, samples += channels_) {
    float peak = 0;
    if (watch)
      for (uint16_t channel = 0; channel < channels_; ++channel)
        peak = std::max(peak, std::fabs(samples[channel]));
    const float gain = NextGain(peak);
    if (waiting_ < look_ahead_) {
      ++waiting_;
    } else if (gain < 1.0f) {
      float* const finished = samples - ahead;
      // Cut to what rounding may have left above, in its last bit.
      for (uint16_t channel = 0; channel < channels_; ++channel)
        finished[channel] = std::max(std::min(1.0f, finished[channel] * gain), -1.0f);
    }
  }
}

}  // namespace melorin
