// SPDX-License-Identifier: MIT
//
// Frame ranges.
#include "cli/decode_range.h"

#include <algorithm>

namespace melorin {

FrameRange RangeOfTimes(uint32_t start_ms, std::optional<uint32_t> length_ms, uint32_t sample_rate) {
  const auto frame = [&](uint64_t ms) { return ms / 1000 * sample_rate + ms % 1000 * sample_rate / 1000; };
  FrameRange range;
  range.first = frame(start_ms);
  if (length_ms) range.end = frame(uint64_t{start_ms} + *length_ms);
  return range;
}

RangeCutter::Part RangeCutter::Next(size_t block_frames) {
  const uint64_t block_end = position_ + block_frames;
  const uint64_t first = std::clamp(range_.first, position_, block_end);
  const uint64_t end = std::clamp(range_.end, first, block_end);
  const Part part{static_cast<size_t>(first - position_), static_cast<size_t>(end - first)};
  position_ = block_end;
  return part;
}

}  // namespace melorin
