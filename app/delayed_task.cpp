// SPDX-License-Identifier: MIT
#include "app/delayed_task.h"

#include <map>
#include <utility>

namespace melorin {
namespace {

/// Timers without a window give their number only.
std::map<UINT_PTR, DelayedTask*>& Waiting() {
  static std::map<UINT_PTR, DelayedTask*> waiting;
  return waiting;
}

}  // namespace

void DelayedTask::Start(uint32_t delay_ms) {
  Cancel();
  timer_ = SetTimer(nullptr, 0, delay_ms, OnTimer);
  if (timer_ != 0) Waiting()[timer_] = this;
}

void DelayedTask::Cancel() {
  if (timer_ == 0) return;
  KillTimer(nullptr, timer_);
  Waiting().erase(std::exchange(timer_, 0));
}

void DelayedTask::RunNow() {
  if (timer_ == 0) return;
  Cancel();
  run_();
}

void CALLBACK DelayedTask::OnTimer(HWND, UINT, UINT_PTR timer, DWORD) noexcept {
  const auto found = Waiting().find(timer);
  if (found == Waiting().end()) return;
  try {
    found->second->RunNow();
  } catch (...) {
    // Memory has run out; what was to be done is left out.
  }
}

}  // namespace melorin
