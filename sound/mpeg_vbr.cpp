// SPDX-License-Identifier: MIT
#include "sound/mpeg_vbr.h"

#include <algorithm>
#include <cstring>

namespace melorin {

namespace {

constexpr uint32_t kXingFrames = 1;
constexpr uint32_t kXingBytes = 2;
constexpr uint32_t kXingToc = 4;
constexpr uint32_t kXingQuality = 8;
constexpr size_t kXingSmallest = 16;
constexpr size_t kVbriSmallest = 32;
constexpr size_t kVbriFixed = 26;

/// Big-endian numbers one after the other; reads beyond the end give 0 and are remembered.
class BigEndian {
 public:
  explicit BigEndian(std::span<const uint8_t> bytes) : bytes_(bytes) {}
  uint32_t Next(size_t size) {
    if (bytes_.size() < size) {
      bytes_ = {};
      missing_ = true;
      return 0;
    }
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i)
      value = value << 8 | bytes_[i];
    bytes_ = bytes_.subspan(size);
    return value;
  }
  uint16_t Next16() { return static_cast<uint16_t>(Next(2)); }
  uint32_t Next32() { return Next(4); }
  std::span<const uint8_t> Rest() const { return bytes_; }
  bool Missing() const { return missing_; }

 private:
  std::span<const uint8_t> bytes_;
  bool missing_ = false;
};

}  // namespace

std::optional<XingHeader> ParseXing(const MpegHeader& header, std::span<const uint8_t> from_frame) {
  const uint32_t offset = XingOffset(header);
  if (from_frame.size() < offset + kXingSmallest) return std::nullopt;
  const auto bytes = from_frame.subspan(offset);
  if (std::memcmp(bytes.data(), "Xing", 4) != 0) return std::nullopt;
  BigEndian in(bytes.subspan(4));
  XingHeader xing;
  const uint32_t flags = in.Next32();
  if (flags & kXingFrames) xing.frames = in.Next32();
  if (flags & kXingBytes) xing.bytes = in.Next32();
  if (!(flags & kXingToc) || in.Rest().size() < sizeof xing.toc) return std::nullopt;
  std::memcpy(xing.toc, in.Rest().data(), sizeof xing.toc);
  BigEndian behind_toc(in.Rest().subspan(sizeof xing.toc));
  if (flags & kXingQuality) xing.quality = behind_toc.Next32();
  if (in.Missing() || xing.frames == 0) return std::nullopt;
  return xing;
}

std::optional<VbriHeader> ParseVbri(std::span<const uint8_t> from_frame) {
  if (from_frame.size() < kVbriOffset + kVbriSmallest) return std::nullopt;
  const auto bytes = from_frame.subspan(kVbriOffset);
  if (std::memcmp(bytes.data(), "VBRI", 4) != 0) return std::nullopt;
  BigEndian in(bytes.subspan(4));
  VbriHeader vbri;
  vbri.version = in.Next16();
  vbri.delay = in.Next16();
  vbri.quality = in.Next16();
  vbri.bytes = in.Next32();
  vbri.frames = in.Next32();
  const uint32_t count = in.Next(2) + 1;
  vbri.scale = in.Next(2);
  const uint32_t entry_bytes = in.Next(2);
  vbri.frames_per_entry = in.Next(2);
  static_assert(kVbriFixed == 4 + 3 * 2 + 2 * 4 + 4 * 2);
  if (entry_bytes < 1 || entry_bytes > 4 || vbri.frames == 0) return std::nullopt;
  if (in.Rest().size() < size_t{count} * entry_bytes) return std::nullopt;
  vbri.entries.resize(count);
  for (uint32_t& entry : vbri.entries)
    entry = in.Next(entry_bytes);
  return vbri;
}

uint32_t FramesDurationMs(uint64_t frames, const MpegHeader& header) {
  if (header.rate == 0) return 0;
  // frames has 32 bits or counts frames of a real file, so the product stays far below 64 bits.
  const uint64_t ms = (frames * header.SamplesPerFrame() * 1000 + header.rate / 2) / header.rate;
  return ms > 0xFFFFFFFF ? 0 : static_cast<uint32_t>(ms);
}

uint64_t VbriOffset(const VbriHeader& vbri, const MpegHeader& header, uint32_t ms) {
  uint64_t frame = uint64_t{ms} * header.rate / 1000 / header.SamplesPerFrame();
  uint64_t offset = 0;
  for (const uint32_t entry : vbri.entries) {
    const uint64_t stretch = uint64_t{entry} * vbri.scale;
    if (frame < vbri.frames_per_entry) return offset + stretch * frame / vbri.frames_per_entry;
    offset += stretch;
    frame -= vbri.frames_per_entry;
  }
  return offset;
}

uint64_t XingSeekOffset(const XingHeader& xing, uint64_t data_bytes, uint32_t ms, uint32_t duration_ms) {
  const uint64_t bytes = xing.bytes ? xing.bytes : data_bytes;
  const uint64_t scaled = uint64_t{ms} * 100;
  const auto percent = static_cast<uint32_t>(std::min<uint64_t>(scaled / duration_ms, 99));
  const auto share = static_cast<int64_t>(((scaled - uint64_t{percent} * duration_ms) << 16) / duration_ms);
  const int64_t here = xing.toc[percent];
  const int64_t next = percent < 99 ? xing.toc[percent + 1] : 256;
  // 256ths of the bytes with 16 more bits behind the point.
  const int64_t position = (here << 16) + (next - here) * share;
  const auto place = static_cast<uint64_t>(std::max<int64_t>(position, 0));
  // In two steps: the product of a large size and 24 bits would not fit.
  return (bytes >> 24) * place + (((bytes & 0xFFFFFF) * place) >> 24);
}

}  // namespace melorin
