// SPDX-License-Identifier: MIT
//
// Time as the playback code sees it: a millisecond tick count and waits. Tests replace the clock, so that
// fades and waits are tested without waiting.
#pragma once

#include <cstdint>

#include "platform/thread.h"

namespace melorin {

/// Thread: any.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Milliseconds since some start; wraps after 49.7 days, so only differences mean something.
  virtual uint32_t TickMs() = 0;
  /// Waits for the event for at most timeout_ms of this clock's time; true when it was set.
  virtual bool Wait(Event& event, uint32_t timeout_ms) = 0;
  virtual void Sleep(uint32_t duration_ms) = 0;
};

/// The platform's clock.
Clock& SystemClock();

}  // namespace melorin
