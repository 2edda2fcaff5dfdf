// SPDX-License-Identifier: MIT
//
// Bytes at offsets: what the tag scan reads from. Implementations over a stream and over memory.
#pragma once

#include <cstdint>
#include <span>

#include "platform/com.h"

namespace melorin {

/// Thread: one at a time.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual int64_t Size() = 0;
  /// Copies what there is from `offset` on; fewer bytes than asked at the end, 0 past it or on failure.
  virtual size_t ReadAt(int64_t offset, std::span<uint8_t> data) = 0;
};

class MemoryByteSource final : public ByteSource {
 public:
  explicit MemoryByteSource(std::span<const uint8_t> bytes) : bytes_(bytes) {}
  int64_t Size() override { return static_cast<int64_t>(bytes_.size()); }
  size_t ReadAt(int64_t offset, std::span<uint8_t> data) override;

 private:
  std::span<const uint8_t> bytes_;
};

/// Over a stream that the caller keeps alive. Moves the stream's position.
class StreamByteSource final : public ByteSource {
 public:
  explicit StreamByteSource(IStream& stream) : stream_(stream) {}
  int64_t Size() override;
  size_t ReadAt(int64_t offset, std::span<uint8_t> data) override;

 private:
  IStream& stream_;
  int64_t size_ = -1;
};

}  // namespace melorin
