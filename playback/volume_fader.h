// SPDX-License-Identifier: MIT
//
// VolumeFader: fades a device out on a thread of its own and pauses it at the end, so that a stream can go on
// with another device meanwhile.
#pragma once

#include <atomic>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/output_device.h"
#include "playback/thread_starter.h"

namespace melorin {

/// Thread: Start and Cancel by one thread at a time (the stream's commands are serialised); Running from any.
class VolumeFader {
 public:
  VolumeFader(Clock& clock, const ThreadStarter& starter);
  ~VolumeFader();  ///< Cancels.
  VolumeFader(const VolumeFader&) = delete;
  VolumeFader& operator=(const VolumeFader&) = delete;

  /// Steps the device's volume from `volume` to 0 every 10 ms over the duration, then pauses the device and
  /// lets go of it. Ends a fade that still runs first. Does nothing when the duration is 0 or volume <= 0.
  /// When no thread can be had, the device is paused at once.
  void Start(ComPtr<OutputDevice> device, uint32_t duration_ms, int32_t volume);
  /// Ends the fade where it is, with the device paused, and waits for that.
  void Cancel();
  bool Running() const { return running_.load(std::memory_order_acquire); }

 private:
  void Work();

  Clock& clock_;
  const ThreadStarter& starter_;
  Event stop_{Event::Mode::kManualReset};
  Thread thread_;
  std::atomic<bool> running_{false};
  ComPtr<OutputDevice> device_;
  uint32_t start_ms_ = 0;
  uint32_t end_ms_ = 0;
  int32_t volume_ = 0;
};

}  // namespace melorin
