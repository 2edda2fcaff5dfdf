// SPDX-License-Identifier: MIT
//
// The fade-out worker.
#include "playback/volume_fader.h"

#include "platform/mul_div.h"

namespace melorin {
namespace {

constexpr uint32_t kStepMs = 10;

}  // namespace

VolumeFader::VolumeFader(Clock& clock, const ThreadStarter& starter) : clock_(clock), starter_(starter) {}

VolumeFader::~VolumeFader() {
  Cancel();
}

void VolumeFader::Start(ComPtr<OutputDevice> device, uint32_t duration_ms, int32_t volume) {
  if (duration_ms == 0 || volume <= 0) return;
  Cancel();
  device_ = std::move(device);
  volume_ = volume;
  start_ms_ = clock_.TickMs();
  end_ms_ = start_ms_ + duration_ms;
  running_.store(true, std::memory_order_release);
  bool started = false;
  try {
    started = starter_(thread_, [this] { Work(); });
  } catch (const std::bad_alloc&) {
  }
  if (started) return;
  device_->Pause();
  device_.Reset();
  running_.store(false, std::memory_order_release);
}

void VolumeFader::Cancel() {
  stop_.Set();
  thread_.Join();
  stop_.Reset();
}

void VolumeFader::Work() {
  while (!clock_.Wait(stop_, kStepMs)) {
    const uint32_t now_ms = clock_.TickMs();
    // By difference, so that the tick count may wrap.
    if (static_cast<int32_t>(now_ms - end_ms_) >= 0) break;
    const int32_t taken =
        MulDiv(static_cast<int32_t>(now_ms - start_ms_), volume_, static_cast<int32_t>(end_ms_ - start_ms_));
    if (FAILED(device_->SetVolume(volume_ - taken))) break;
  }
  device_->Pause();
  device_.Reset();
  running_.store(false, std::memory_order_release);
}

}  // namespace melorin
