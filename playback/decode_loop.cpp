// SPDX-License-Identifier: MIT
//
// How the decode thread works: it sleeps on the command event for as long as the device can be expected to do
// without it, takes a command if there is one, and then does one step of what its status asks for. Commands
// are answered as soon as they are carried out or their fade has started; until the answer the UI thread
// stands still, so what the command's handling touches before it answers has no other user.
#include "playback/decode_loop.h"

#include <algorithm>
#include <cstring>

#include "playback/sample_convert.h"

namespace melorin {
namespace {

constexpr uint32_t kFadeStepMs = 10;
constexpr uint32_t kAsioLongestWaitMs = 20;

}  // namespace

DecodeLoop::DecodeLoop(StreamState& state, PlaybackStream* stream)
    : state_(state),
      stream_(stream),
      bytes_per_second_(state.BytesPerSecond()),
      block_ms_(static_cast<uint32_t>(uint64_t{state.block_bytes} * 1000 / state.BytesPerSecond())) {}

void DecodeLoop::Run() {
  for (;;) {
    if (state_.clock.Wait(state_.command_event, wait_ms_) && !TakeCommand()) return;
    Step();
  }
}

bool DecodeLoop::TakeCommand() {
  const uint32_t command = state_.command;
  if (command == kCommandSettle) {
    if (status_ == Status::kFadingToPause || status_ == Status::kFadingToStop) FinishFadeOut();
    Answer(S_OK);
    return true;
  }
  if (status_ == Status::kFadingToStop) StopDevice();
  switch (command) {
    case kCommandPlay:
      TakePlay();
      return true;
    case kCommandPause:
      TakePause();
      return true;
    case kCommandStop:
      TakeStop();
      return true;
    default:
      const HRESULT result = state_.device_state != 0 ? StopDevice() : S_OK;
      Answer(result);
      return false;
  }
}

void DecodeLoop::TakePlay() {
  status_ = Status::kPlaying;
  // After a cross-fade seek the fader works on the device before this one.
  if (!state_.seek_fade && state_.fader) state_.fader->Cancel();
  const bool fade = (state_.fade_flags & kFadePlay) != 0;
  const int32_t volume = state_.volume;
  SetDeviceVolume(fade && volume > 0 ? 0 : volume);
  const HRESULT started = state_.chain->NotifyStart();
  if (FAILED(started)) {
    status_ = Status::kStopped;
    wait_ms_ = kInfinite;
    Answer(started);
    return;
  }
  state_.device_state = static_cast<int32_t>(DeviceState::kRunning);
  state_.start_is_known = false;
  Answer(started);

  const uint32_t limit = std::min(bytes_per_second_ / 2, state_.device_buffer_bytes / 2);
  HRESULT filled = Fill();
  state_.first_block_tick = state_.clock.TickMs();
  while (SUCCEEDED(filled) && !state_.clock.Wait(state_.command_event, 1) && !state_.end_of_source &&
         state_.bytes_written < limit)
    filled = Fill();
  state_.Device()->Play();
  state_.device_tick = state_.clock.TickMs();
  state_.start_is_known = true;
  if (fade) {
    status_ = Status::kFadingIn;
    wait_ms_ = kFadeStepMs;
    ramp_.Start(state_.clock, state_.fade_duration_ms[state_.seek_fade ? 2 : 0]);
  } else {
    // No fade-in will take the mark away, and it must not keep a later Play from cancelling a pause's fade.
    state_.seek_fade = false;
  }
}

void DecodeLoop::TakePause() {
  if (StartFadeOut(kFadePause, DeviceState::kPaused, state_.fade_duration_ms[1])) {
    status_ = Status::kFadingToPause;
    Answer(S_OK);
    return;
  }
  const HRESULT result = PauseDevice();
  status_ = FAILED(result) ? Status::kStopped : Status::kPaused;
  wait_ms_ = kInfinite;
  Answer(result);
}

void DecodeLoop::TakeStop() {
  if (StartFadeOut(kFadeStop, DeviceState::kStopped, state_.fade_duration_ms[3])) {
    status_ = Status::kFadingToStop;
    Answer(S_OK);
    return;
  }
  const HRESULT result = StopDevice();
  status_ = Status::kStopped;
  wait_ms_ = kInfinite;
  Answer(result);
}

bool DecodeLoop::StartFadeOut(FadeFlag flag, DeviceState target, uint32_t longest_ms) {
  if (!(state_.fade_flags & flag) || !state_.fader ||
      state_.device_state != static_cast<int32_t>(DeviceState::kRunning))
    return false;
  state_.device_state = static_cast<int32_t>(target);
  wait_ms_ = kFadeStepMs;
  // From here on the fader works on this device, and the next Play must cancel it.
  state_.seek_fade = false;
  state_.fader->Start(state_.Device(), state_.FadeOutMs(longest_ms), state_.volume);
  return true;
}

void DecodeLoop::Answer(HRESULT result) {
  state_.command_result = result;
  state_.command_event.Reset();
  state_.ack_event.Set();
}

void DecodeLoop::Step() {
  switch (status_) {
    case Status::kPlaying:
    case Status::kFadingIn:
      StepPlaying();
      break;
    case Status::kFadingToPause:
    case Status::kFadingToStop:
      if (state_.fader->Running())
        wait_ms_ = kFadeStepMs;
      else
        FinishFadeOut();
      break;
    default:
      break;
  }
}

void DecodeLoop::StepPlaying() {
  wait_ms_ = std::max<uint32_t>(block_ms_ / 4, 5);
  if (Fill() == S_OK) {
    wait_ms_ = WaitAfterFill();
    if (state_.kind == DeviceKind::kAsio) wait_ms_ = std::min(wait_ms_, kAsioLongestWaitMs);
  }
  if (status_ == Status::kFadingIn) StepFadeIn();
  if (state_.end_of_source && state_.PositionMs() >= state_.end_time_ms) {
    StopDevice();
    status_ = Status::kStopped;
    wait_ms_ = kInfinite;
    state_.Post(kEventTrackEnd, stream_);
  }
}

uint32_t DecodeLoop::WaitAfterFill() const {
  const uint32_t total = state_.device_buffer_bytes;
  const uint32_t free_bytes = state_.device_free_bytes;
  const uint32_t pending = state_.pending_bytes;
  const uint32_t three_quarters = static_cast<uint32_t>(uint64_t{total} * 3 / 4);
  if (pending == 0) return free_bytes < three_quarters ? 10 : 5;
  // The emptier the buffer, the smaller the part of the pending block's time that may be slept.
  const auto part = [&](uint32_t thousandths, uint32_t longest) {
    return static_cast<uint32_t>(
        std::min<uint64_t>(uint64_t{pending} * thousandths / bytes_per_second_, longest));
  };
  if (free_bytes >= three_quarters) return part(100, 5);
  if (free_bytes >= total / 2) return part(250, 10);
  if (free_bytes >= total / 4) return part(500, 20);
  return part(750, 40);
}

void DecodeLoop::StepFadeIn() {
  const uint32_t percent = ramp_.Query(state_.clock);
  const int32_t volume = state_.volume;
  if (percent < 100) {
    wait_ms_ = std::min(wait_ms_, kFadeStepMs);
    SetDeviceVolume(volume > 0 ? volume * static_cast<int32_t>(percent) / 100 : volume);
    return;
  }
  SetDeviceVolume(volume);
  // Before the post: who gets the event may act on it at once.
  state_.seek_fade = false;
  status_ = Status::kPlaying;
  state_.Post(kEventFadeInDone, stream_);
}

void DecodeLoop::FinishFadeOut() {
  uint32_t event;
  if (status_ == Status::kFadingToPause) {
    status_ = FAILED(PauseDevice()) ? Status::kStopped : Status::kPaused;
    event = kEventPauseFadeDone;
  } else {
    StopDevice();
    status_ = Status::kStopped;
    event = kEventStopFadeDone;
  }
  SetDeviceVolume(state_.volume);  // The fader left it low.
  wait_ms_ = kInfinite;
  state_.Post(event, stream_);
}

// One step of feeding the device. S_OK when a block was handled; S_FALSE when the device has no room for the
// one that is pending; else the status of the write or of the decode.
HRESULT DecodeLoop::Fill() {
  const ComPtr<OutputDevice> device = state_.Device();
  HRESULT result = S_FALSE;
  if (!state_.end_of_source && state_.pending_bytes == 0) result = Decode();
  bool silence = false;
  if (state_.end_of_source && state_.pending_bytes == 0) {
    uint8_t* data = nullptr;
    state_.float_buffer->GetData(&data, nullptr);
    std::memset(data, state_.format->wBitsPerSample == 8 ? 128 : 0, state_.block_bytes);
    state_.pending_bytes = state_.block_bytes;
    silence = true;
  }
  const uint32_t pending = state_.pending_bytes;
  bool written = false;
  if (pending > 0 && pending <= state_.device_free_bytes) {
    result = WritePending(*device, pending);
    written = true;
  }
  if (!state_.end_of_source && state_.pending_bytes == 0) {
    const HRESULT decoded = Decode();
    if (!written) result = decoded;
  }
  if (silence) state_.pending_bytes = state_.block_bytes;
  uint32_t free_bytes = 0;
  if (SUCCEEDED(device->GetFreeSpace(&free_bytes))) state_.device_free_bytes = free_bytes;
  return result;
}

HRESULT DecodeLoop::WritePending(OutputDevice& device, uint32_t bytes) {
  uint8_t* data = nullptr;
  state_.float_buffer->GetData(&data, nullptr);
  const HRESULT result = device.Write(data, bytes);
  if (FAILED(result)) return result;
  state_.bytes_written += bytes;
  state_.pending_bytes = 0;
  const Lock lock(state_.ring_lock);
  state_.ring.Append({data, bytes});
  return result;
}

HRESULT DecodeLoop::Decode() {
  SoundBuffer& buffer = *state_.float_buffer;
  state_.pending_bytes = 0;
  buffer.SetLength(0);
  const HRESULT result = state_.chain->NextBlock(buffer);
  if (result != S_OK) {
    if (!state_.end_of_source.exchange(true))
      state_.end_time_ms = BytesToMs(state_.bytes_written, bytes_per_second_) + state_.base_time_ms;
    return result;
  }
  uint8_t* data = nullptr;
  uint32_t length = 0;
  buffer.GetData(&data, &length);
  if (length == 0) return result;
  const uint32_t converted = state_.dither ? state_.dither->Convert(data, length)
                                           : ConvertSamples(data, length, state_.format->wBitsPerSample);
  if (VisualAnalyser* analyser = state_.analyser) analyser->OnBlock({data, converted}, *state_.format);
  state_.pending_bytes = converted;
  buffer.SetLength(converted);
  return result;
}

HRESULT DecodeLoop::PauseDevice() {
  const HRESULT result = state_.Device()->Pause();
  state_.chain->NotifyPause();
  state_.device_state = static_cast<int32_t>(DeviceState::kPaused);
  return result;
}

HRESULT DecodeLoop::StopDevice() {
  const ComPtr<OutputDevice> device = state_.Device();
  device->Pause();
  state_.chain->NotifyStop();
  const HRESULT result = device->Reset();
  if (FAILED(result)) return result;
  state_.device_state = static_cast<int32_t>(DeviceState::kStopped);
  state_.seek_fade = false;
  state_.ResetCounters(0);
  state_.chain->Seek(0);
  return result;
}

void DecodeLoop::SetDeviceVolume(int32_t volume) {
  state_.Device()->SetVolume(volume);
}

}  // namespace melorin
