// SPDX-License-Identifier: MIT
//
// Byte sources over memory and over a stream.
#include "tags/byte_source.h"

#include <algorithm>
#include <cstring>

namespace melorin {

size_t MemoryByteSource::ReadAt(int64_t offset, std::span<uint8_t> data) {
  if (offset < 0 || offset >= Size()) return 0;
  const auto from = static_cast<size_t>(offset);
  const size_t count = std::min(data.size(), bytes_.size() - from);
  if (count != 0) std::memcpy(data.data(), bytes_.data() + from, count);
  return count;
}

int64_t StreamByteSource::Size() {
  if (size_ >= 0) return size_;
  STATSTG stat{};
  if (SUCCEEDED(stream_.Stat(&stat, STATFLAG_NONAME))) {
    size_ = static_cast<int64_t>(stat.cbSize.QuadPart);
  } else {
    LARGE_INTEGER zero{};
    ULARGE_INTEGER position{};
    if (SUCCEEDED(stream_.Seek(zero, STREAM_SEEK_END, &position)))
      size_ = static_cast<int64_t>(position.QuadPart);
  }
  return size_;
}

size_t StreamByteSource::ReadAt(int64_t offset, std::span<uint8_t> data) {
  if (offset < 0 || data.empty()) return 0;
  LARGE_INTEGER move{};
  move.QuadPart = offset;
  if (FAILED(stream_.Seek(move, STREAM_SEEK_SET, nullptr))) return 0;
  size_t done = 0;
  while (done < data.size()) {
    const auto wanted = static_cast<ULONG>(std::min<size_t>(data.size() - done, 0x40000000));
    ULONG got = 0;
    if (FAILED(stream_.Read(data.data() + done, wanted, &got)) || got == 0) break;
    done += std::min(got, wanted);
    // A short read from a file is its end; asking again would only cost a call.
    if (Size() >= 0 && offset + static_cast<int64_t>(done) >= Size()) break;
  }
  return done;
}

}  // namespace melorin
