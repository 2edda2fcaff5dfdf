// SPDX-License-Identifier: MIT
//
// The effects chain over a stereo source that only copies: time a frame is the counter "frame", and
// "core_percent" what playing takes of one core (of the delivered rate).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "platform/com_ptr.h"
#include "playback/effects/effects_chain.h"
#include "sound/exports.h"

namespace melorin {
namespace {

constexpr uint32_t kRate = 44100;

/// One second over and over, some 6 dB below full scale.
class LoopChain final : public PlaybackChain {
 public:
  LoopChain() : samples_(kRate * 2) {
    for (uint32_t i = 0; i < samples_.size(); ++i)
      samples_[i] = 0.25f * static_cast<float>(std::sin(i * 0.013) + std::sin(i * 0.37));
  }
  uint32_t NativeBlockBytes() const override { return BlockFrames(kRate) * 8; }
  uint32_t ResampledBlockBytes() const override { return 0; }
  bool IsResampling() const override { return false; }
  uint32_t SampleRate() const override { return kRate; }
  uint16_t Channels() const override { return 2; }
  uint16_t SourceBits() const override { return 16; }
  uint32_t DurationMs() const override { return 0; }
  HRESULT NextBlock(SoundBuffer& block) override {
    if (next_ + BlockFrames(kRate) > kRate) next_ = 0;
    uint8_t* data = nullptr;
    block.GetData(&data, nullptr);
    std::memcpy(data, samples_.data() + next_ * 2, NativeBlockBytes());
    next_ += BlockFrames(kRate);
    return block.SetLength(NativeBlockBytes());
  }
  HRESULT Seek(uint32_t) override { return S_OK; }
  HRESULT NotifyStart() override { return S_OK; }
  HRESULT NotifyPause() override { return S_OK; }
  HRESULT NotifyStop() override { return S_OK; }
  SoundSource* Source() const override { return nullptr; }

 private:
  std::vector<float> samples_;
  size_t next_ = 0;
};

void Play(benchmark::State& state, PlaybackChain& chain) {
  ComPtr<SoundBuffer> block;
  CreateSoundBuffer(block.Receive(), chain.BlockBytes());
  for (int i = 0; i < 200; ++i)  // Past what a resampler sets up, and the limiter's first attack.
    chain.NextBlock(*block);
  for (auto _ : state) {
    if (chain.NextBlock(*block) != S_OK) state.SkipWithError("the chain ended");
    benchmark::ClobberMemory();
  }
  const double frames = chain.BlockBytes() / 8.0;
  const auto invert = benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert;
  state.counters["frame"] = benchmark::Counter(frames, invert);
  state.counters["core_percent"] = benchmark::Counter(frames / chain.SampleRate() / 100, invert);
}

void PlayWith(benchmark::State& state, const ChainOptions& options) {
  std::unique_ptr<EffectsChain> chain;
  if (FAILED(EffectsChain::Create(std::make_unique<LoopChain>(), options, &chain))) {
    state.SkipWithError("no chain");
    return;
  }
  Play(state, *chain);
}

EffectSettings EverythingOn() {
  EffectSettings on;
  on.equalizer.values = {3, -2, 3, -2, 1, -1, 2, -3, 3, -2, -3};
  on.surround = 50;
  on.balance = -30;
  on.volume = 80;
  on.gain = TrackGain{-6.0, std::nullopt};
  return on;
}

void BM_SourceAlone(benchmark::State& state) {
  LoopChain source;
  Play(state, source);
}
void BM_NothingOn(benchmark::State& state) {
  PlayWith(state, {});
}
void BM_Scanning(benchmark::State& state) {
  PlayWith(state, {.scan_gain = true});
}
void BM_Equalizer(benchmark::State& state) {
  EffectSettings on;
  on.equalizer = EverythingOn().equalizer;
  PlayWith(state, {.effects = on});
}
void BM_Surround(benchmark::State& state) {
  PlayWith(state, {.effects = {.surround = 50}});
}
void BM_Balance(benchmark::State& state) {
  PlayWith(state, {.effects = {.balance = 50}});
}
// Six decibels over full scale.
void BM_Limiter(benchmark::State& state) {
  PlayWith(state, {.effects = {.extra_gain_db = 12}});
}
void BM_EverythingOn(benchmark::State& state) {
  PlayWith(state, {.effects = EverythingOn()});
}
void BM_EverythingLimited(benchmark::State& state) {
  EffectSettings on = EverythingOn();
  on.extra_gain_db = 18;
  PlayWith(state, {.effects = on});
}
void BM_EverythingResampled(benchmark::State& state) {
  PlayWith(state, {.resample_rate = 48000,
                   .quality = state.range(0) ? ResampleQuality::kHigh : ResampleQuality::kFast,
                   .scan_gain = true,
                   .effects = EverythingOn()});
}
BENCHMARK(BM_SourceAlone);
BENCHMARK(BM_NothingOn);
BENCHMARK(BM_Scanning);
BENCHMARK(BM_Equalizer);
BENCHMARK(BM_Surround);
BENCHMARK(BM_Balance);
BENCHMARK(BM_Limiter);
BENCHMARK(BM_EverythingOn);
BENCHMARK(BM_EverythingLimited);
BENCHMARK(BM_EverythingResampled)->ArgName("high")->Arg(0)->Arg(1);

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
