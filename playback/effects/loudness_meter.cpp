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

struct DeleteMeter {
  void operator()(ebur128_state* meter) const { ebur128_destroy(&meter); }
};
using Meter = std::unique_ptr<ebur128_state, DeleteMeter>;

Meter MakeMeter(uint32_t sample_rate, uint16_t channels) {
  Meter meter(ebur128_init(channels, sample_rate, EBUR128_MODE_I | EBUR128_MODE_HISTOGRAM));
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
  float peak = 0;
  std::array<float, kPieceSamples> piece;
};

std::unique_ptr<LoudnessMeter> LoudnessMeter::Create(uint32_t sample_rate, uint16_t channels) {
  if (sample_rate < kMinRate || sample_rate > kMaxRate || channels == 0 || channels > kMaxChannels)
    return nullptr;
  std::unique_ptr<State> state(new (std::nothrow) State);
  if (!state) return nullptr;
  state->meter = MakeMeter(sample_rate, channels);
  if (!state->meter) return nullptr;
  state->sample_rate = sample_rate;
  state->channels = channels;
  return std::unique_ptr<LoudnessMeter>(new (std::nothrow) LoudnessMeter(std::move(state)));
}

LoudnessMeter::LoudnessMeter(std::unique_ptr<State> state) : state_(std::move(state)) {}

LoudnessMeter::~LoudnessMeter() = default;

void LoudnessMeter::Add(const float* samples, size_t frames) {
  State& s = *state_;
  if (!s.meter) return;
  const size_t piece_frames = kPieceSamples / s.channels;
  while (frames > 0) {
    const size_t now = std::min(frames, piece_frames);
    const size_t count = now * s.channels;
    // A sample that is no number would stay in the filters for ever.
    for (size_t i = 0; i < count; ++i) {
      const float size = std::fabs(samples[i]);
      const bool number = size <= kLoudest;
      s.piece[i] = number ? samples[i] : 0;
      s.peak = std::max(s.peak, number ? size : 0);
    }
    ebur128_add_frames_float(s.meter.get(), s.piece.data(), now);
    samples += count;
    frames -= now;
  }
}

void LoudnessMeter::Reset() {
  State& s = *state_;
  s.peak = 0;
  s.meter = MakeMeter(s.sample_rate, s.channels);
}

std::optional<TrackGain> LoudnessMeter::Result() const {
  double loudness = 0;
  if (!state_->meter || ebur128_loudness_global(state_->meter.get(), &loudness) != EBUR128_SUCCESS ||
      !std::isfinite(loudness))
    return std::nullopt;
  return TrackGain{.gain_db = std::round((kReferenceLufs - loudness) * 100) / 100, .peak = state_->peak};
}

}  // namespace melorin
