// SPDX-License-Identifier: MIT
#include "playback/effects/balance.h"

#include <algorithm>

#include "playback/effects/sample_loops.h"
#include "playback/effects/speaker_pairs.h"

namespace melorin {

Balance::Factors Balance::FactorsFor(const BalanceSetting& setting, uint16_t channels) {
  const float level = static_cast<float>(std::clamp(setting.volume, 0, 100)) / 100.0f;
  const int32_t share = std::clamp(setting.balance, -100, 100);
  Factors factors;
  factors.fill(level);
  for (const SpeakerPairs::Pair pair : SpeakerPairs::Of(channels)) {
    factors[pair.left] *= static_cast<float>(100 - std::max(share, 0)) / 100.0f;
    factors[pair.right] *= static_cast<float>(100 + std::min(share, 0)) / 100.0f;
  }
  return factors;
}

Balance::Balance(uint32_t sample_rate, uint16_t channels, const BalanceSetting& setting)
    : channels_(channels),
      unchanged_(FactorsFor({}, channels)),
      set_(setting),
      ramp_(sample_rate),
      from_(FactorsFor(setting, channels)),
      to_(from_) {}

bool Balance::TakeOver() {
  BalanceSetting setting;
  if (!set_.Take(&setting)) return false;
  to_ = FactorsFor(setting, channels_);
  return true;
}

bool Balance::IsIdle() {
  if (ramp_.IsRunning()) return false;
  from_ = to_;
  if (TakeOver() && to_ != from_) ramp_.Start();
  return to_ == unchanged_ && !ramp_.IsRunning();
}

void Balance::Process(float* samples, size_t frames) {
  for (; frames > 0 && ramp_.IsRunning(); --frames) {
    const float weight = ramp_.Next();
    for (uint16_t channel = 0; channel < channels_; ++channel)
      *samples++ *= from_[channel] + (to_[channel] - from_[channel]) * weight;
  }
  ScaleFrames(samples, frames, to_.data(), channels_);
}

void Balance::Flush() {
  ramp_.Finish();
  TakeOver();
}

}  // namespace melorin
