// SPDX-License-Identifier: MIT
//
// Chains that play what a test computes, and the ear that hears clicks in what comes out of the effects.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>
#include <vector>

#include "platform/com_ptr.h"
#include "playback/effects/effects_chain.h"
#include "sound/exports.h"

namespace melorin::effects_test {

struct Signal {
  uint32_t rate = 44100;
  uint16_t channels = 2;
  uint64_t frames = 44100;
  std::function<float(uint64_t frame, uint16_t channel)> sample = [](uint64_t, uint16_t) { return 0.0f; };
  std::vector<float> loop = {};  ///< Instead of `sample`: frames that repeat for ever.
  HRESULT end = S_FALSE;
  bool seekable = true;
};

class SignalChain final : public PlaybackChain {
 public:
  explicit SignalChain(Signal signal) : signal_(std::move(signal)) {}
  uint32_t NativeBlockBytes() const override { return BlockFrames(signal_.rate) * signal_.channels * 4; }
  uint32_t ResampledBlockBytes() const override { return 0; }
  bool IsResampling() const override { return false; }
  uint32_t SampleRate() const override { return signal_.rate; }
  uint16_t Channels() const override { return signal_.channels; }
  uint16_t SourceBits() const override { return 24; }
  uint32_t DurationMs() const override { return static_cast<uint32_t>(signal_.frames * 1000 / signal_.rate); }
  HRESULT NextBlock(SoundBuffer& block) override {
    uint8_t* data = nullptr;
    block.GetData(&data, nullptr);
    auto* out = reinterpret_cast<float*>(data);
    const uint64_t frames = std::min<uint64_t>(BlockFrames(signal_.rate), signal_.frames - next_);
    if (frames == 0) return signal_.end;
    const uint64_t period = signal_.loop.size() / signal_.channels;
    for (uint64_t done = 0; period > 0 && done < frames;) {
      const uint64_t at = (next_ + done) % period;
      const uint64_t count = std::min(frames - done, period - at);
      std::memcpy(out + done * signal_.channels, signal_.loop.data() + at * signal_.channels,
                  static_cast<size_t>(count) * signal_.channels * sizeof(float));
      done += count;
    }
    next_ += period > 0 ? frames : 0;
    for (uint64_t i = 0; period == 0 && i < frames; ++i, ++next_)
      for (uint16_t channel = 0; channel < signal_.channels; ++channel)
        *out++ = signal_.sample(next_, channel);
    return block.SetLength(static_cast<uint32_t>(frames * signal_.channels * 4));
  }
  HRESULT Seek(uint32_t position_ms) override {
    if (!signal_.seekable) return E_NOTIMPL;
    const uint64_t frame = uint64_t{position_ms} * signal_.rate / 1000;
    next_ = std::min(frame, signal_.frames);
    return frame < signal_.frames ? S_OK : E_INVALIDARG;
  }
  HRESULT NotifyStart() override { return S_OK; }
  HRESULT NotifyPause() override { return S_OK; }
  HRESULT NotifyStop() override { return S_OK; }
  SoundSource* Source() const override { return nullptr; }

 private:
  const Signal signal_;
  uint64_t next_ = 0;
};

inline std::unique_ptr<EffectsChain> MakeChain(const Signal& signal, const ChainOptions& options = {}) {
  std::unique_ptr<EffectsChain> chain;
  EXPECT_EQ(EffectsChain::Create(std::make_unique<SignalChain>(signal), options, &chain), S_OK);
  return chain;
}

inline ComPtr<SoundBuffer> MakeBlock(const PlaybackChain& chain) {
  ComPtr<SoundBuffer> block;
  EXPECT_EQ(CreateSoundBuffer(block.Receive(), chain.BlockBytes()), S_OK);
  return block;
}

/// Appends the next block; what NextBlock answered.
inline HRESULT Pull(PlaybackChain& chain, SoundBuffer& block, std::vector<float>& out) {
  const HRESULT result = chain.NextBlock(block);
  uint8_t* data = nullptr;
  uint32_t length = 0;
  block.GetData(&data, &length);
  if (result == S_OK) {
    out.resize(out.size() + length / 4);
    std::memcpy(out.data() + out.size() - length / 4, data, length);
  }
  return result;
}

/// Everything up to the end; checks that only the last block is short.
inline std::vector<float> Drain(PlaybackChain& chain, HRESULT* end = nullptr) {
  const ComPtr<SoundBuffer> block = MakeBlock(chain);
  std::vector<float> out;
  bool was_short = false;
  for (;;) {
    const size_t before = out.size();
    const HRESULT result = Pull(chain, *block, out);
    if (end) *end = result;
    if (result != S_OK) return out;
    EXPECT_FALSE(was_short) << "only the last block may be short";
    EXPECT_GT(out.size(), before);
    was_short = (out.size() - before) * 4 < chain.BlockBytes();
    if (out.size() == before) return out;
  }
}

/// What is left of a signal far from the tone that is played: for one up to 1 kHz what lies above 5 kHz (1
/// kHz is 112 dB down there), for a higher one what lies below 3 kHz (10 kHz is 96 dB down). An eighth-order
/// Butterworth filter. Source of the sections: R. Bristow-Johnson, Cookbook formulae for audio EQ biquad
/// filter coefficients.
class ClickEar {
 public:
  explicit ClickEar(uint32_t rate, uint32_t tone_hz = 1000)
      : ClickEar(rate, tone_hz <= 1000 ? 5000 : 3000, tone_hz <= 1000) {}
  /// What lies above that frequency, or below it.
  ClickEar(uint32_t rate, uint32_t edge_hz, bool above) : middle_(above ? -2 : 2) {
    const double w = 2 * std::numbers::pi * edge_hz / rate;
    constexpr std::array<double, 4> kQ = {0.50979558, 0.60134489, 0.89997622, 2.56291545};
    for (size_t k = 0; k < kQ.size(); ++k) {
      const double alpha = std::sin(w) / (2 * kQ[k]);
      const double a0 = 1 + alpha;
      sections_[k] = {(1 - std::copysign(std::cos(w), middle_)) / 2 / a0, -2 * std::cos(w) / a0,
                      (1 - alpha) / a0, 0, 0};
    }
  }
  double Next(double x) {
    for (Section* section = sections_.data(); section < sections_.data() + sections_.size(); ++section) {
      const Section s = *section;
      const double y = s.b * x + s.s1;
      section->s1 = middle_ * s.b * x - s.a1 * y + s.s2;
      section->s2 = s.b * x - s.a2 * y;
      x = y;
    }
    return x;
  }

 private:
  struct Section {
    double b, a1, a2, s1, s2;
  };
  std::array<Section, 4> sections_;
  const double middle_;  ///< Of each numerator, by its ends.
};

inline double Decibels(double value) {
  return 20 * std::log10(std::max(value, 1e-20));
}

/// A tone of a multiple of 5 Hz at -12 dBFS; the right channel is one radian ahead, so that nothing cancels
/// out.
inline Signal Tone(uint32_t rate, uint64_t frames, uint32_t hz = 1000) {
  Signal tone{.rate = rate, .frames = frames};
  const uint32_t period = rate / 5;
  for (uint32_t i = 0; i < period; ++i)
    for (uint32_t channel = 0; channel < 2; ++channel)
      tone.loop.push_back(
          static_cast<float>(0.25 * std::sin(2 * std::numbers::pi * hz * i / rate + channel)));
  return tone;
}

/// A fixed sequence of numbers.
class Dice {
 public:
  explicit Dice(uint32_t seed) : state_(seed) {}
  int32_t Roll(int32_t low, int32_t high) {
    state_ = state_ * 1664525u + 1013904223u;
    return low + static_cast<int32_t>((state_ >> 8) % static_cast<uint32_t>(high - low + 1));
  }

 private:
  uint32_t state_;
};

}  // namespace melorin::effects_test
