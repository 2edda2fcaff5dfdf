// SPDX-License-Identifier: MIT
//
// The ten-band graphic equalizer. Each band is a second-order band-pass whose output, times the band's gain,
// is added to the signal; a band works on the output of those below it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "doc/settings_types.h"
#include "playback/effects/change_ramp.h"
#include "playback/effects/equalizer_filters.h"
#include "playback/effects/parameter.h"
#include "playback/effects/sound_stage.h"

namespace melorin {

/// Centre frequencies in Hz, from the lowest up.
inline constexpr std::array<double, EqualizerBands::kBands> kEqualizerCentres = {
    31.25, 62.5, 125, 250, 500, 1000, 2000, 4000, 8000, 16000};

/// Settings beyond ±12 dB act as ±12 dB.
inline constexpr int32_t kEqualizerRangeDb = 12;

/// How many bands take part at a rate: those whose centre is not above 0.43478262 of it.
uint32_t ActiveEqualizerBands(uint32_t sample_rate);

/// The band-pass of one band: alpha × (1 - 1.005 z⁻²) / (1 - gamma z⁻¹ + beta z⁻²).
struct EqualizerBandDesign {
  double gamma = 0;
  double beta = 0;
  double alpha = 0;
};
EqualizerBandDesign DesignEqualizerBand(double centre_hz, uint32_t sample_rate);

/// The linear gain of one band under a preamplifier setting, both in dB: 10^(v/28) - 1 + 10^(q/28) - 1.
float EqualizerGain(int32_t band_db, int32_t preamp_db);

class Equalizer final : public SoundStage {
 public:
  enum class Routine { kForProcessor, kPlain, kVector };
  /// Works on the first two of the channels; the others pass unchanged. The routine is chosen once, by the
  /// processor; all give the same result, bit for bit.
  Equalizer(uint32_t sample_rate, uint16_t channels, Routine routine = Routine::kForProcessor);

  /// Thread: any. Counts from the next block on.
  void SetBands(const EqualizerBands& bands);
  /// The same before the first block, without a ramp.
  void Start(const EqualizerBands& bands);

  bool IsIdle() override;
  void Process(float* samples, size_t frames) override;
  void Flush() override;

 private:
  using Gains = std::array<float, EqualizerBands::kBands>;
  Gains GainsOf(const EqualizerBands& bands) const;
  void TakeOver();
  /// Gains that stay as they are.
  void Settle(const Gains& gains);

  // Thread: the one that drives the chain, but for the parameter.
  Parameter<EqualizerBands> parameter_;
  EqualizerFilters filters_;
  EqualizerRoutine run_;
  ChangeRamp ramp_;
  Gains current_{};  ///< Of the last block; while a ramp runs what it left.
  Gains target_{};
  Gains wanted_{};          ///< Becomes the target when the ramp under way has ended.
  size_t lead_frames_ = 0;  ///< What filters that begin anew are still to hear before the ramp.
  bool idle_ = true;
};

}  // namespace melorin
