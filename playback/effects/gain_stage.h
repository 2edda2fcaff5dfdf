// SPDX-License-Identifier: MIT
//
// Gain normalisation: one factor for all channels.
#pragma once

#include <cstdint>

#include "playback/effects/change_ramp.h"
#include "playback/effects/parameter.h"
#include "playback/effects/sound_stage.h"

namespace melorin {

class GainStage final : public SoundStage {
 public:
  /// factor: linear, what the first block is played with.
  GainStage(uint32_t sample_rate, uint16_t channels, float factor);

  /// Thread: any. Counts from the next block on.
  void SetFactor(float factor) { set_.Set(factor); }

  bool IsIdle() override;
  void Process(float* samples, size_t frames) override;
  void Flush() override;

 private:
  const uint16_t channels_;
  Parameter<float> set_;
  ChangeRamp ramp_;
  float from_;
  float to_;
};

}  // namespace melorin
