// SPDX-License-Identifier: MIT
//
// Balance and volume inside the chain, by the linear law of the waveOut device (see WaveOutVolumeWord).
#pragma once

#include <array>
#include <cstdint>

#include "playback/effects/change_ramp.h"
#include "playback/effects/parameter.h"
#include "playback/effects/sound_stage.h"

namespace melorin {

struct BalanceSetting {
  int32_t volume = 100;  ///< 0 to 100; below 1 silence.
  int32_t balance = 0;   ///< -100 to 100; positive attenuates the left, negative the right.
  bool operator==(const BalanceSetting&) const = default;
};

/// Balance attenuates all speakers of one side, see SpeakerPairs; speakers in the middle, and mono, keep
/// their level. Values out of range are cut.
class Balance final : public SoundStage {
 public:
  static constexpr size_t kMaxChannels = 8;
  using Factors = std::array<float, kMaxChannels>;
  static Factors FactorsFor(const BalanceSetting& setting, uint16_t channels);

  Balance(uint32_t sample_rate, uint16_t channels, const BalanceSetting& setting);

  /// Thread: any. Counts from the next block on.
  void Set(const BalanceSetting& setting) { set_.Set(setting); }

  bool IsIdle() override;
  void Process(float* samples, size_t frames) override;
  void Flush() override;

 private:
  bool TakeOver();

  const uint16_t channels_;
  const Factors unchanged_;
  Parameter<BalanceSetting> set_;
  ChangeRamp ramp_;
  Factors from_;
  Factors to_;
};

}  // namespace melorin
