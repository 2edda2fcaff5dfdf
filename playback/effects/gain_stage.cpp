// SPDX-License-Identifier: MIT
#include "playback/effects/gain_stage.h"

#include "playback/effects/sample_loops.h"

namespace melorin {

GainStage::GainStage(uint32_t sample_rate, uint16_t channels, float factor)
    : channels_(channels), set_(factor), ramp_(sample_rate), from_(factor), to_(factor) {}

bool GainStage::IsIdle() {
  if (ramp_.IsRunning()) return false;
  from_ = to_;
  if (set_.Take(&to_) && to_ != from_) ramp_.Start();
  return to_ == 1.0f && !ramp_.IsRunning();
}

void GainStage::Process(float* samples, size_t frames) {
  for (; frames > 0 && ramp_.IsRunning(); --frames) {
    const float factor = from_ + (to_ - from_) * ramp_.Next();
    for (uint16_t channel = 0; channel < channels_; ++channel)
      *samples++ *= factor;
  }
  ScaleSamples(samples, frames * channels_, to_);
}

void GainStage::Flush() {
  ramp_.Finish();
  set_.Take(&to_);
}

}  // namespace melorin
