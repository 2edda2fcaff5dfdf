// SPDX-License-Identifier: MIT
//
// DelayedTask: runs something once after a while without news, as looking at rows when the view has come to
// rest. Thread: one that has a message loop.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

namespace melorin {

class DelayedTask {
 public:
  explicit DelayedTask(std::function<void()> run) : run_(std::move(run)) {}
  ~DelayedTask() { Cancel(); }
  DelayedTask(const DelayedTask&) = delete;
  DelayedTask& operator=(const DelayedTask&) = delete;

  /// Runs it after that time, counted anew from each call.
  void Start(uint32_t delay_ms);
  void Cancel();
  bool IsDue() const { return timer_ != 0; }
  /// At once, if it is due.
  void RunNow();

 private:
  static void CALLBACK OnTimer(HWND, UINT, UINT_PTR timer, DWORD) noexcept;

  std::function<void()> run_;
  UINT_PTR timer_ = 0;
};

}  // namespace melorin
