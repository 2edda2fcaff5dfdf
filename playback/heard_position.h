// SPDX-License-Identifier: MIT
//
// From the position that a platform reports to the one that is heard. Platforms report in steps (a whole
// queued block at once), some ahead of time, and what they count as played still has to pass a mixer. Taken
// at its word, such a position would cut the end of every track, since the stream resets the device once the
// position has reached the end. So the report is never followed faster than the clock runs, and a fixed
// latency is taken off; the stream keeps writing silence meanwhile.
//
// Thread: one at a time; the device locks around it.
#pragma once

#include <cstdint>

namespace melorin {

class HeardPosition {
 public:
  /// More than most platforms report ahead; a card whose clock is faster than the system's drifts no further.
  static constexpr uint32_t kUsualLagMs = 200;

  /// max_lag_ms: how far the report may be ahead of the clock before it is followed.
  HeardPosition(uint32_t bytes_per_second, uint32_t frame_bytes, uint32_t latency_ms,
                uint32_t max_lag_ms = kUsualLagMs);

  void Reset(uint32_t tick_ms, bool running);
  void SetRunning(bool running, uint32_t tick_ms);
  /// reported: the platform's total since the last reset. The answer is a whole number of frames and never
  /// smaller than an earlier one.
  uint64_t Estimate(uint64_t reported, uint32_t tick_ms);

 private:
  void Advance(uint32_t tick_ms);

  const uint32_t bytes_per_second_;
  const uint32_t frame_bytes_;
  const uint64_t latency_bytes_;
  const uint64_t max_lag_bytes_;
  uint64_t clock_total_ = 0;  ///< As far as the clock says; pulled down to the report when ahead of it.
  uint64_t remainder_ = 0;    ///< Thousandths of a byte not counted yet.
  uint64_t heard_ = 0;
  uint32_t tick_ms_ = 0;
  bool running_ = false;
};

}  // namespace melorin
