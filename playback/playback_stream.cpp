// SPDX-License-Identifier: MIT
//
// The UI thread's half of a playback stream.
#include "playback/playback_stream.h"

#include <algorithm>
#include <new>

#include "playback/decode_loop.h"
#include "playback/stream_state.h"
#include "sound/exports.h"

namespace melorin {
namespace {

constexpr int kHighestNormalPriority = 2;
constexpr uint32_t kShortestCrossFadeMs = 50;
constexpr int32_t kLowestCrossFadeVolume = 10;

bool IsPlayable(const WAVEFORMATEX& format) {
  const WORD bits = format.wBitsPerSample;
  return (bits == 8 || bits == 16 || bits == 24 || bits == 32) && format.nChannels > 0 &&
         format.nBlockAlign == bits / 8 * format.nChannels && format.nAvgBytesPerSec > 0;
}

}  // namespace

ComPtr<PlaybackStream> PlaybackStream::Create(std::unique_ptr<PlaybackChain> chain,
                                              ComPtr<OutputDevice> device, const WAVEFORMATEX& format,
                                              int32_t dither, Clock& clock, HRESULT* status,
                                              ThreadStarter starter) {
  try {
    auto stream = ComPtr<PlaybackStream>::Adopt(new PlaybackStream);
    *status = stream->Init(std::move(chain), std::move(device), format, dither, std::move(starter), clock);
    if (FAILED(*status)) stream.Reset();
    return stream;
  } catch (const std::bad_alloc&) {
    *status = E_OUTOFMEMORY;
    return nullptr;
  }
}

PlaybackStream::PlaybackStream() = default;

HRESULT PlaybackStream::Init(std::unique_ptr<PlaybackChain> chain, ComPtr<OutputDevice> device,
                             const WAVEFORMATEX& format, int32_t dither, ThreadStarter starter,
                             Clock& clock) {
  if (!chain || !device) return E_POINTER;
  if (!IsPlayable(format)) return E_INVALIDARG;
  state_ = std::make_unique<StreamState>(clock);
  StreamState& state = *state_;
  state.starter = starter ? std::move(starter) : [](Thread& thread, std::function<void()> body) {
    return thread.Start(std::move(body));
  };
  state.format.reset(CopyFormat(format));
  if (!state.format || !state.spectrum.Init()) return E_OUTOFMEMORY;
  state.chain = std::move(chain);
  state.end_time_ms = state.chain->DurationMs();
  state.SetDevice(device);

  HRESULT result = device->GetBufferSize(&state.device_buffer_bytes);
  if (FAILED(result)) return result;
  int32_t kind = 0;
  device->GetType(&kind);
  state.kind = static_cast<DeviceKind>(kind);
  if (!state.ring.Init(state.device_buffer_bytes)) return E_OUTOFMEMORY;
  const uint32_t float_block_bytes = state.chain->BlockBytes();
  state.block_bytes = format.wBitsPerSample / 8u * (float_block_bytes / 4);
  result = CreateSoundBuffer(state.float_buffer.Receive(), float_block_bytes);
  if (FAILED(result)) return result;
  state.device_free_bytes = state.device_buffer_bytes;
  SetFade(kFadeAll, nullptr);

  if (state.kind == DeviceKind::kDirectSound)
    state.fader = std::make_unique<VolumeFader>(clock, state.starter);
  if (dither != 0)
    state.dither = DitherShaper::Create({.channels = format.nChannels,
                                         .sample_rate = format.nSamplesPerSec,
                                         .bits = format.wBitsPerSample,
                                         .type = dither - 1});
  // A stream whose thread cannot be had is still a stream: it answers, and its commands fail.
  if (state.starter(thread_, [this] { DecodeLoop(*state_, this).Run(); }))
    thread_.SetPriority(kHighestNormalPriority);
  return S_OK;
}

PlaybackStream::~PlaybackStream() {
  if (!state_) return;
  if (thread_.Running()) {
    Send(kCommandQuit);
    thread_.Join();
  }
  state_->chain.reset();
  state_->dither.reset();
  state_->fader.reset();  // Waits for a fade that still runs.
  state_->SetDevice(nullptr);
}

uint32_t PlaybackStream::AddRef() {
  return static_cast<uint32_t>(++references_);
}

uint32_t PlaybackStream::Release() {
  const int32_t left = --references_;
  if (left == 0) delete this;
  return static_cast<uint32_t>(left);
}

void PlaybackStream::SetNotify(EventTarget* target, uint32_t message) {
  state_->SetNotify(target, message);
}

void PlaybackStream::SetAnalyser(VisualAnalyser* analyser) {
  state_->analyser = analyser;
}

// Hands the thread a command and waits until it has been taken. Only the one caller's thread does this, so
// there is one command at a time.
HRESULT PlaybackStream::Send(uint32_t command) {
  if (!thread_.Running()) return E_FAIL;
  state_->command = command;
  state_->ack_event.Reset();
  state_->command_event.Set();
  state_->ack_event.Wait();
  return state_->command_result;
}

HRESULT PlaybackStream::Play() {
  return State() == DeviceState::kRunning ? S_OK : Send(kCommandPlay);
}
HRESULT PlaybackStream::Pause() {
  return State() == DeviceState::kPaused ? S_OK : Send(kCommandPause);
}
HRESULT PlaybackStream::Stop() {
  return State() == DeviceState::kStopped ? S_OK : Send(kCommandStop);
}

HRESULT PlaybackStream::Seek(uint32_t position_ms) {
  StreamState& state = *state_;
  if (state.fader) state.fader->Cancel();
  const bool running = State() == DeviceState::kRunning;
  if (running) {
    const uint32_t duration_ms = state.FadeOutMs(state.fade_duration_ms[2]);
    if ((state.fade_flags & kFadeSeek) && state.volume >= kLowestCrossFadeVolume &&
        duration_ms > kShortestCrossFadeMs && state.fader)
      CrossFade(*state.Device(), duration_ms);
    const int32_t flags = state.fade_flags;
    state.fade_flags = flags & ~kFadePause;
    const HRESULT paused = Pause();
    state.fade_flags = flags;
    if (FAILED(paused)) return paused;
  } else {
    // The thread may be about to end a fade-out, or the track; it must not touch the chain any more.
    Send(kCommandSettle);
  }
  const HRESULT reset = state.Device()->Reset();
  if (FAILED(reset)) return reset;
  const HRESULT sought = state.chain->Seek(position_ms);
  state.ResetCounters(position_ms);
  if (!running) return sought;
  const HRESULT played = Play();
  return FAILED(sought) ? sought : played;
}

// The old device goes on sounding what it holds while the fader takes it down; the stream goes on with a
// clone.
bool PlaybackStream::CrossFade(OutputDevice& device, uint32_t duration_ms) {
  ComPtr<OutputDevice> clone;
  if (FAILED(device.Clone(clone.Receive())) || !clone) return false;
  state_->fader->Start(ComPtr<OutputDevice>::Share(&device), duration_ms, state_->volume);
  state_->SetDevice(std::move(clone));
  state_->seek_fade = true;
  return true;
}

HRESULT PlaybackStream::SetVolume(int32_t volume) {
  const HRESULT result = state_->Device()->SetVolume(volume);
  if (SUCCEEDED(result)) state_->volume = volume;
  return result;
}

HRESULT PlaybackStream::SetBalance(int32_t balance) {
  return state_->Device()->SetBalance(balance);
}

HRESULT PlaybackStream::SetFade(int32_t flags, const FadeDurations* durations) {
  StreamState& state = *state_;
  const HRESULT result = state.Device()->SetVolume(state.volume);
  state.fade_flags = SUCCEEDED(result) ? flags : 0;
  if (durations) {
    state.fade_duration_ms[0] = durations->play;
    state.fade_duration_ms[1] = durations->pause;
    state.fade_duration_ms[2] = durations->seek;
    state.fade_duration_ms[3] = durations->stop;
  }
  return result;
}

HRESULT PlaybackStream::SetThreadPriority(int priority) {
  return thread_.SetPriority(priority) ? S_OK : E_FAIL;
}

uint32_t PlaybackStream::GetPositionMs() const {
  return state_->PositionMs();
}

HRESULT PlaybackStream::GetVisualData(VisualData* out, int32_t spectrum_mode, int32_t wave_mode) {
  if (!out) return E_POINTER;
  *out = {};
  StreamState& state = *state_;
  const ComPtr<OutputDevice> device = state.Device();
  if (!device) return E_UNEXPECTED;
  const WAVEFORMATEX& format = *state.format;
  const uint32_t wanted = kVisualFrames * format.nBlockAlign;
  try {
    if (state.visual_scratch.size() < wanted) state.visual_scratch.resize(wanted);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  uint64_t played = state.PlayedBytes(*device);
  played -= played % format.nBlockAlign;
  uint32_t taken;
  {
    const Lock lock(state.ring_lock);
    const uint64_t written = state.bytes_written;
    const uint64_t queued = written > played ? written - played : 0;
    // Never less than what is drawn; the buffer of a slow format may be shorter than that.
    const uint64_t keep = std::max<uint64_t>(std::min<uint64_t>(queued, state.device_buffer_bytes), wanted);
    state.ring.DiscardDownTo(static_cast<uint32_t>(keep));
    taken = state.ring.Peek({state.visual_scratch.data(), wanted});
  }
  if (taken == 0) return S_FALSE;
  const std::span<const uint8_t> pcm(state.visual_scratch.data(), taken);
  for (uint16_t channel = 0; channel < 2; ++channel) {
    if (channel >= std::max(spectrum_mode, wave_mode)) break;
    std::array<int16_t, kVisualFrames>& wave = out->wave[channel];
    ExtractChannel(pcm, format.wBitsPerSample, format.nChannels, channel < format.nChannels ? channel : 0,
                   wave);
    if (channel < spectrum_mode) state.spectrum.Compute(wave, out->spectrum[channel]);
    if (channel >= wave_mode) wave.fill(0);
  }
  return S_OK;
}

SoundSource* PlaybackStream::Source() const {
  return state_->chain->Source();
}
PlaybackChain& PlaybackStream::Chain() const {
  return *state_->chain;
}
const WAVEFORMATEX& PlaybackStream::Format() const {
  return *state_->format;
}
uint32_t PlaybackStream::EndTimeMs() const {
  return state_->end_time_ms;
}
DeviceKind PlaybackStream::Kind() const {
  return state_->kind;
}
DeviceState PlaybackStream::State() const {
  return static_cast<DeviceState>(state_->device_state.load());
}
std::optional<StartTicks> PlaybackStream::LastStart() const {
  if (!state_->start_is_known) return std::nullopt;
  return StartTicks{state_->first_block_tick, state_->device_tick};
}
int32_t PlaybackStream::Volume() const {
  return state_->volume;
}
int32_t PlaybackStream::FadeFlags() const {
  return state_->fade_flags;
}

}  // namespace melorin
