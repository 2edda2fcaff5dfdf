// SPDX-License-Identifier: MIT
//
// The byte ring of the visual effects.
#include "playback/visual_ring.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace melorin {

bool VisualRing::Init(uint32_t capacity_bytes) {
  storage_.reset(new (std::nothrow) uint8_t[capacity_bytes]());
  capacity_ = storage_ ? capacity_bytes : 0;
  Clear();
  return storage_ != nullptr;
}

void VisualRing::Clear() {
  read_total_ = write_total_ = 0;
}

void VisualRing::Append(std::span<const uint8_t> bytes) {
  if (bytes.size() > capacity_) bytes = bytes.last(capacity_);
  if (bytes.empty()) return;
  const uint32_t count = static_cast<uint32_t>(bytes.size());
  const uint32_t room = capacity_ - SizeBytes();
  if (count > room) Discard(count - room);
  const uint32_t at = write_total_ % capacity_;
  const uint32_t first = std::min(count, capacity_ - at);
  std::memcpy(storage_.get() + at, bytes.data(), first);
  std::memcpy(storage_.get(), bytes.data() + first, count - first);
  write_total_ += count;
}

void VisualRing::DiscardDownTo(uint32_t keep_bytes) {
  if (SizeBytes() > keep_bytes) Discard(SizeBytes() - keep_bytes);
}

uint32_t VisualRing::Peek(std::span<uint8_t> out) const {
  const uint32_t count = static_cast<uint32_t>(std::min<size_t>(out.size(), SizeBytes()));
  if (count == 0) return 0;
  const uint32_t at = read_total_ % capacity_;
  const uint32_t first = std::min(count, capacity_ - at);
  std::memcpy(out.data(), storage_.get() + at, first);
  std::memcpy(out.data() + first, storage_.get(), count - first);
  return count;
}

void VisualRing::Discard(uint32_t bytes) {
  read_total_ += bytes;
  if (read_total_ > capacity_) {
    read_total_ -= capacity_;
    write_total_ -= capacity_;
  }
}

}  // namespace melorin
