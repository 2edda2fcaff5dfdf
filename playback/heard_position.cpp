// SPDX-License-Identifier: MIT
#include "playback/heard_position.h"

#include <algorithm>

namespace melorin {

HeardPosition::HeardPosition(uint32_t bytes_per_second, uint32_t frame_bytes, uint32_t latency_ms,
                             uint32_t max_lag_ms)
    : bytes_per_second_(bytes_per_second),
      frame_bytes_(frame_bytes),
      latency_bytes_(uint64_t{latency_ms} * bytes_per_second / 1000),
      max_lag_bytes_(uint64_t{max_lag_ms} * bytes_per_second / 1000) {}

void HeardPosition::Reset(uint32_t tick_ms, bool running) {
  clock_total_ = remainder_ = heard_ = 0;
  tick_ms_ = tick_ms;
  running_ = running;
}

void HeardPosition::Advance(uint32_t tick_ms) {
  if (running_) {
    const uint64_t thousandths = uint64_t{tick_ms - tick_ms_} * bytes_per_second_ + remainder_;
    clock_total_ += thousandths / 1000;
    remainder_ = thousandths % 1000;
  }
  tick_ms_ = tick_ms;
}

void HeardPosition::SetRunning(bool running, uint32_t tick_ms) {
  Advance(tick_ms);
  running_ = running;
}

uint64_t HeardPosition::Estimate(uint64_t reported, uint32_t tick_ms) {
  Advance(tick_ms);
  clock_total_ = std::min(clock_total_, reported);
  if (reported - clock_total_ > max_lag_bytes_) clock_total_ = reported - max_lag_bytes_;
  const uint64_t heard = clock_total_ > latency_bytes_ ? clock_total_ - latency_bytes_ : 0;
  heard_ = std::max(heard_, heard / frame_bytes_ * frame_bytes_);
  return heard_;
}

}  // namespace melorin
