// SPDX-License-Identifier: MIT
//
// A player's main window that is not there, and services for windows that have no menus.
#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "app/player.h"
#include "platform/thread.h"
#include "ui/window_services.h"

namespace melorin {

class FakeFrame final : public PlayerFrame {
 public:
  void PostTask(std::function<void()> task) override {
    const Lock lock(lock_);
    tasks_.push_back(std::move(task));
  }
  /// Tasks and timers for up to five seconds, until `done`.
  template <class Done>
  bool PumpUntil(Done done) {
    for (int i = 0; i < 1000; ++i) {
      RunTasks();
      PumpMessages();
      if (done()) return true;
      Sleep(5);
    }
    return false;
  }
  void RunTasks() {
    for (;;) {
      std::function<void()> task;
      {
        const Lock lock(lock_);
        if (tasks_.empty()) return;
        task = std::move(tasks_.front());
        tasks_.pop_front();
      }
      task();
    }
  }
  void PumpMessages() override {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
      DispatchMessageW(&message);
  }
  void Refresh() override {}
  void ShowMessage(const std::u16string& text) override { messages.push_back(text); }
  void SaveLater(uint32_t) override {}
  void CloseSoon() override {}
  void StartNextTimer(uint32_t) override {}
  void StopNextTimer() override {}
  void PostStreamEvent(uint32_t, uint32_t, PlaybackStream*) override {}
  void DropStreamEvents(PlaybackStream*) override {}
  void* WindowHandle() override { return nullptr; }

  std::vector<std::u16string> messages;

 private:
  CriticalSection lock_;
  std::deque<std::function<void()>> tasks_;
};

class NoServices final : public WindowServices, public CommandTarget {
 public:
  CommandTarget& Commands() override { return *this; }
  void ShowMenu(MenuKind, SkinWindow, int32_t, int32_t) override {}
  std::u16string TipOf(CommandId) override { return {}; }
  void Execute(CommandId) override {}
  bool IsEnabled(CommandId) const override { return true; }
  bool IsChecked(CommandId) const override { return false; }
};

}  // namespace melorin
