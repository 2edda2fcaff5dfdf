// SPDX-License-Identifier: MIT
//
// What the UI thread's half of a playback stream (playback_stream.cpp) and the decode thread's half
// (decode_loop.cpp) share. Internal to the stream.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/dither_shaper.h"
#include "playback/event_target.h"
#include "playback/output_device.h"
#include "playback/playback_chain.h"
#include "playback/thread_starter.h"
#include "playback/visual_data.h"
#include "playback/visual_ring.h"
#include "playback/volume_fader.h"

namespace melorin {

class PlaybackStream;

/// What the thread is handed. Settle is the stream's own: it ends a fade-out at once, as the fader's end
/// would, and otherwise changes nothing; its answer tells that the thread lies still.
enum StreamCommand : uint32_t {
  kCommandNone = 0,
  kCommandPlay = 1,
  kCommandPause = 2,
  kCommandStop = 3,
  kCommandQuit = 4,
  kCommandSettle = 5,
};

struct FreeFormat {
  void operator()(WAVEFORMATEX* format) const { CoTaskMemFree(format); }
};

/// Members without an atomic are fixed by construction, or belong to the thread that their comment names.
struct StreamState {
  explicit StreamState(Clock& stream_clock) : clock(stream_clock) {}

  // Fixed by construction.
  Clock& clock;
  ThreadStarter starter;
  std::unique_ptr<WAVEFORMATEX, FreeFormat> format;
  DeviceKind kind = DeviceKind::kWaveOut;
  uint32_t device_buffer_bytes = 0;
  uint32_t block_bytes = 0;  ///< Device-format bytes of one full float block.

  // The decode thread's; the UI thread touches the chain only while the decode thread lies still.
  std::unique_ptr<PlaybackChain> chain;
  ComPtr<SoundBuffer> float_buffer;
  std::unique_ptr<DitherShaper> dither;

  std::unique_ptr<VolumeFader> fader;  ///< Only for DirectSound.

  // The UI thread's.
  SpectrumState spectrum;
  std::vector<uint8_t> visual_scratch;

  // The command on its way, and the answer; see PlaybackStream::Send.
  Event command_event{Event::Mode::kManualReset};
  Event ack_event{Event::Mode::kAutoReset};
  std::atomic<uint32_t> command{kCommandNone};
  std::atomic<int32_t> command_result{S_FALSE};

  CriticalSection ring_lock;
  VisualRing ring;  ///< Under ring_lock.

  std::atomic<VisualAnalyser*> analyser{nullptr};
  std::atomic<bool> end_of_source{false};
  std::atomic<uint32_t> end_time_ms{0};
  std::atomic<uint32_t> base_time_ms{0};  ///< Track position of the device's byte 0.
  /// Since the last reset. Wider than the device's own count, which wraps after less than an hour at high
  /// rates.
  std::atomic<uint64_t> bytes_written{0};
  std::atomic<uint32_t> pending_bytes{0};  ///< Converted, in the float buffer, not yet taken by the device.
  std::atomic<uint32_t> device_free_bytes{0};
  std::atomic<int32_t> device_state{0};
  std::atomic<uint32_t> first_block_tick{0};  ///< See StartTicks.
  std::atomic<uint32_t> device_tick{0};
  std::atomic<bool> start_is_known{false};  ///< The two are those of the last Play.
  std::atomic<int32_t> volume{100};
  std::atomic<int32_t> fade_flags{0};
  std::atomic<bool> seek_fade{false};  ///< The fade-in that follows a cross-fade seek is due.
  std::array<std::atomic<uint32_t>, 4> fade_duration_ms{300, 500, 800, 800};  ///< Play, pause, seek, stop.

  uint32_t BytesPerSecond() const { return format->nAvgBytesPerSec; }

  ComPtr<OutputDevice> Device() const;
  void SetDevice(ComPtr<OutputDevice> device);
  void SetNotify(EventTarget* target, uint32_t message);
  void Post(uint32_t event, PlaybackStream* stream) const;

  /// Bytes played since the last reset.
  uint64_t PlayedBytes(OutputDevice& device) const;
  uint32_t PositionMs() const;
  /// How long the device sounds with what it holds, by the last report of its free space, and at most
  /// `longest_ms`.
  uint32_t FadeOutMs(uint32_t longest_ms) const;
  void ResetCounters(uint32_t base_ms);

 private:
  // Swapped by a cross-fade seek while the decode thread works, so every use takes a reference of its own.
  mutable CriticalSection reference_lock_;
  ComPtr<OutputDevice> device_;
  EventTarget* target_ = nullptr;
  uint32_t message_ = 0;
};

/// bytes * 1000 / bytes_per_second, rounded to the nearest.
constexpr uint32_t BytesToMs(uint64_t bytes, uint32_t bytes_per_second) {
  return static_cast<uint32_t>((bytes * 1000 + bytes_per_second / 2) / bytes_per_second);
}

}  // namespace melorin
