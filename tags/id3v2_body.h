// SPDX-License-Identifier: MIT
//
// The layers under the frames of an ID3v2 tag: header, unsynchronisation, extended header, and what the flags
// of a frame say about its bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tags/cached_source.h"
#include "tags/tag_limits.h"

namespace melorin {

struct Id3v2Header {
  int version = 0;  ///< 2, 3 or 4.
  bool known =
      false;  ///< False for what we cannot read: another version, or 2.2 with its undefined compression.
  bool unsynchronised = false;
  bool has_extended_header = false;
  bool has_footer = false;
  int64_t body_size = 0;  ///< Without header and footer.
};

/// From ten bytes; false when they are no header.
bool ParseId3v2Header(std::span<const uint8_t> bytes, Id3v2Header& header);

/// The body of a tag as a sequence of bytes, with the zeros that unsynchronisation put in taken out (2.2
/// and 2.3, where it covers the whole body). Stands behind the extended header after construction.
class Id3v2Body {
 public:
  Id3v2Body(CachedSource& file, int64_t begin, int64_t end, const Id3v2Header& header);

  /// Bytes left in the file's tag; with unsynchronisation an upper bound.
  int64_t Left() const { return end_ - position_; }
  /// All of `room` or false.
  bool Read(std::span<char> room);
  /// Exactly `count` more bytes, or false.
  bool Append(uint32_t count, std::string& out);
  void Skip(uint32_t count);
  /// Bytes further on, as they lie in the file.
  std::span<const uint8_t> Peek(int64_t distance, int64_t count) const;

 private:
  void SkipExtendedHeader(int version);
  template <class Sink>
  bool Pass(int64_t count, Sink&& sink);

  CachedSource& file_;
  int64_t position_;
  int64_t end_;
  bool unsynchronised_;
  bool after_ff_ = false;
};

/// Turns the frame bytes from `begin` on in `bytes` into its content: takes off what the format flags put in
/// front, undoes unsynchronisation (2.4) and compression. False for encrypted frames and broken data.
bool UnpackFrame(const Id3v2Header& header, uint8_t format_flags, std::string& bytes, size_t begin,
                 TagLimits& limits);

}  // namespace melorin
