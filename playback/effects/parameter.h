// SPDX-License-Identifier: MIT
//
// A value handed from the user's thread to the decode thread while it works.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/thread.h"

namespace melorin {

/// Holds the latest value that was set. T is small and copied without allocating. With nothing new Take costs
/// one atomic load; the lock is held for one copy of T.
template <class T>
class Parameter {
 public:
  explicit Parameter(const T& value = {}) : value_(value) {}
  Parameter(const Parameter&) = delete;
  Parameter& operator=(const Parameter&) = delete;

  /// Thread: any.
  void Set(const T& value) {
    const Lock lock(lock_);
    value_ = value;
    version_.fetch_add(1, std::memory_order_release);
  }
  /// True, with the value in `out`, when something was set since the last Take. Thread: the one that takes.
  bool Take(T* out) {
    if (version_.load(std::memory_order_acquire) == taken_) return false;
    const Lock lock(lock_);
    taken_ = version_.load(std::memory_order_relaxed);
    *out = value_;
    return true;
  }

 private:
  CriticalSection lock_;
  T value_;
  std::atomic<uint32_t> version_{0};
  uint32_t taken_ = 0;
};

}  // namespace melorin
