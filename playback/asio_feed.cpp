// SPDX-License-Identifier: MIT
#include "playback/asio_feed.h"

#include <algorithm>
#include <cstring>

#include "platform/clock.h"

namespace melorin {

namespace {

constexpr uint32_t kPauseWaitMs = 500;

}  // namespace

AsioFeed::AsioFeed(const WAVEFORMATEX& format, uint32_t capacity_bytes)
    : frame_bytes_(format.nBlockAlign),
      sample_bytes_(static_cast<uint16_t>(format.wBitsPerSample / 8)),
      bits_(format.wBitsPerSample),
      ring_(capacity_bytes) {}

uint32_t AsioFeed::FreeBytes() const {
  return Capacity() - static_cast<uint32_t>(written_.load() - taken_.load());
}

bool AsioFeed::Write(const uint8_t* data, uint32_t bytes) {
  if (bytes > FreeBytes()) return false;
  const uint64_t written = written_.load(std::memory_order_relaxed);
  const auto offset = static_cast<uint32_t>(written % Capacity());
  const uint32_t first = std::min(bytes, Capacity() - offset);
  std::memcpy(ring_.data() + offset, data, first);
  std::memcpy(ring_.data(), data + first, bytes - first);
  written_.store(written + bytes, std::memory_order_release);
  return true;
}

bool AsioFeed::Pause() {
  running_ = false;
  Clock& clock = SystemClock();
  const uint32_t begin = clock.TickMs();
  while (inside_) {
    if (clock.TickMs() - begin >= kPauseWaitMs) return false;
    clock.Sleep(1);
  }
  return true;
}

bool AsioFeed::Reset() {
  if (!Pause()) return false;
  written_ = 0;
  taken_ = 0;
  return true;
}

void AsioFeed::Fill(std::span<const Output> outputs, uint32_t frames) {
  if (inside_.exchange(true)) return;
  if (running_) {
    Take(outputs, frames);
  } else {
    for (const Output& output : outputs)
      std::memset(output.memory, 0, size_t{frames} * output.layout.bytes);
  }
  inside_ = false;
}

void AsioFeed::Take(std::span<const Output> outputs, uint32_t frames) {
  const uint64_t taken = taken_.load(std::memory_order_relaxed);
  const uint64_t queued = written_.load(std::memory_order_acquire) - taken;
  const auto count = static_cast<uint32_t>(std::min<uint64_t>(frames, queued / frame_bytes_));
  const auto offset = static_cast<uint32_t>(taken % Capacity());
  const uint32_t first = std::min(count, (Capacity() - offset) / frame_bytes_);
  for (const Output& output : outputs) {
    const size_t width = output.layout.bytes;
    const size_t place = size_t{output.channel} * sample_bytes_;
    StoreAsioChannel(ring_.data() + offset + place, bits_, frame_bytes_, first, output.layout, output.memory);
    StoreAsioChannel(ring_.data() + place, bits_, frame_bytes_, count - first, output.layout,
                     output.memory + first * width);
    std::memset(output.memory + count * width, 0, (frames - count) * width);
  }
  taken_.store(taken + uint64_t{count} * frame_bytes_, std::memory_order_release);
}

}  // namespace melorin
