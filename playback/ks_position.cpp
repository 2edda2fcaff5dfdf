// SPDX-License-Identifier: MIT
#include "playback/ks_position.h"

#include <algorithm>

namespace melorin {

namespace {

/// So many answers in a row that cannot be true, and the driver counts from elsewhere. One that has fallen
/// back may catch up again, so it is waited for longer.
constexpr int kLeapsBelieved = 2;
constexpr int kStepsBackBelieved = 8;

/// What a driver has moved on from one answer to the next; false when it has gone back.
bool Moved(uint64_t from, uint64_t to, uint64_t ahead, uint64_t* moved) {
  *moved = to - from;
  if (to >= from) return true;
  // Around 2^32, or back to 0 at a moment of the driver's own choice: only the former is a step that the
  // written data allows.
  *moved = static_cast<uint32_t>(to) - static_cast<uint32_t>(from);
  return (from >> 32) == 0 && *moved <= ahead;
}

}  // namespace

void KsPosition::Restart(uint64_t offset) {
  offset_ = offset;
  position_ = 0;
  doubts_ = 0;
}

uint64_t KsPosition::Update(uint64_t offset, uint64_t written) {
  const uint64_t ahead = written - std::min(position_, written);
  uint64_t moved = 0;
  const bool forward = Moved(offset_, offset, ahead, &moved);
  if (!forward || moved > ahead) {
    if (doubts_ == 0) doubted_ = offset;
    if (++doubts_ < (forward ? kLeapsBelieved : kStepsBackBelieved)) return position_;
    if (!forward && !Moved(doubted_, offset, ahead, &moved)) moved = 0;
  }
  doubts_ = 0;
  offset_ = offset;
  position_ += std::min(moved, ahead);
  return position_;
}

}  // namespace melorin
