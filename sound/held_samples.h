// SPDX-License-Identifier: MIT
//
// A delay line that always keeps its last bytes back: what a decoder passes its output through when the end
// of the stream is to be left out and nobody says where the end is.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace melorin {

class HeldSamples {
 public:
  /// Forgets what is held; from now on keeps `bytes` back. May throw std::bad_alloc when that grows.
  void Reset(size_t bytes) {
    wanted_ = bytes;
    held_.clear();
    held_.reserve(2 * bytes);
  }

  /// Takes fresh bytes and puts those that may go out, the oldest, in their place; how many, never more than
  /// came in. Never allocates: Reset has made the room.
  size_t Pass(std::span<uint8_t> bytes) {
    if (wanted_ == 0) return bytes.size();
    const size_t count = bytes.size();
    const size_t out = held_.size() + count > wanted_ ? held_.size() + count - wanted_ : 0;
    if (count >= wanted_) {
      // All that was held goes out; the end of the fresh bytes takes its place.
      const size_t kept_back = held_.size();
      held_.insert(held_.end(), bytes.end() - static_cast<ptrdiff_t>(wanted_), bytes.end());
      std::memmove(bytes.data() + kept_back, bytes.data(), count - wanted_);
      std::memcpy(bytes.data(), held_.data(), kept_back);
      held_.erase(held_.begin(), held_.begin() + static_cast<ptrdiff_t>(kept_back));
      return out;
    }
    held_.insert(held_.end(), bytes.begin(), bytes.end());
    std::memcpy(bytes.data(), held_.data(), out);
    held_.erase(held_.begin(), held_.begin() + static_cast<ptrdiff_t>(out));
    return out;
  }

 private:
  size_t wanted_ = 0;
  std::vector<uint8_t> held_;
};

}  // namespace melorin
