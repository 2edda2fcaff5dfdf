// SPDX-License-Identifier: MIT
//
// Garbage may hold anything that looks like a header. A candidate counts only when another header follows at
// its frame's end, and the window is refilled early enough that every frame of the standards fits into what
// is left of it (the longest has 2881 bytes and is rare enough to be lost at a window's edge; all others fit
// 2560).
#include "sound/mpeg_scan.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace melorin {

namespace {

constexpr size_t kSmallestWindow = 5;
constexpr size_t kRefillBelow = 2560;
constexpr size_t kLookAhead = 8;  ///< What must follow a frame in the window.
constexpr int64_t kGiveUpAt = 1048576;
constexpr size_t kFirstTableSize = 4096;

std::optional<MpegHeader> AcceptFrame(const uint8_t* data, size_t left) {
  if (left < kLookAhead || !IsMpegSync(data)) return std::nullopt;
  const auto header = DecodeMpegHeader(data);
  if (!header || header->frame_bytes < 1 || left < header->frame_bytes + kLookAhead) return std::nullopt;
  if (!IsMpegSync(data + header->frame_bytes)) return std::nullopt;
  return header;
}

class Scanner {
 public:
  Scanner(MpegWindow& window, int frame_count, bool full_scan)
      : window_(window), frames_left_(frame_count), full_scan_(full_scan) {}

  std::optional<MpegScan> Run() {
    if (window_.Left() < kRefillBelow) window_.Fill();
    if (window_.Left() < kSmallestWindow) return std::nullopt;
    while (window_.Left() >= kSmallestWindow) {
      if (const auto header = AcceptFrame(window_.Data(), window_.Left())) {
        if (!TakeFrame(*header)) return std::nullopt;
        --frames_left_;
        const bool follow = full_scan_ && scan_.vbr;
        if (frames_left_ <= 0 && start_ && !follow) break;
        window_.Advance(header->frame_bytes);
      } else {
        SkipToCandidate();
      }
      if (window_.Left() < kRefillBelow && !window_.Exhausted()) {
        if (!start_ && window_.WindowOffset() >= kGiveUpAt) break;
        window_.Fill();
      }
    }
    return Finish();
  }

 private:
  /// One byte on, and further over bytes that cannot begin a header.
  void SkipToCandidate() {
    window_.Advance(1);
    const size_t left = window_.Left();
    // Near the end of the window byte by byte, so that it is refilled at the same places.
    if (left <= kRefillBelow) return;
    const size_t most = left - kRefillBelow;
    const void* found = std::memchr(window_.Data(), 0xFF, most);
    window_.Advance(found ? static_cast<size_t>(static_cast<const uint8_t*>(found) - window_.Data()) : most);
  }

  /// False when the frame table cannot grow.
  bool TakeFrame(const MpegHeader& header) {
    if (!start_) start_ = window_.Offset();
    if (!scan_.header) {
      const std::span<const uint8_t> from_frame(window_.Data(), window_.Left());
      scan_.header.vbri = ParseVbri(from_frame);
      if (!scan_.header.vbri) scan_.header.xing = ParseXing(header, from_frame);
    }
    if (!have_reference_ || !scan_.reference.SameStream(header)) {
      if (have_reference_) start_.reset();
      have_reference_ = true;
      scan_.reference = header;
      reference_offset_ = window_.Offset();
      table_.clear();
      running_bytes_ = 0;
      return true;
    }
    if (header.bitrate != scan_.reference.bitrate) scan_.vbr = true;
    if (full_scan_ && !Record()) return false;
    running_bytes_ += header.frame_bytes;
    return true;
  }

  bool Record() {
    if (table_.empty()) scan_.frames.base_offset = window_.Offset() - *start_;
    try {
      if (table_.capacity() == 0) table_.reserve(kFirstTableSize);
      if (table_.size() + 1 >= table_.capacity()) table_.reserve(table_.capacity() + table_.capacity() / 2);
    } catch (const std::bad_alloc&) {
      return false;
    }
    table_.push_back(running_bytes_);
    return true;
  }

  std::optional<MpegScan> Finish() {
    if (!have_reference_) return std::nullopt;
    if (full_scan_ && scan_.vbr && !scan_.header) scan_.frames.byte_counts = std::move(table_);
    if (scan_.header) scan_.vbr = true;
    scan_.start = start_ ? *start_ : reference_offset_;
    return std::move(scan_);
  }

  MpegWindow& window_;
  int frames_left_;
  const bool full_scan_;
  MpegScan scan_;
  std::optional<uint64_t> start_;
  uint64_t reference_offset_ = 0;
  bool have_reference_ = false;
  std::vector<uint64_t> table_;
  uint64_t running_bytes_ = 0;
};

}  // namespace

void MpegWindow::Fill() {
  if (exhausted_) return;
  const size_t left = Left();
  if (position_ > 0 && left > 0) std::memmove(storage_.data(), storage_.data() + position_, left);
  offset_ += static_cast<int64_t>(position_);
  position_ = 0;
  valid_ = left;
  const size_t got = refill_(storage_.subspan(left));
  valid_ += got;
  if (valid_ < storage_.size()) exhausted_ = true;
}

std::optional<MpegScan> ScanMpegFrames(MpegWindow& window, int frame_count, bool full_scan) {
  return Scanner(window, frame_count, full_scan).Run();
}

}  // namespace melorin
