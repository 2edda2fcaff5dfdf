// SPDX-License-Identifier: MIT
//
// See pcm_queue.h.
#include "sound/win32/pcm_queue.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace melorin {

bool PcmQueue::Push(const uint8_t* data, size_t bytes) {
  std::unique_lock lock(lock_);
  while (bytes > 0) {
    changed_.wait(lock, [this] { return aborted_ || count_ < kCapacity; });
    if (aborted_) return false;
    const size_t at = (start_ + count_) % kCapacity;
    const size_t part = std::min({bytes, kCapacity - count_, kCapacity - at});
    std::memcpy(ring_.data() + at, data, part);
    count_ += part;
    data += part;
    bytes -= part;
    changed_.notify_all();
  }
  return true;
}

size_t PcmQueue::Pop(uint8_t* to, size_t capacity, uint32_t timeout_ms) {
  std::unique_lock lock(lock_);
  changed_.wait_for(lock, std::chrono::milliseconds(timeout_ms), [this] { return count_ > 0; });
  size_t taken = 0;
  while (taken < capacity && count_ > 0) {
    const size_t part = std::min({capacity - taken, count_, kCapacity - start_});
    std::memcpy(to + taken, ring_.data() + start_, part);
    start_ = (start_ + part) % kCapacity;
    count_ -= part;
    taken += part;
  }
  if (taken > 0) changed_.notify_all();
  return taken;
}

void PcmQueue::Abort() {
  const Lock lock(lock_);
  aborted_ = true;
  start_ = 0;
  count_ = 0;
  changed_.notify_all();
}

void PcmQueue::Restart() {
  const Lock lock(lock_);
  aborted_ = false;
}

}  // namespace melorin
