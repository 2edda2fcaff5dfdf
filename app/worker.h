// SPDX-License-Identifier: MIT
//
// The thread that reads disks for the UI thread: one task at a time, in the order asked for.
#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "app/component_runtime.h"
#include "platform/thread.h"

namespace melorin {

/// Thread: the UI thread. Tasks run on the worker, which has the component runtime.
class Worker {
 public:
  /// A task is given what tells it to end early.
  using Task = std::function<void(const std::atomic<bool>& stop)>;

  ~Worker() { Stop(); }

  /// Waits for a task under way first. False when no thread can be started.
  bool Start(Task task) {
    if (thread_.Running()) thread_.Join();
    stop_ = false;
    thread_ = Thread();
    return thread_.Start([this, run = std::move(task)] {
      const ComponentRuntime runtime;
      try {
        run(stop_);
      } catch (...) {
        // Memory has run out; what the task was to bring does not come.
      }
    });
  }
  /// Ends a task under way and waits for it.
  void Stop() {
    stop_ = true;
    if (thread_.Running()) thread_.Join();
  }

 private:
  Thread thread_;
  std::atomic<bool> stop_{false};
};

}  // namespace melorin
