// SPDX-License-Identifier: MIT
//
// Threads and waits around drivers that may never come back from a call: such a driver lives on a thread of
// its own that nobody has to wait for longer than he wants.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>

namespace melorin {

/// A manual-reset event that can be waited for together with messages.
class DriverEvent {
 public:
  DriverEvent() : handle_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~DriverEvent() {
    if (handle_) CloseHandle(handle_);
  }
  DriverEvent(const DriverEvent&) = delete;
  DriverEvent& operator=(const DriverEvent&) = delete;

  explicit operator bool() const { return handle_ != nullptr; }
  void Set() { SetEvent(handle_); }
  void Reset() { ResetEvent(handle_); }
  /// On the driver's thread: for ever, handling every message meanwhile.
  void WaitAsDriver();
  /// For a caller: at most that long, and no longer than until `stop` is set; true when the event was set.
  /// Messages that another thread sends are answered meanwhile, since the driver may be talking to our
  /// window; posted ones wait.
  bool WaitAsCaller(uint32_t timeout_ms, const std::atomic<bool>* stop = nullptr);

 private:
  HANDLE handle_;
};

/// Runs the body on a new thread that nobody joins: the body owns what it needs. False when no thread can be
/// started; then the body is gone. Throws std::bad_alloc.
bool StartLooseThread(std::function<void()> body);
/// The same in an apartment of its own, for drivers that are components and may make windows.
bool StartDriverThread(std::function<void()> body);
/// Starts the body so and waits for its end as WaitAsCaller does. False when it has not ended in that time,
/// or could not be started.
bool RunAsDriver(uint32_t timeout_ms, std::function<void()> body, const std::atomic<bool>* stop = nullptr);

}  // namespace melorin
