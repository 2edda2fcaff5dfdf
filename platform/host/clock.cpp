// SPDX-License-Identifier: MIT
#include "platform/clock.h"

#include <chrono>
#include <thread>

namespace melorin {
namespace {

class HostClock final : public Clock {
 public:
  uint32_t TickMs() override {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
  }
  bool Wait(Event& event, uint32_t timeout_ms) override { return event.Wait(timeout_ms); }
  void Sleep(uint32_t duration_ms) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(duration_ms));
  }
};

}  // namespace

Clock& SystemClock() {
  static HostClock clock;
  return clock;
}

}  // namespace melorin
