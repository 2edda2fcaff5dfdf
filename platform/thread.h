// SPDX-License-Identifier: MIT
//
// Events, threads and locks with the platform's meanings, so that the core's concurrent code is the same in
// both builds.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace melorin {

/// Time-out that never comes.
inline constexpr uint32_t kInfinite = 0xFFFFFFFF;

/// A manual-reset event stays set until Reset; an auto-reset event lets one waiter through and falls back.
/// Thread: any.
class Event {
 public:
  enum class Mode { kManualReset, kAutoReset };
  explicit Event(Mode mode);
  ~Event();
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void Set();
  void Reset();
  /// Waits at most timeout_ms of real time; true when the event was set. A time-out of 0 only looks.
  bool Wait(uint32_t timeout_ms = kInfinite);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A joined-by-destructor thread. On Windows its stack is aligned as the compiler expects and its priority
/// takes the platform's values.
class Thread {
 public:
  Thread() noexcept;
  ~Thread();
  Thread(Thread&&) noexcept;
  Thread& operator=(Thread&&) noexcept;

  /// False when the thread cannot be started.
  bool Start(std::function<void()> body);
  bool Running() const;  ///< Started and not joined yet.
  void Join();
  /// -15 idle, -2 lowest … 2 highest, 15 time critical; false when refused. On the host it succeeds without
  /// effect for the values that the platform knows.
  bool SetPriority(int priority);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// The lock of the core. Short holds only; never held while calling out.
using CriticalSection = std::mutex;
using Lock = std::lock_guard<std::mutex>;

}  // namespace melorin
