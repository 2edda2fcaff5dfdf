// SPDX-License-Identifier: MIT
#include "playback/ks_position.h"

#include <algorithm>

namespace melorin {

void KsPosition::Restart(uint64_t offset) {
  offset_ = offset;
  position_ = 0;
}

uint64_t KsPosition::Update(uint64_t offset, uint64_t written) {
  const uint64_t ahead = written - std::min(position_, written);
  uint64_t moved = 0;
  if (offset >= offset_) {
    moved = offset - offset_;
  } else if ((offset_ >> 32) == 0) {
    // Around 2^32, or back to 0 at a moment of the driver's own choice: only the former is a step that the
    // written data allows.
    const uint32_t step = static_cast<uint32_t>(offset) - static_cast<uint32_t>(offset_);
    if (step <= ahead) moved = step;
  }
  offset_ = offset;
  position_ += std::min(moved, ahead);
  return position_;
}

}  // namespace melorin
