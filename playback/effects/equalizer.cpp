// SPDX-License-Identifier: MIT
#include "playback/effects/equalizer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace melorin {
namespace {

constexpr double kHighestCentre = 0.43478262;  // Of the rate.
constexpr double kBandwidth = 1.2247449;
constexpr double kGainDivisor = 28;  // dB a decade; a slider's 12 dB are 8.6 dB of gain.
constexpr float kSmallestHistory = 1.1920929e-7f;
constexpr size_t kMovingFrames = 256;  // Whose weights are laid out at a time.

// The one place that asks the processor.
EqualizerRoutine ChooseRoutine(Equalizer::Routine routine) {
  if (routine == Equalizer::Routine::kForProcessor)
    routine = __builtin_cpu_supports("sse2") ? Equalizer::Routine::kVector : Equalizer::Routine::kPlain;
  return routine == Equalizer::Routine::kVector ? RunEqualizerVector : RunEqualizerPlain;
}

double LinearGain(int32_t db) {
  return std::pow(10.0, std::clamp(db, -kEqualizerRangeDb, kEqualizerRangeDb) / kGainDivisor) - 1;
}

void SetBoth(EqualizerFilters::Values& values, size_t band, float value) {
  std::fill_n(values[band], EqualizerFilters::kChannels, value);
}

// Histories that die away would become denormal, which most processors handle slowly. One that is no number,
// as a broken file can make it, would never end.
void Guard(EqualizerFilters::Values& histories) {
  for (auto& band : histories)
    for (float& value : band)
      if (!(std::fabs(value) >= kSmallestHistory && std::isfinite(value))) value = 0;
}

void Clear(EqualizerFilters& filters) {
  for (size_t k = 0; k < EqualizerBands::kBands; ++k) {
    SetBoth(filters.w1, k, 0);
    SetBoth(filters.w2, k, 0);
  }
}

}  // namespace

uint32_t ActiveEqualizerBands(uint32_t sample_rate) {
  const auto end =
      std::upper_bound(kEqualizerCentres.begin(), kEqualizerCentres.end(), kHighestCentre * sample_rate);
  return static_cast<uint32_t>(end - kEqualizerCentres.begin());
}

EqualizerBandDesign DesignEqualizerBand(double centre_hz, uint32_t sample_rate) {
  const double angle = 2 * std::numbers::pi * centre_hz / sample_rate;
  const double t = std::tan(kBandwidth * angle / 2);
  const double beta = (1 - t) / (1 + t);
  return {.gamma = std::cos(angle) * (1 + beta), .beta = beta, .alpha = (1 - beta) / 2};
}

float EqualizerGain(int32_t band_db, int32_t preamp_db) {
  return static_cast<float>(LinearGain(band_db) + LinearGain(preamp_db));
}

Equalizer::Equalizer(uint32_t sample_rate, uint16_t channels, Routine routine)
    : run_(ChooseRoutine(routine)), ramp_(sample_rate) {
  filters_.bands = ActiveEqualizerBands(sample_rate);
  filters_.channels = channels;
  for (size_t k = 0; k < filters_.bands; ++k) {
    const EqualizerBandDesign design = DesignEqualizerBand(kEqualizerCentres[k], sample_rate);
    SetBoth(filters_.alpha, k, static_cast<float>(design.alpha));
    SetBoth(filters_.beta, k, static_cast<float>(design.beta));
    SetBoth(filters_.pull, k, static_cast<float>(1 + design.beta - design.gamma));
  }
  // The design has no stable filter for a centre above 0.408 of the rate (1 / (2 × 1.2247449)), as 16 kHz is
  // at 37.8 kHz: it would answer any sound with one that grows without end. Such a band is left out.
  while (filters_.bands > 0 && std::fabs(filters_.beta[filters_.bands - 1][0]) >= 1) {
    --filters_.bands;
    for (auto* values : {&filters_.alpha, &filters_.beta, &filters_.pull})
      SetBoth(*values, filters_.bands, 0);
  }
}

void Equalizer::SetBands(const EqualizerBands& bands) {
  parameter_.Set(bands);
}

void Equalizer::Start(const EqualizerBands& bands) {
  ramp_.Finish();
  wanted_ = GainsOf(bands);
  Settle(wanted_);
}

void Equalizer::TakeOver() {
  EqualizerBands bands;
  if (parameter_.Take(&bands)) wanted_ = GainsOf(bands);
}

bool Equalizer::IsIdle() {
  TakeOver();
  if (ramp_.IsRunning()) return false;
  if (wanted_ != target_) {
    target_ = wanted_;
    for (size_t k = 0; k < filters_.bands; ++k)
      SetBoth(filters_.gain_move, k, target_[k] - current_[k]);
    ramp_.Start();
    // To filters at rest the sound is one that begins at once, and the low bands ring from that.
    if (idle_) lead_frames_ = ramp_.FramesLeft();
    idle_ = false;
  } else if (!idle_ && target_ == Gains{}) {
    Clear(filters_);
    idle_ = true;
  }
  return idle_;
}

void Equalizer::Process(float* samples, size_t frames) {
  if (lead_frames_ > 0) {
    const size_t count = std::min(frames, lead_frames_);
    run_(filters_, samples, count, nullptr);
    samples += count * filters_.channels;
    frames -= count;
    lead_frames_ -= count;
  }
  while (frames > 0 && ramp_.IsRunning()) {
    float weights[kMovingFrames];
    const size_t count = std::min({frames, ramp_.FramesLeft(), kMovingFrames});
    for (size_t n = 0; n < count; ++n)
      weights[n] = ramp_.Next();
    run_(filters_, samples, count, weights);
    samples += count * filters_.channels;
    frames -= count;
    if (!ramp_.IsRunning()) Settle(target_);
  }
  run_(filters_, samples, frames, nullptr);
  Guard(filters_.w1);
  Guard(filters_.w2);
}

void Equalizer::Flush() {
  ramp_.Finish();
  lead_frames_ = 0;
  TakeOver();
  Settle(wanted_);
  Clear(filters_);
}

// The gains of bands that take no part stay 0: they would keep an equalizer at work that changes nothing.
Equalizer::Gains Equalizer::GainsOf(const EqualizerBands& bands) const {
  Gains gains{};
  for (size_t k = 0; k < filters_.bands; ++k)
    gains[k] = EqualizerGain(bands.values[k], bands.values[EqualizerBands::kPreamp]);
  return gains;
}

void Equalizer::Settle(const Gains& gains) {
  current_ = target_ = gains;
  for (size_t k = 0; k < filters_.bands; ++k)
    SetBoth(filters_.gain, k, gains[k]);
  if (gains != Gains{}) idle_ = false;
}

}  // namespace melorin
