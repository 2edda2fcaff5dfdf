// SPDX-License-Identifier: MIT
//
// VisualRing: the most recent bytes written to the device, from which the visual effects take what is audible
// now.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

namespace melorin {

/// Thread: one at a time; the stream holds its lock.
class VisualRing {
 public:
  /// Zeroed storage; false when memory runs out.
  bool Init(uint32_t capacity_bytes);
  void Clear();

  uint32_t SizeBytes() const { return write_total_ - read_total_; }

  /// Appends, dropping the oldest bytes when there is less room; of more than the capacity the last bytes
  /// stay.
  void Append(std::span<const uint8_t> bytes);
  /// Drops the oldest bytes until at most `keep_bytes` are left.
  void DiscardDownTo(uint32_t keep_bytes);
  /// Copies the oldest bytes without taking them out; returns how many there were.
  uint32_t Peek(std::span<uint8_t> out) const;

 private:
  void Discard(uint32_t bytes);

  std::unique_ptr<uint8_t[]> storage_;
  uint32_t capacity_ = 0;
  // Both count up; the capacity is taken off both when the read total has passed it.
  uint32_t read_total_ = 0;
  uint32_t write_total_ = 0;
};

}  // namespace melorin
