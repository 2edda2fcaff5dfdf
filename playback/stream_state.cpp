// SPDX-License-Identifier: MIT
//
// The shared half of a playback stream.
#include "playback/stream_state.h"

#include <algorithm>

#include "platform/mul_div.h"

namespace melorin {

ComPtr<OutputDevice> StreamState::Device() const {
  const Lock lock(reference_lock_);
  return device_;
}

void StreamState::SetDevice(ComPtr<OutputDevice> device) {
  const Lock lock(reference_lock_);
  device_.Swap(device);
}

void StreamState::SetNotify(EventTarget* target, uint32_t message) {
  const Lock lock(reference_lock_);
  target_ = target;
  message_ = message;
}

void StreamState::Post(uint32_t event, PlaybackStream* stream) const {
  EventTarget* target;
  uint32_t message;
  {
    const Lock lock(reference_lock_);
    target = target_;
    message = message_;
  }
  if (target && message) target->Post(message, event, stream);
}

uint64_t StreamState::PlayedBytes(OutputDevice& device) const {
  uint32_t position = 0;
  if (FAILED(device.GetPosition(&position))) return 0;
  // The device counts in 32 bits and lies close to what was written, which tells the upper half.
  const uint64_t written = bytes_written;
  const int64_t played =
      static_cast<int64_t>(written) + static_cast<int32_t>(position - static_cast<uint32_t>(written));
  return played < 0 ? position : static_cast<uint64_t>(played);
}

uint32_t StreamState::PositionMs() const {
  const ComPtr<OutputDevice> device = Device();
  return base_time_ms + BytesToMs(PlayedBytes(*device), BytesPerSecond());
}

uint32_t StreamState::FadeOutMs(uint32_t longest_ms) const {
  const uint32_t free_bytes = std::min<uint32_t>(device_free_bytes, device_buffer_bytes);
  return std::min(longest_ms, MulDivUnsigned(1000, device_buffer_bytes - free_bytes, BytesPerSecond()));
}

void StreamState::ResetCounters(uint32_t base_ms) {
  end_of_source = false;
  base_time_ms = base_ms;
  bytes_written = 0;
  pending_bytes = 0;
  device_free_bytes = device_buffer_bytes;
  const Lock lock(ring_lock);
  ring.Clear();
}

}  // namespace melorin
