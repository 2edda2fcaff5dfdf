// SPDX-License-Identifier: MIT
//
// A bounded queue of PCM bytes between a streaming thread of the media graph and the decode thread. The bound
// is what holds the graph back, which otherwise runs as fast as it can.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <vector>

#include "platform/thread.h"

namespace melorin {

/// Thread: one writer, one reader; Abort and Restart on the reader's.
class PcmQueue {
 public:
  /// Waits for room; false when the queue was aborted.
  bool Push(const uint8_t* data, size_t bytes);
  /// Waits at most timeout_ms for data; the bytes taken.
  size_t Pop(uint8_t* to, size_t capacity, uint32_t timeout_ms);
  /// Empties the queue and turns the writer away until Restart.
  void Abort();
  void Restart();

 private:
  static constexpr size_t kCapacity = 256 * 1024;

  CriticalSection lock_;
  std::condition_variable changed_;
  std::vector<uint8_t> ring_ = std::vector<uint8_t>(kCapacity);
  size_t start_ = 0;
  size_t count_ = 0;
  bool aborted_ = false;
};

}  // namespace melorin
