// SPDX-License-Identifier: MIT
//
// Threads and waits around an ASIO driver. A driver is a component of a single-threaded apartment that may
// make windows and may never come back from a call, so it lives on a thread of its own that nobody has to
// wait for longer than he wants.
#pragma once

#include <windows.h>

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
  /// For a caller: at most that long; true when the event was set. Messages that another thread sends are
  /// answered meanwhile, since the driver may be talking to our window; posted ones wait.
  bool WaitAsCaller(uint32_t timeout_ms);

 private:
  HANDLE handle_;
};

/// Runs the body on a new thread in an apartment of its own, which nobody joins: the body owns what it needs.
/// False when no thread can be started; then the body is gone. Throws std::bad_alloc.
bool StartDriverThread(std::function<void()> body);

}  // namespace melorin
