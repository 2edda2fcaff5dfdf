// SPDX-License-Identifier: MIT
//
// PlaybackStream: one opened track turned into sound. It owns the track's chain, one output device, the
// dither, the volume fader and a decode thread that converts blocks, feeds the device, runs the fades and
// finds the end.
//
// Threads: every public operation is called from one thread, the UI thread, AddRef and Release included.
// Events are posted from the decode thread; the device and the chain are called from both, see there.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/event_target.h"
#include "playback/output_device.h"
#include "playback/playback_chain.h"
#include "playback/thread_starter.h"

namespace melorin {

class VisualAnalyser;
struct StreamState;
struct VisualData;

/// Events posted with kStreamMessage. The high word names the fade by its flag, the low word 1 marks a fade
/// event.
enum StreamEvent : uint32_t {
  kEventTrackEnd = 0,                ///< Played to its end; the stream is stopped.
  kEventFadeInDone = 0x00010001,     ///< The fade-in has finished.
  kEventPauseFadeDone = 0x00020001,  ///< The fade-out of a pause has finished; the stream is paused.
  kEventStopFadeDone = 0x00080001,   ///< The fade-out of a stop has finished; the stream is stopped.
};

enum FadeFlag : int32_t { kFadePlay = 1, kFadePause = 2, kFadeSeek = 4, kFadeStop = 8, kFadeAll = 15 };

/// Fade durations in ms.
struct FadeDurations {
  uint32_t play = 300;
  uint32_t pause = 500;
  uint32_t seek = 800;
  uint32_t stop = 800;
};

/// What Play, Pause and Stop have asked for; it changes before a fade-out has ended.
enum class DeviceState : int32_t { kStopped = 0, kPaused = 1, kRunning = 2 };

/// When the last Play reached the device, in ticks of the stream's clock.
struct StartTicks {
  uint32_t first_block;  ///< The device has taken a block; after a pause it may still be full.
  uint32_t device;       ///< It has been told to play.
};

class PlaybackStream {
 public:
  /// Opens a stream over a chain and a device that agree with `format` (8, 16, 24 or 32 bits PCM).
  /// dither: 0 off, else the DitherShaper's type plus 1 (see PlaybackSettings::dither).
  /// The clock must outlive the stream.
  /// Returns the stream with one reference and S_OK in `status`, also when the decode thread could not be
  /// started (then the commands return E_FAIL); else empty, the chain and the device reference gone, and in
  /// `status` E_POINTER (no chain or device), E_INVALIDARG (format), E_OUTOFMEMORY, or the failure of the
  /// device's GetBufferSize.
  static ComPtr<PlaybackStream> Create(std::unique_ptr<PlaybackChain> chain, ComPtr<OutputDevice> device,
                                       const WAVEFORMATEX& format, int32_t dither, Clock& clock,
                                       HRESULT* status, ThreadStarter starter = {});

  uint32_t AddRef();
  /// The last one sends Quit, waits for the threads and destroys the stream. Not from the decode thread.
  uint32_t Release();

  /// Where events go from now on; nothing is posted while target is null or message is 0. The target must
  /// outlive the stream or be taken away before it dies.
  void SetNotify(EventTarget* target, uint32_t message);
  /// Receives every converted block, on the decode thread, from now on; null for none.
  void SetAnalyser(VisualAnalyser* analyser);

  /// Commands: each returns when the decode thread has acted on it or has started the fade that carries it
  /// out. S_OK at once when the stream is in that state; the failure of the chain's start (Play), of the
  /// device's Pause (Pause) or Reset (Stop); E_FAIL without a decode thread.
  HRESULT Play();
  HRESULT Pause();
  HRESULT Stop();

  /// Moves to a position of the track. Running: goes on there, cross-fading when flag kFadeSeek is set, the
  /// device can be cloned, the volume is at least 10 and more than 50 ms of fade are possible. Otherwise
  /// stays paused or stopped there; a fade-out under way is finished first. Returns the first failure of
  /// Pause, Reset, the chain's seek, Play.
  HRESULT Seek(uint32_t position_ms);

  HRESULT SetVolume(int32_t volume);    ///< 0 to 100, -1 mutes.
  HRESULT SetBalance(int32_t balance);  ///< -100 to 100, > 0 attenuates the left.
  /// flags: FadeFlag bits; 0 is kept instead, and the device's failure returned, when the device refuses
  /// SetVolume. Null durations leave them as they are.
  HRESULT SetFade(int32_t flags, const FadeDurations* durations);
  HRESULT SetThreadPriority(int priority);  ///< -15, -2 … 2, 15; E_FAIL when refused or without a thread.

  /// Position in the track, ms.
  uint32_t GetPositionMs() const;
  /// The 512 frames now audible, see VisualData. E_POINTER for null, E_OUTOFMEMORY, S_FALSE (output zeroed)
  /// when nothing has been written yet.
  HRESULT GetVisualData(VisualData* out, int32_t spectrum_mode, int32_t wave_mode);

  SoundSource* Source() const;  ///< Borrowed.
  PlaybackChain& Chain() const;
  const WAVEFORMATEX& Format() const;  ///< Of the device.
  uint32_t EndTimeMs() const;          ///< The track's length; exact once the source has run dry.
  DeviceKind Kind() const;
  DeviceState State() const;
  std::optional<StartTicks> LastStart() const;  ///< Nothing until the device plays.
  int32_t Volume() const;
  int32_t FadeFlags() const;  ///< What is in force, 0 when the device refuses volume.

 private:
  PlaybackStream();
  ~PlaybackStream();
  HRESULT Init(std::unique_ptr<PlaybackChain> chain, ComPtr<OutputDevice> device, const WAVEFORMATEX& format,
               int32_t dither, ThreadStarter starter, Clock& clock);
  HRESULT Send(uint32_t command);
  bool CrossFade(OutputDevice& device, uint32_t duration_ms);

  std::atomic<int32_t> references_{1};
  std::unique_ptr<StreamState> state_;
  Thread thread_;
};

}  // namespace melorin
