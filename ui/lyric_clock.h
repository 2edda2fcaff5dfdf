// SPDX-License-Identifier: MIT
//
// LyricClock: the playing position between two reports of it, so that lyrics move evenly. A report that is
// off by little bends the clock's pace for a moment; one that is off by more, as after a seek, sets it.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace melorin {

/// Positions in ms; `now_ms` is of a clock that wraps. Thread: one at a time.
class LyricClock {
 public:
  void Set(int32_t position_ms, bool runs, uint32_t now_ms) {
    const int32_t off = position_ms - At(now_ms);
    error_ = runs && runs_ && std::abs(off) <= kLargestBend ? off : 0;
    base_ = position_ms;
    since_ = now_ms;
    runs_ = runs;
  }

  int32_t At(uint32_t now_ms) const {
    if (!runs_) return base_;
    const auto passed = static_cast<int32_t>(now_ms - since_);
    const int32_t left = passed < kBendMs ? kBendMs - passed : 0;
    return base_ + passed - error_ * left / kBendMs;
  }

  bool Runs() const { return runs_; }

 private:
  static constexpr int32_t kLargestBend = 200;
  /// Longer than the largest bend, so that the clock never goes back.
  static constexpr int32_t kBendMs = 500;

  int32_t base_ = 0;
  int32_t error_ = 0;  ///< How far it was behind at the last report.
  uint32_t since_ = 0;
  bool runs_ = false;
};

}  // namespace melorin
