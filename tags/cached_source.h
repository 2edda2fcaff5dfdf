// SPDX-License-Identifier: MIT
//
// What the tag readers read through: one window at the start of the file, one at its end and one that moves
// between them, so that the tags of an ordinary file cost two reads.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "tags/byte_source.h"

namespace melorin {

class CachedSource {
 public:
  explicit CachedSource(ByteSource& source);
  CachedSource(const CachedSource&) = delete;
  CachedSource& operator=(const CachedSource&) = delete;

  int64_t Size() const { return size_; }
  /// The bytes from `offset` on: `count` of them, fewer at the end of the file. Valid until the next call.
  /// Memory is bounded by the bytes that the file really has.
  std::span<const uint8_t> At(int64_t offset, int64_t count);

 private:
  static constexpr size_t kEdge = 4096;
  static constexpr int64_t kStep = 4096;

  ByteSource& source_;
  int64_t size_;
  int64_t head_size_ = -1;  ///< -1 while not read yet.
  int64_t tail_begin_ = -1;
  int64_t tail_size_ = 0;
  int64_t window_begin_ = 0;
  std::array<uint8_t, kEdge> head_;
  std::array<uint8_t, kEdge> tail_;
  std::vector<uint8_t> window_;
};

}  // namespace melorin
