// SPDX-License-Identifier: MIT
//
// Where the frame of a given number begins in an MPEG file, for seeks that must hit a sample. Built as far as
// it is asked for, by walking from header to header as a decoder does.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "sound/mpeg_header.h"
#include "tags/byte_source.h"

namespace melorin {

/// Frames are numbered from the first that carries sound; an encoder's header frame (its data are "Xing" or
/// "Info" behind a side information of zeros) has no number, since decoders make nothing of it.
/// Memory: 8 bytes for 64 frames, so under 20 KB an hour. Thread: one at a time.
class MpegFrameIndex {
 public:
  MpegFrameIndex() = default;
  /// `start` and `end`: offsets of the first frame and behind the last byte of the audio.
  MpegFrameIndex(const MpegHeader& reference, int64_t start, int64_t end)
      : reference_(reference), start_(start), end_(end) {}

  /// None when the audio ends before that frame. A frame that is not whole, or damaged, is passed over up to
  /// the next header of the same kind. May throw std::bad_alloc. Cost: reads the file up to that frame the
  /// first time.
  std::optional<int64_t> OffsetOf(uint64_t frame, ByteSource& file);

  struct Entry {
    uint64_t frame = 0;
    int64_t offset = 0;
  };
  /// Where decoding has to begin so that `frame` comes out as from the file's start, bit for bit. Frame 0
  /// stands for the very start, header frame included. None when the audio ends before that. Layer 3 takes
  /// bytes from frames before; the filter bank overlaps, and turns through 16 places, so only every 8th frame
  /// finds it in the same one.
  std::optional<Entry> EntryFor(uint64_t frame, ByteSource& file);

 private:
  /// The header of the first frame at or behind `offset`, which moves there.
  std::optional<MpegHeader> FrameAt(ByteSource& file, int64_t& offset) const;
  bool IsHeaderFrame(ByteSource& file, int64_t offset, const MpegHeader& header) const;

  MpegHeader reference_;
  int64_t start_ = 0;
  int64_t end_ = 0;
  std::vector<int64_t> marks_;  ///< Offset of every 64th frame.
};

}  // namespace melorin
