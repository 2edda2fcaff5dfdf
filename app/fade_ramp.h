// SPDX-License-Identifier: MIT
//
// FadeRamp: how opaque a window is while it fades. Plain.
#pragma once

#include <algorithm>
#include <cstdint>

namespace melorin {

class FadeRamp {
 public:
  static constexpr uint32_t kMs = 150;  ///< From nothing to all.

  /// Alphas are 0 to 255; `now_ms` of a clock that wraps.
  void Start(int from, int to, uint32_t now_ms) {
    from_ = from;
    to_ = to;
    start_ms_ = now_ms;
    runs_ = true;
  }
  void Stop() { runs_ = false; }
  bool Runs() const { return runs_; }
  int Target() const { return to_; }
  /// Ends the ramp when its time is over.
  int AlphaAt(uint32_t now_ms) {
    const uint32_t gone = std::min(now_ms - start_ms_, kMs);
    if (gone == kMs) runs_ = false;
    return from_ + (to_ - from_) * static_cast<int>(gone) / static_cast<int>(kMs);
  }

 private:
  int from_ = 0;
  int to_ = 0;
  uint32_t start_ms_ = 0;
  bool runs_ = false;
};

}  // namespace melorin
