// SPDX-License-Identifier: MIT
//
// The three windows of the tag readers.
#include "tags/cached_source.h"

#include <algorithm>

namespace melorin {

CachedSource::CachedSource(ByteSource& source)
    : source_(source), size_(std::max<int64_t>(source.Size(), 0)) {}

std::span<const uint8_t> CachedSource::At(int64_t offset, int64_t count) {
  constexpr auto edge = static_cast<int64_t>(kEdge);
  if (offset < 0 || offset >= size_ || count <= 0) return {};
  count = std::min(count, size_ - offset);
  const int64_t end = offset + count;

  if (end <= std::min(edge, size_)) {
    if (head_size_ < 0) head_size_ = static_cast<int64_t>(source_.ReadAt(0, head_));
    if (offset >= head_size_) return {};
    return std::span<const uint8_t>(head_).subspan(static_cast<size_t>(offset),
                                                   static_cast<size_t>(std::min(end, head_size_) - offset));
  }
  if (offset >= size_ - edge) {
    if (tail_begin_ < 0) {
      tail_begin_ = std::max<int64_t>(size_ - edge, 0);
      tail_size_ = static_cast<int64_t>(source_.ReadAt(tail_begin_, tail_));
    }
    if (offset - tail_begin_ >= tail_size_) return {};
    return std::span<const uint8_t>(tail_).subspan(
        static_cast<size_t>(offset - tail_begin_),
        static_cast<size_t>(std::min(end - tail_begin_, tail_size_) - (offset - tail_begin_)));
  }
  if (offset < window_begin_ || end > window_begin_ + static_cast<int64_t>(window_.size())) {
    // From a multiple of the step on, so that walking backwards is served from the window as well.
    const int64_t begin = offset - offset % kStep;
    const int64_t window_end = std::min(std::max(end, begin + 2 * kStep), size_);
    window_.resize(static_cast<size_t>(window_end - begin));
    window_.resize(source_.ReadAt(begin, window_));
    window_begin_ = begin;
  }
  const auto from = static_cast<size_t>(offset - window_begin_);
  if (from >= window_.size()) return {};
  return std::span<const uint8_t>(window_).subspan(
      from, std::min(static_cast<size_t>(count), window_.size() - from));
}

}  // namespace melorin
