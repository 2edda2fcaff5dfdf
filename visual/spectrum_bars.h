// SPDX-License-Identifier: MIT
//
// The bars of the spectrum display: bands of a magnitude spectrum as heights that rise at once and fall
// evenly, each under a peak that stays for a while before it falls too. Knows neither pixels nor colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace melorin {

struct SpectrumBarsOptions {
  size_t bars = 20;
  float lowest_hz = 50;
  float highest_hz = 16000;  ///< Cut to half the sample rate.
  float range_db = 66;       ///< From an empty bar to a full one, which is full scale.
  float fall_per_s = 1.6f;   ///< Of a bar, in full heights.
  uint32_t peak_hold_ms = 600;
  float peak_gravity = 1.8f;  ///< A falling peak gains this many full heights a second, every second.
};

/// Bands have equal widths in octaves. A bar shows the strongest frequency in its band, so a tone stands as
/// high in a wide band as in a narrow one; a band between two bins takes the value between theirs.
///
/// Heights are decibels: 1 for a full-scale sine, 0 at range_db below it. All motion is by time, not by
/// frames, so it looks the same at every frame rate. Thread: one. Update allocates when the sample rate
/// changes only.
class SpectrumBars {
 public:
  explicit SpectrumBars(const SpectrumBarsOptions& options = {});

  /// Takes the spectrum of what is heard now: bin k of n lies at k / 2n of the sample rate. An empty span, or
  /// a rate of 0, is silence (stopped, paused): the bars fall. elapsed_ms: since the last Update.
  void Update(std::span<const float> magnitudes, uint32_t sample_rate, uint32_t elapsed_ms);
  /// Empties the display at once.
  void Clear();

  std::span<const float> Levels() const { return levels_; }  ///< 0 to 1.
  std::span<const float> Peaks() const { return peaks_; }    ///< 0 to 1, never below the level.
  /// Nothing is to be seen and nothing moves: no need to draw again until the music goes on.
  bool IsEmpty() const;
  /// Middle of a band in Hz, under the last sample rate.
  float CentreHz(size_t bar) const;

 private:
  /// Where a band lies, in bins.
  struct Band {
    float low = 0;
    float high = 0;
  };
  struct PeakMotion {
    uint32_t held_ms = 0;
    float speed = 0;
  };
  void LayOut(size_t bins, uint32_t sample_rate);
  float Height(std::span<const float> magnitudes, const Band& band) const;
  void MovePeak(size_t bar, uint32_t elapsed_ms);

  SpectrumBarsOptions options_;
  std::vector<Band> bands_;
  std::vector<float> levels_;
  std::vector<float> peaks_;
  std::vector<PeakMotion> motion_;
  size_t bins_ = 0;
  uint32_t sample_rate_ = 0;
};

}  // namespace melorin
