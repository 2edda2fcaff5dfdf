// SPDX-License-Identifier: MIT
//
// FadeRamp: the percentage of a fade-in, asked for once a step.
#pragma once

#include <cstdint>

#include "platform/clock.h"

namespace melorin {

/// Thread: one at a time.
class FadeRamp {
 public:
  FadeRamp() = default;
  void Start(Clock& clock, uint32_t duration_ms) {
    duration_ms_ = duration_ms > 0 ? duration_ms : 1;
    start_ms_ = clock.TickMs();
    steps_ = duration_ms_ / 10 > 0 ? duration_ms_ / 10 : 1;
    calls_ = 0;
  }

  /// 0 to 100. It is 100 once the duration has passed, and at the latest at the query that ends a duration's
  /// worth of 10 ms steps, so that a clock that stands still ends the fade too.
  uint32_t Query(Clock& clock) {
    const uint32_t passed_ms = clock.TickMs() - start_ms_;
    if (++calls_ >= steps_ || passed_ms >= duration_ms_) return 100;
    return static_cast<uint32_t>(uint64_t{passed_ms} * 100 / duration_ms_);
  }

 private:
  uint32_t duration_ms_ = 1;
  uint32_t start_ms_ = 0;
  uint32_t steps_ = 1;
  uint32_t calls_ = 0;
};

}  // namespace melorin
