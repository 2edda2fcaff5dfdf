// SPDX-License-Identifier: MIT
//
// How a block comes about. The window holds processed frames in a row: first those held back for the limiter,
// then new ones. NextBlock fills it to a block and the limiter's look-ahead more; after that the first block
// of it is finished and goes out, and the rest moves to the front. So nothing is late for the listener, only
// read a little earlier. Behind the source's end a look-ahead of silence pushes the last frames through; it
// is never delivered itself.
#include "playback/effects/effects_chain.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/thread.h"
#include "playback/effects/balance.h"
#include "playback/effects/equalizer.h"
#include "playback/effects/gain_stage.h"
#include "playback/effects/limiter.h"
#include "playback/effects/loudness_meter.h"
#include "playback/effects/sample_loops.h"
#include "playback/effects/surround.h"
#include "sound/exports.h"

namespace melorin {

namespace {

constexpr uint16_t kMaxChannels = 8;
constexpr uint32_t kMaxRate = 768000;
constexpr double kMaxGainDb = 60;
/// 96 dB above full scale. A file of floats may hold anything; beyond this it must not get into filters,
/// which would keep what is infinite for ever.
constexpr float kLoudest = 65536.0f;

float GainFor(const EffectSettings& settings) {
  const double factor = settings.gain ? GainFactor(*settings.gain) : 1.0;
  const double extra = std::isfinite(settings.extra_gain_db)
                           ? std::clamp(settings.extra_gain_db, -kMaxGainDb, kMaxGainDb)
                           : 0.0;
  const double all = extra == 0 ? factor : factor * std::pow(10.0, extra / 20);
  const double most = std::pow(10.0, kMaxGainDb / 20);
  return std::isfinite(all) ? static_cast<float>(std::clamp(all, 0.0, most)) : 1.0f;
}

BalanceSetting BalanceFor(const EffectSettings& settings) {
  return {settings.volume, settings.balance};
}

uint32_t DeliveredRate(const PlaybackChain& source, const ChainOptions& options) {
  const bool wanted = options.resample_rate > 0 && options.resample_rate <= kMaxRate;
  return wanted ? options.resample_rate : source.SampleRate();
}

/// The loudness scan of a track: only what was measured from its start to its end without a gap counts.
class Scan {
 public:
  void Begin(std::unique_ptr<LoudnessMeter> meter) { meter_ = std::move(meter); }
  void Add(const float* samples, size_t frames) {
    if (meter_ && state_ == State::kRunning) meter_->Add(samples, frames);
  }
  void Finish(bool broken_off) {
    if (!meter_ || state_ != State::kRunning) return;
    state_ = broken_off ? State::kSpoiled : State::kDone;
    if (broken_off) return;
    const std::optional<TrackGain> result = meter_->Result();
    const Lock lock(lock_);
    result_ = result;
  }
  /// What was fully scanned stays so.
  void Seek(bool to_start) {
    if (!meter_ || state_ == State::kDone) return;
    state_ = to_start ? State::kRunning : State::kSpoiled;
    if (to_start) meter_->Reset();
  }
  std::optional<TrackGain> Result() const {
    const Lock lock(lock_);
    return result_;
  }

 private:
  enum class State { kRunning, kSpoiled, kDone };
  std::unique_ptr<LoudnessMeter> meter_;
  State state_ = State::kRunning;
  mutable CriticalSection lock_;  ///< Guards result_.
  std::optional<TrackGain> result_;
};

}  // namespace

struct EffectsChain::Parts {
  Parts(std::unique_ptr<PlaybackChain> chain, uint32_t rate, const EffectSettings& effects)
      : source(std::move(chain)),
        channels(source->Channels()),
        sample_rate(rate),
        gain(rate, channels, GainFor(effects)),
        equalizer(rate, channels),
        surround(rate, channels, effects.surround),
        balance(rate, channels, BalanceFor(effects)),
        limiter(rate, channels) {
    equalizer.Start(effects.equalizer);
  }

  bool FetchSource();
  size_t ReadPlain(float* out, size_t frames);
  size_t ReadResampled(float* out, size_t frames);
  void RunStages(float* samples, size_t frames);
  void BeginAnew();
  void FillWindow(size_t frames);
  float* Frame(size_t index) { return window.data() + index * channels; }
  void BreakOff(HRESULT result) {
    source_ended = true;
    failure = result;
  }

  const std::unique_ptr<PlaybackChain> source;
  const uint16_t channels;
  const uint32_t sample_rate;  ///< Of what is delivered.
  uint32_t block_frames = 0;   ///< Of a block that is delivered,
  uint32_t native_frames = 0;  ///< and of the same at the source's own rate.

  ComPtr<SoundBuffer> source_block;
  const float* rest = nullptr;  ///< Of the source's block, what was not taken yet.
  size_t rest_frames = 0;
  bool source_ended = false;
  HRESULT failure = S_OK;  ///< What broke the track off.

  Scan scan;
  std::unique_ptr<Resampler> resampler;
  GainStage gain;
  Equalizer equalizer;
  Surround surround;
  Balance balance;
  Limiter limiter;

  std::vector<float> window;
  size_t held = 0;       ///< Frames in the window.
  bool drained = false;  ///< The silence behind the end is in the window.
  bool begins = true;    ///< The next block is the first one, or the first after a seek.
};

/// Gets the source's next block into the rest; false at its end.
bool EffectsChain::Parts::FetchSource() {
  if (source_ended) return false;
  const HRESULT result = source->NextBlock(*source_block);
  uint8_t* data = nullptr;
  uint32_t length = 0;
  source_block->GetData(&data, &length);
  const size_t frames = length / 4 / channels;
  if (result != S_OK || frames == 0) {
    // A block of nothing that claims to be one: a source that would be asked for ever.
    source_ended = true;
    failure = FAILED(result) ? result : result == S_OK ? E_UNEXPECTED : S_OK;
    scan.Finish(FAILED(failure));
    return false;
  }
  rest = reinterpret_cast<const float*>(data);
  rest_frames = frames;
  scan.Add(rest, frames);
  return true;
}

size_t EffectsChain::Parts::ReadPlain(float* out, size_t frames) {
  size_t done = 0;
  while (done < frames && (rest_frames > 0 || FetchSource())) {
    const size_t count = std::min(frames - done, rest_frames);
    std::memcpy(out + done * channels, rest, count * channels * sizeof(float));
    rest += count * channels;
    rest_frames -= count;
    done += count;
  }
  return done;
}

size_t EffectsChain::Parts::ReadResampled(float* out, size_t frames) {
  size_t done = 0;
  while (done < frames) {
    const bool more = rest_frames > 0 || FetchSource();
    Resampler::Count count;
    if (!resampler->Process(more ? rest : nullptr, more ? rest_frames : 0, out + done * channels,
                            frames - done, &count)) {
      BreakOff(E_OUTOFMEMORY);
      rest_frames = 0;
      break;
    }
    if (count.in_frames == 0 && count.out_frames == 0) {
      if (more) BreakOff(E_UNEXPECTED);  // It would stand still for ever.
      break;
    }
    rest += count.in_frames * channels;
    rest_frames -= count.in_frames;
    done += count.out_frames;
  }
  return done;
}

void EffectsChain::Parts::RunStages(float* samples, size_t frames) {
  SoundStage* const raising[] = {&gain, &equalizer, &surround};
  bool raised = false;
  for (SoundStage* const stage : raising) {
    if (stage->IsIdle()) continue;
    if (!raised) CutSamples(samples, frames * channels, kLoudest);
    raised = true;
    stage->Process(samples, frames);
  }
  if (!balance.IsIdle()) balance.Process(samples, frames);
  limiter.Process(samples, frames, raised);
}

/// The stages forget what was before. Done when the first block is asked for, so that what was set until then
/// counts from its first frame: a ramp to it would be heard.
void EffectsChain::Parts::BeginAnew() {
  begins = false;
  gain.Flush();
  equalizer.Flush();
  surround.Flush();
  balance.Flush();
  limiter.Flush();
}

/// Reads until the window holds so many frames, or all there are.
void EffectsChain::Parts::FillWindow(size_t frames) {
  if (held >= frames || drained) return;
  const size_t wanted = frames - held;
  const size_t count = resampler ? ReadResampled(Frame(held), wanted) : ReadPlain(Frame(held), wanted);
  if (count > 0) RunStages(Frame(held), count);
  held += count;
  if (count == wanted) return;
  const size_t silence = limiter.LookAhead();
  std::memset(Frame(held), 0, silence * channels * sizeof(float));
  limiter.Process(Frame(held), silence, false);
  held += silence;
  drained = true;
}

HRESULT EffectsChain::Create(std::unique_ptr<PlaybackChain> source, const ChainOptions& options,
                             std::unique_ptr<EffectsChain>* out) {
  if (!out) return E_POINTER;
  out->reset();
  if (!source || source->SampleRate() == 0 || source->Channels() == 0 || source->Channels() > kMaxChannels ||
      source->BlockBytes() < source->Channels() * 4u)
    return E_INVALIDARG;
  try {
    const uint32_t source_rate = source->SampleRate();
    const uint16_t channels = source->Channels();
    const uint32_t source_frames = source->BlockBytes() / 4 / channels;
    uint32_t rate = DeliveredRate(*source, options);
    std::unique_ptr<Resampler> resampler;
    if (rate != source_rate)
      resampler = Resampler::Create(source_rate, rate, channels, options.quality, source_frames);
    if (!resampler) rate = source_rate;

    auto parts = std::make_unique<Parts>(std::move(source), rate, options.effects);
    parts->resampler = std::move(resampler);
    parts->block_frames = BlockFrames(rate, options.block_ms);
    parts->native_frames = BlockFrames(source_rate, options.block_ms);
    if (options.scan_gain) parts->scan.Begin(LoudnessMeter::Create(source_rate, channels));
    const HRESULT made = CreateSoundBuffer(parts->source_block.Receive(), parts->source->BlockBytes());
    if (FAILED(made)) return made;
    // A block, what is held back, and the silence behind the end.
    parts->window.resize((parts->block_frames + 2 * parts->limiter.LookAhead()) * channels);
    out->reset(new EffectsChain(std::move(parts)));
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

EffectsChain::EffectsChain(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}
EffectsChain::~EffectsChain() = default;

uint32_t EffectsChain::NativeBlockBytes() const {
  return parts_->native_frames * parts_->channels * 4u;
}
uint32_t EffectsChain::ResampledBlockBytes() const {
  return parts_->block_frames * parts_->channels * 4u;
}
bool EffectsChain::IsResampling() const {
  return parts_->resampler != nullptr;
}
uint32_t EffectsChain::SampleRate() const {
  return parts_->sample_rate;
}
uint16_t EffectsChain::Channels() const {
  return parts_->channels;
}
uint16_t EffectsChain::SourceBits() const {
  return parts_->source->SourceBits();
}
uint32_t EffectsChain::DurationMs() const {
  return parts_->source->DurationMs();
}

HRESULT EffectsChain::NextBlock(SoundBuffer& block) {
  Parts& parts = *parts_;
  block.SetLength(0);
  uint8_t* data = nullptr;
  uint32_t capacity = 0;
  block.GetData(&data, nullptr);
  block.GetCapacity(&capacity);
  const size_t frame_bytes = parts.channels * sizeof(float);
  const size_t wanted = std::min<size_t>(parts.block_frames, capacity / frame_bytes);
  if (!data || wanted == 0) return E_INVALIDARG;

  if (parts.begins) parts.BeginAnew();
  const size_t ahead = parts.limiter.LookAhead();
  parts.FillWindow(wanted + ahead);
  const size_t frames = std::min(wanted, parts.held - ahead);
  if (frames == 0) return FAILED(parts.failure) ? parts.failure : S_FALSE;
  std::memcpy(data, parts.Frame(0), frames * frame_bytes);
  parts.held -= frames;
  std::memmove(parts.Frame(0), parts.Frame(frames), parts.held * frame_bytes);
  return block.SetLength(static_cast<uint32_t>(frames * frame_bytes));
}

HRESULT EffectsChain::Seek(uint32_t position_ms) {
  Parts& parts = *parts_;
  const HRESULT result = parts.source->Seek(position_ms);
  // Past the end nothing more is delivered; with any other failure the source goes on where it was.
  if (FAILED(result) && result != E_INVALIDARG) return result;
  parts.rest_frames = 0;
  parts.source_ended = false;
  parts.failure = S_OK;
  parts.held = 0;
  parts.drained = false;
  parts.scan.Seek(position_ms == 0 && SUCCEEDED(result));
  parts.begins = true;
  if (parts.resampler && !parts.resampler->Clear()) {
    parts.BreakOff(E_OUTOFMEMORY);
    return E_OUTOFMEMORY;
  }
  return result;
}

HRESULT EffectsChain::NotifyStart() {
  return parts_->source->NotifyStart();
}
HRESULT EffectsChain::NotifyPause() {
  return parts_->source->NotifyPause();
}
HRESULT EffectsChain::NotifyStop() {
  return parts_->source->NotifyStop();
}
SoundSource* EffectsChain::Source() const {
  return parts_->source->Source();
}

void EffectsChain::Set(const EffectSettings& settings) {
  Parts& parts = *parts_;
  parts.gain.SetFactor(GainFor(settings));
  parts.equalizer.SetBands(settings.equalizer);
  parts.surround.SetLevel(settings.surround);
  parts.balance.Set(BalanceFor(settings));
}

std::optional<TrackGain> EffectsChain::ScannedGain() const {
  return parts_->scan.Result();
}

}  // namespace melorin
