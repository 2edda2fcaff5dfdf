// SPDX-License-Identifier: MIT
//
// DecodeLoop: what a stream's decode thread runs. It takes commands, feeds the device, runs the fades and
// finds the end of the track.
#pragma once

#include <cstdint>

#include "playback/fade_ramp.h"
#include "playback/playback_stream.h"
#include "playback/stream_state.h"

namespace melorin {

/// Thread: the decode thread. No allocation while playing.
class DecodeLoop {
 public:
  DecodeLoop(StreamState& state, PlaybackStream* stream);
  void Run();  ///< Until the Quit command.

 private:
  enum class Status { kIdle, kPlaying, kPaused, kStopped, kFadingIn, kFadingToPause, kFadingToStop };

  bool TakeCommand();  ///< False for Quit.
  void TakePlay();
  void TakePause();
  void TakeStop();
  bool StartFadeOut(FadeFlag flag, DeviceState target, uint32_t longest_ms);
  void Answer(HRESULT result);

  void Step();
  void StepPlaying();
  void StepFadeIn();
  void FinishFadeOut();
  uint32_t WaitAfterFill() const;

  HRESULT Fill();
  HRESULT Decode();
  HRESULT WritePending(OutputDevice& device, uint32_t bytes);
  HRESULT PauseDevice();
  HRESULT StopDevice();
  void SetDeviceVolume(int32_t volume);

  StreamState& state_;
  PlaybackStream* const stream_;
  const uint32_t bytes_per_second_;
  const uint32_t block_ms_;
  Status status_ = Status::kIdle;
  uint32_t wait_ms_ = kInfinite;
  FadeRamp ramp_;
};

}  // namespace melorin
