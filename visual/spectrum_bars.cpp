// SPDX-License-Identifier: MIT
#include "visual/spectrum_bars.h"

#include <algorithm>
#include <cmath>

namespace melorin {

namespace {

/// The magnitude at a place between two bins.
float Between(std::span<const float> magnitudes, float bin) {
  const float last = static_cast<float>(magnitudes.size() - 1);
  const float at = std::clamp(bin, 0.0f, last);
  const auto left = static_cast<size_t>(at);
  const size_t right = std::min(left + 1, magnitudes.size() - 1);
  const float part = at - static_cast<float>(left);
  return magnitudes[left] + (magnitudes[right] - magnitudes[left]) * part;
}

}  // namespace

SpectrumBars::SpectrumBars(const SpectrumBarsOptions& options)
    : options_(options),
      bands_(options.bars),
      levels_(options.bars),
      peaks_(options.bars),
      motion_(options.bars) {}

void SpectrumBars::LayOut(size_t bins, uint32_t sample_rate) {
  if (bins == bins_ && sample_rate == sample_rate_) return;
  bins_ = bins;
  sample_rate_ = sample_rate;
  const float nyquist = static_cast<float>(sample_rate) / 2;
  const float highest = std::min(options_.highest_hz, nyquist);
  const float lowest = std::clamp(options_.lowest_hz, highest / 1000, highest / 2);
  const float bins_per_hz = static_cast<float>(bins) / nyquist;
  const float ratio = highest / lowest;
  for (size_t i = 0; i < bands_.size(); ++i) {
    const auto edge = [&](size_t number) {
      return lowest * std::pow(ratio, static_cast<float>(number) / static_cast<float>(bands_.size()));
    };
    bands_[i] = {edge(i) * bins_per_hz, edge(i + 1) * bins_per_hz};
  }
}

float SpectrumBars::CentreHz(size_t bar) const {
  if (bins_ == 0 || bar >= bands_.size()) return 0;
  const float bin = std::sqrt(bands_[bar].low * bands_[bar].high);
  return bin * static_cast<float>(sample_rate_) / 2 / static_cast<float>(bins_);
}

float SpectrumBars::Height(std::span<const float> magnitudes, const Band& band) const {
  float strongest = std::max(Between(magnitudes, band.low), Between(magnitudes, band.high));
  const auto first = static_cast<size_t>(std::ceil(band.low));
  const auto past = std::min(static_cast<size_t>(band.high) + 1, magnitudes.size());
  for (size_t k = first; k < past; ++k)
    strongest = std::max(strongest, magnitudes[k]);
  if (!(strongest > 0)) return 0;
  return std::clamp(1 + 20 * std::log10(strongest) / options_.range_db, 0.0f, 1.0f);
}

void SpectrumBars::MovePeak(size_t bar, uint32_t elapsed_ms) {
  PeakMotion& motion = motion_[bar];
  if (levels_[bar] >= peaks_[bar]) {
    peaks_[bar] = levels_[bar];
    motion = {};
    return;
  }
  const uint32_t held_before = motion.held_ms;
  motion.held_ms += std::min(elapsed_ms, options_.peak_hold_ms - held_before);
  const float falling_s = static_cast<float>(elapsed_ms - (motion.held_ms - held_before)) / 1000;
  const float speed = motion.speed + options_.peak_gravity * falling_s;
  peaks_[bar] -= (motion.speed + speed) / 2 * falling_s;
  motion.speed = speed;
  if (peaks_[bar] <= levels_[bar]) {
    peaks_[bar] = levels_[bar];
    motion = {};
  }
}

void SpectrumBars::Update(std::span<const float> magnitudes, uint32_t sample_rate, uint32_t elapsed_ms) {
  const bool silent = magnitudes.empty() || sample_rate == 0;
  if (!silent) LayOut(magnitudes.size(), sample_rate);
  const float fall = options_.fall_per_s * static_cast<float>(elapsed_ms) / 1000;
  for (size_t i = 0; i < bands_.size(); ++i) {
    const float height = silent ? 0 : Height(magnitudes, bands_[i]);
    levels_[i] = std::max({height, levels_[i] - fall, 0.0f});
    MovePeak(i, elapsed_ms);
  }
}

void SpectrumBars::Clear() {
  std::fill(levels_.begin(), levels_.end(), 0.0f);
  std::fill(peaks_.begin(), peaks_.end(), 0.0f);
  std::fill(motion_.begin(), motion_.end(), PeakMotion{});
}

bool SpectrumBars::IsEmpty() const {
  return std::all_of(peaks_.begin(), peaks_.end(), [](float peak) { return peak <= 0; });
}

}  // namespace melorin
