// SPDX-License-Identifier: MIT
#include "platform/clock.h"

#include <windows.h>

namespace melorin {
namespace {

int64_t Frequency() {
  static const int64_t frequency = [] {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return value.QuadPart;
  }();
  return frequency;
}

class Win32Clock final : public Clock {
 public:
  // Not GetTickCount, whose steps of 16 ms would show in a fade of 10 ms steps.
  uint32_t TickMs() override {
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    const int64_t frequency = Frequency();
    const int64_t seconds = now.QuadPart / frequency;
    return static_cast<uint32_t>(seconds * 1000 + now.QuadPart % frequency * 1000 / frequency);
  }
  bool Wait(Event& event, uint32_t timeout_ms) override { return event.Wait(timeout_ms); }
  void Sleep(uint32_t duration_ms) override { ::Sleep(duration_ms); }
};

}  // namespace

Clock& SystemClock() {
  static Win32Clock clock;
  return clock;
}

}  // namespace melorin
