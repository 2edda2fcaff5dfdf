// SPDX-License-Identifier: MIT
//
// See mpeg_frame_index.h.
#include "sound/mpeg_frame_index.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace melorin {
namespace {

constexpr uint64_t kMarkEvery = 64;
constexpr int64_t kHeaderBytes = 4;
constexpr size_t kSearchBytes = 4096;

/// What a decoder demands of a frame to go on with it; the channel mode may change.
bool Continues(const MpegHeader& reference, const MpegHeader& header) {
  return header.version == reference.version && header.layer == reference.layer &&
         header.rate == reference.rate;
}

}  // namespace

std::optional<MpegHeader> MpegFrameIndex::FrameAt(ByteSource& file, int64_t& offset) const {
  std::array<uint8_t, kSearchBytes> window;
  size_t wanted = kHeaderBytes;
  while (offset + kHeaderBytes <= end_) {
    const auto left = static_cast<uint64_t>(end_ - offset);
    const size_t count = static_cast<size_t>(std::min<uint64_t>(wanted, left));
    const size_t got = file.ReadAt(offset, std::span(window).first(count));
    if (got < kHeaderBytes) return std::nullopt;
    const size_t places = got - kHeaderBytes + 1;
    for (size_t i = 0; i < places; ++i) {
      const auto header = DecodeMpegHeader(window.data() + i);
      if (!header || !Continues(reference_, *header)) continue;
      offset += static_cast<int64_t>(i);
      return offset + header->frame_bytes <= end_ ? header : std::nullopt;
    }
    offset += static_cast<int64_t>(places);
    wanted = window.size();
  }
  return std::nullopt;
}

bool MpegFrameIndex::IsHeaderFrame(ByteSource& file, int64_t offset, const MpegHeader& header) const {
  if (header.layer != 3) return false;
  const bool first_version = header.version == MpegVersion::k1;
  const bool mono = header.Channels() == 1;
  const size_t side = first_version ? (mono ? 17 : 32) : (mono ? 9 : 17);
  std::array<uint8_t, kHeaderBytes + 32 + 4> bytes;
  const size_t tag = kHeaderBytes + side;
  if (header.frame_bytes < tag + 8 || file.ReadAt(offset, std::span(bytes).first(tag + 4)) < tag + 4)
    return false;
  // The first two bytes may be a checksum.
  const auto silent =
      std::all_of(bytes.begin() + kHeaderBytes + 2, bytes.begin() + static_cast<ptrdiff_t>(tag),
                  [](uint8_t byte) { return byte == 0; });
  return silent &&
         (std::memcmp(bytes.data() + tag, "Xing", 4) == 0 || std::memcmp(bytes.data() + tag, "Info", 4) == 0);
}

std::optional<int64_t> MpegFrameIndex::OffsetOf(uint64_t frame, ByteSource& file) {
  if (marks_.empty()) {
    int64_t offset = start_;
    const auto header = FrameAt(file, offset);
    if (!header) return std::nullopt;
    marks_.push_back(IsHeaderFrame(file, offset, *header) ? offset + header->frame_bytes : offset);
  }
  const uint64_t mark = std::min<uint64_t>(frame / kMarkEvery, marks_.size() - 1);
  int64_t offset = marks_[static_cast<size_t>(mark)];
  for (uint64_t at = mark * kMarkEvery;; ++at) {
    const auto header = FrameAt(file, offset);
    if (!header) return std::nullopt;
    if (at == marks_.size() * kMarkEvery) marks_.push_back(offset);
    if (at == frame) return offset;
    offset += header->frame_bytes;
  }
}

std::optional<MpegFrameIndex::Entry> MpegFrameIndex::EntryFor(uint64_t frame, ByteSource& file) {
  // More than twelve frames, which a decoder mutes after a seek, and more than the frames that data can be
  // spread over: at 511 bytes back and 60 bytes a frame nine, in the lower sampling frequencies 255 bytes
  // back and as little as 3 bytes a frame.
  const uint64_t run_in = reference_.version == MpegVersion::k1 ? 32 : 96;
  constexpr uint64_t kStep = 8;
  for (uint64_t from = frame < run_in ? 0 : (frame - run_in) / kStep * kStep; from > 0; from -= kStep) {
    auto offset = OffsetOf(from, file);
    if (!offset) return std::nullopt;
    const auto header = FrameAt(file, *offset);
    // In files that were joined header frames stand in the midst, as silence. A decoder that begins with one
    // would take it for what it says.
    if (header && !IsHeaderFrame(file, *offset, *header)) return Entry{from, *offset};
  }
  return Entry{0, start_};
}

}  // namespace melorin
