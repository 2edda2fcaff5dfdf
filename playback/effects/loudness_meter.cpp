// SPDX-License-Identifier: MIT
#include "playback/effects/loudness_meter.h"

#include <ebur128.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

namespace melorin {
namespace {

constexpr uint16_t kMaxChannels = 8;
/// The measure's first filter rises at 1.7 kHz and is not stable where the rate does not reach twice that.
constexpr uint32_t kMinRate = 4000;
constexpr uint32_t kMaxRate = 768000;
constexpr size_t kPieceSamples = 4096;
/// 60 dB above full scale: what lies higher is a broken sample and counts as silence, as do infinities.
constexpr float kLoudest = 1000;

/// Where each channel stands, in the order of the standard masks. By ITU-R BS.1770-4, table 4, what comes
/// from 60 to 120 degrees counts 1.5 dB more, other places count as they are and the LFE not at all. A mono
/// track sounds from both speakers and counts as both.
constexpr int kChannels[kMaxChannels][kMaxChannels] = {
    {EBUR128_DUAL_MONO},
    {EBUR128_LEFT, EBUR128_RIGHT},
    {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER},
    {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND},
    {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND},
    {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_UNUSED, EBUR128_LEFT_SURROUND,
     EBUR128_RIGHT_SURROUND},
    {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_UNUSED, EBUR128_LEFT_SURROUND,
     EBUR128_RIGHT_SURROUND, EBUR128_Mp180},
    {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_UNUSED, EBUR128_Mp135, EBUR128_Mm135, EBUR128_Mp090,
     EBUR128_Mm090},
};

/// By ITU-R BS.1770-4, section 2: blocks of 400 ms, one every 100 ms; what is quieter than -70 LUFS does not
/// count, nor what is 10 LU below the mean of the rest. Blocks are kept as sums in classes of 0.1 LU, so that
/// the room does not grow with the track; only the class that the second gate cuts is counted as a whole.
class Gate {
 public:
  void Add(double lufs) {
    if (!(lufs >= kLowest)) return;
    const double place = std::floor((lufs - kLowest) * kClassesPerLu);
    Class& chosen = classes_[static_cast<size_t>(std::min(place, kClasses - 1.0))];
    ++chosen.blocks;
    chosen.energy += std::pow(10, lufs / 10);
  }

  std::optional<double> Lufs() const {
    const std::optional<double> ungated = MeanFrom(0);
    if (!ungated) return std::nullopt;
    const double place = std::floor((*ungated - kGateLu - kLowest) * kClassesPerLu);
    return MeanFrom(static_cast<size_t>(std::clamp(place, 0.0, kClasses - 1.0)));
  }

 private:
  static constexpr double kLowest = -70;
  static constexpr double kGateLu = 10;
  static constexpr double kClassesPerLu = 10;
  static constexpr size_t kClasses = 1400;  // Up to 70 LUFS.
  struct Class {
    uint64_t blocks = 0;
    double energy = 0;
  };

  std::optional<double> MeanFrom(size_t first) const {
    uint64_t blocks = 0;
    double energy = 0;
    for (size_t i = first; i < kClasses; ++i) {
      blocks += classes_[i].blocks;
      energy += classes_[i].energy;
    }
    if (blocks == 0) return std::nullopt;
    return 10 * std::log10(energy / static_cast<double>(blocks));
  }

  std::array<Class, kClasses> classes_ = {};
};

struct DeleteMeter {
  void operator()(ebur128_state* meter) const { ebur128_destroy(&meter); }
};
using Meter = std::unique_ptr<ebur128_state, DeleteMeter>;

/// The library filters and weighs; the gate is ours, since the library's allocates while it measures or, in
/// its other mode, is wrong by up to 0.05 LU.
Meter MakeMeter(uint32_t sample_rate, uint16_t channels) {
  Meter meter(ebur128_init(channels, sample_rate, EBUR128_MODE_M));
  if (!meter) return nullptr;
  for (unsigned channel = 0; channel < channels; ++channel)
    if (ebur128_set_channel(meter.get(), channel, kChannels[channels - 1][channel]) != EBUR128_SUCCESS)
      return nullptr;
  return meter;
}

}  // namespace

struct LoudnessMeter::State {
  Meter meter;
  uint32_t sample_rate = 0;
  uint16_t channels = 0;
  Gate gate;
  size_t frames_to_block = 0;
  float peak = 0;
  std::array<float, kPieceSamples> piece;

  size_t HopFrames() const { return (sample_rate + 5) / 10; }  // As the library rounds it.
  void Begin() {
    gate = {};
    frames_to_block = 4 * HopFrames();
    peak = 0;
    meter = MakeMeter(sample_rate, channels);
  }
};

std::unique_ptr<LoudnessMeter> LoudnessMeter::Create(uint32_t sample_rate, uint16_t channels) {
  if (sample_rate < kMinRate || sample_rate > kMaxRate || channels == 0 || channels > kMaxChannels)
    return nullptr;
  std::unique_ptr<State> state(new (std::nothrow) State);
  if (!state) return nullptr;
  state->sample_rate = sample_rate;
  state->channels = channels;
  state->Begin();
  if (!state->meter) return nullptr;
  return std::unique_ptr<LoudnessMeter>(new (std::nothrow) LoudnessMeter(std::move(state)));
}

LoudnessMeter::LoudnessMeter(std::unique_ptr<State> state) : state_(std::move(state)) {}

LoudnessMeter::~LoudnessMeter() = default;

void LoudnessMeter::Add(const float* samples, size_t frames) {
  State& s = *state_;
  if (!s.meter) return;
  while (frames > 0) {
    const size_t now = std::min({frames, kPieceSamples / s.channels, s.frames_to_block});
    const size_t count = now * s.channels;
    // A sample that is no number would stay in the filters for ever.
    for (size_t i = 0; i < count; ++i) {
      const float size = std::fabs(samples[i]);
      const bool sound = size <= kLoudest;
      s.piece[i] = sound ? samples[i] : 0;
      s.peak = std::max(s.peak, sound ? size : 0);
    }
    ebur128_add_frames_float(s.meter.get(), s.piece.data(), now);
    samples += count;
    frames -= now;
    s.frames_to_block -= now;
    if (s.frames_to_block > 0) continue;
    s.frames_to_block = s.HopFrames();
    double lufs = 0;
    if (ebur128_loudness_momentary(s.meter.get(), &lufs) == EBUR128_SUCCESS) s.gate.Add(lufs);
  }
}

void LoudnessMeter::Reset() {
  state_->Begin();
}

std::optional<TrackGain> LoudnessMeter::Result() const {
  const std::optional<double> lufs = state_->gate.Lufs();
  if (!lufs) return std::nullopt;
  return TrackGain{.gain_db = std::round((kReferenceLufs - *lufs) * 100) / 100, .peak = state_->peak};
}

}  // namespace melorin
