// SPDX-License-Identifier: MIT
//
// Builds MPEG frames and files for tests: headers are right, what stands between them is zero.
#pragma once

#include <cstdint>
#include <vector>

#include "sound/mpeg_header.h"

namespace melorin::test {

/// The fields of a header as they stand in it.
struct FrameSpec {
  uint32_t version = 3;        // 3 MPEG-1, 2 MPEG-2, 0 MPEG-2.5
  uint32_t layer = 3;          // 1 to 3
  uint32_t bitrate_index = 9;  // 128 kbit/s in MPEG-1 layer 3
  uint32_t rate_index = 0;     // 44100 Hz in MPEG-1
  uint32_t mode = 0;           // 3 mono
  uint32_t padding = 0;
};

inline std::vector<uint8_t> Header(const FrameSpec& f) {
  const uint32_t h = 0xFFE00000u | f.version << 19 | (4 - f.layer) << 17 | 1u << 16 | f.bitrate_index << 12 |
                     f.rate_index << 10 | f.padding << 9 | f.mode << 6;
  return {static_cast<uint8_t>(h >> 24), static_cast<uint8_t>(h >> 16), static_cast<uint8_t>(h >> 8),
          static_cast<uint8_t>(h)};
}

inline std::vector<uint8_t> Frame(const FrameSpec& spec) {
  auto bytes = Header(spec);
  bytes.resize(DecodeMpegHeader(bytes.data())->frame_bytes);
  return bytes;
}

inline void Append(std::vector<uint8_t>& to, const std::vector<uint8_t>& bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

inline std::vector<uint8_t> Frames(const FrameSpec& spec, int count) {
  std::vector<uint8_t> all;
  for (int i = 0; i < count; ++i)
    Append(all, Frame(spec));
  return all;
}

inline void PutBe(std::vector<uint8_t>& to, size_t at, uint32_t value, size_t size) {
  for (size_t i = 0; i < size; ++i)
    to[at + i] = static_cast<uint8_t>(value >> (8 * (size - 1 - i)));
}
inline void PutText(std::vector<uint8_t>& to, size_t at, const char* text) {
  while (*text)
    to[at++] = static_cast<uint8_t>(*text++);
}

/// A frame with a Xing header at `offset`; the table rises evenly.
inline std::vector<uint8_t> XingFrame(const FrameSpec& spec, size_t offset, uint32_t flags, uint32_t frames,
                                      uint32_t bytes) {
  auto frame = Frame(spec);
  PutText(frame, offset, "Xing");
  PutBe(frame, offset + 4, flags, 4);
  size_t at = offset + 8;
  if (flags & 1) PutBe(frame, at, frames, 4), at += 4;
  if (flags & 2) PutBe(frame, at, bytes, 4), at += 4;
  if (flags & 4)
    for (uint32_t i = 0; i < 100; ++i)
      frame[at + i] = static_cast<uint8_t>(i * 256 / 100);
  return frame;
}

/// A frame with a VBRI header of these entries, of which one less is stated.
inline std::vector<uint8_t> VbriFrame(const FrameSpec& spec, uint32_t frames, uint32_t scale,
                                      uint32_t entry_bytes, uint32_t frames_per_entry,
                                      const std::vector<uint32_t>& entries) {
  auto frame = Frame(spec);
  PutText(frame, 36, "VBRI");
  PutBe(frame, 40, 1, 2);
  PutBe(frame, 50, frames, 4);
  PutBe(frame, 54, static_cast<uint32_t>(entries.size()) - 1, 2);
  PutBe(frame, 56, scale, 2);
  PutBe(frame, 58, entry_bytes, 2);
  PutBe(frame, 60, frames_per_entry, 2);
  for (size_t i = 0; i < entries.size(); ++i)
    PutBe(frame, 62 + i * entry_bytes, entries[i], entry_bytes);
  return frame;
}

}  // namespace melorin::test
