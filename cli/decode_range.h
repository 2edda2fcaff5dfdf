// SPDX-License-Identifier: MIT
//
// Which frames of a track a start and a length in milliseconds name, and the cutting of blocks to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace melorin {

/// Frames [first, end) of a track. Times are rounded down to frames, both ends by the same rule, so that
/// ranges which follow each other in milliseconds follow each other in frames too.
struct FrameRange {
  uint64_t first = 0;
  uint64_t end = std::numeric_limits<uint64_t>::max();
};
FrameRange RangeOfTimes(uint32_t start_ms, std::optional<uint32_t> length_ms, uint32_t sample_rate);

/// Cuts the blocks of a track, which arrive in order, to a range.
class RangeCutter {
 public:
  /// position: the frame that the first block begins with.
  RangeCutter(FrameRange range, uint64_t position) : range_(range), position_(position) {}

  struct Part {
    size_t skip_frames = 0;
    size_t frames = 0;
  };
  /// The part of the next block, which has that many frames, that lies in the range.
  Part Next(size_t block_frames);
  /// Nothing that follows lies in the range.
  bool Done() const { return position_ >= range_.end; }

 private:
  FrameRange range_;
  uint64_t position_;
};

}  // namespace melorin
