// SPDX-License-Identifier: MIT
//
// The frame scan: decides where the audio of an MPEG file begins and what it is, from a window of bytes that
// a callback refills. No file access of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "sound/mpeg_vbr.h"

namespace melorin {

/// Where every frame of a stream begins, as byte counts from `base_offset`.
struct MpegFrameTable {
  uint64_t base_offset = 0;           ///< Of the first recorded frame, from the start of the audio.
  std::vector<uint64_t> byte_counts;  ///< Bytes of the recorded frames before each of them.
};

struct MpegScan {
  uint64_t start = 0;    ///< Offset of the first audio frame, from where the scan began.
  MpegHeader reference;  ///< What the stream is.
  bool vbr = false;      ///< The bit rate varies, or there is a VBR header.
  MpegVbrHeader header;
  MpegFrameTable frames;  ///< Only of a full scan over a varying stream without a VBR header.
};

/// The window that a scan works in.
class MpegWindow {
 public:
  static constexpr size_t kBytes = 16 * 2048;
  /// Puts bytes into the span and returns how many; 0 at the end of the audio or on failure.
  using Refill = std::function<size_t(std::span<uint8_t>)>;

  /// `storage` is the window's memory; its bytes from `begin` to `end` are the first bytes to scan.
  MpegWindow(std::span<uint8_t> storage, size_t begin, size_t end, Refill refill)
      : storage_(storage),
        valid_(end),
        position_(begin),
        offset_(-static_cast<int64_t>(begin)),
        refill_(std::move(refill)) {}

  const uint8_t* Data() const { return storage_.data() + position_; }
  size_t Left() const { return valid_ - position_; }
  bool Exhausted() const { return exhausted_; }
  /// Of the window's first byte, from where the scan began.
  int64_t WindowOffset() const { return offset_; }
  uint64_t Offset() const { return static_cast<uint64_t>(offset_ + static_cast<int64_t>(position_)); }
  void Advance(size_t bytes) { position_ += bytes; }
  /// Moves what is left to the window's front and fills it up.
  void Fill();

 private:
  std::span<uint8_t> storage_;
  size_t valid_;
  size_t position_;
  int64_t offset_;
  bool exhausted_ = false;
  Refill refill_;
};

/// Looks for `frame_count` frames that agree on version, layer, channel mode and sampling rate, each followed
/// by another frame's header. None when no frame was found in the first megabyte (or at all), or when memory
/// for the frame table ran out.
///
/// A frame that disagrees becomes the new reference, and the audio begins at the frame after it; when there
/// is none any more, at that frame itself. With `full_scan` a stream whose bit rate varies is followed to its
/// end and its frames are recorded; the table begins anew with each new reference. Thread: any. Cost: one
/// pass; allocates only for the VBRI table and the frame table. May throw std::bad_alloc for the former.
std::optional<MpegScan> ScanMpegFrames(MpegWindow& window, int frame_count, bool full_scan);

}  // namespace melorin
