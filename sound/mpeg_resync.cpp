// SPDX-License-Identifier: MIT
#include "sound/mpeg_resync.h"

#include <algorithm>

namespace melorin {

namespace {

constexpr size_t kHeaderBytes = 4;
/// Header, checksum and the two bytes that main_data_begin may take.
constexpr size_t kNeededBytes = 8;

bool FirstVersion(const MpegHeader& header) {
  return header.version == MpegVersion::k1;
}

uint32_t SideBytes(const MpegHeader& header) {
  const bool mono = header.Channels() == 1;
  if (FirstVersion(header)) return mono ? 17 : 32;
  return mono ? 9 : 17;
}

/// How far back a frame's data begin, in bytes of main data.
uint32_t MainDataBegin(const MpegHeader& header, const uint8_t* frame) {
  const uint8_t* side = frame + kHeaderBytes + (header.no_checksum ? 0 : 2);
  return FirstVersion(header) ? uint32_t{side[0]} << 1 | side[1] >> 7 : side[0];
}

/// The frame that overlaps with the last missing one. In the lower sampling frequencies a frame is only one
/// transform long, and the filter bank carries the fault into the next one.
uint32_t OverlapFrames(const MpegHeader& header) {
  return header.layer != 3 || FirstVersion(header) ? 1 : 2;
}

uint32_t MostFrames(const MpegHeader& header) {
  if (header.layer != 3) return 1;
  const uint32_t reach = FirstVersion(header) ? 511 : 255;
  const uint32_t data = std::max<uint32_t>(MainDataBytes(header), 1);
  return std::min((reach + data - 1) / data + OverlapFrames(header), kMostMutedFrames);
}

}  // namespace

uint32_t MainDataBytes(const MpegHeader& header) {
  const uint32_t taken =
      static_cast<uint32_t>(kHeaderBytes) + (header.no_checksum ? 0 : 2) + SideBytes(header);
  return header.frame_bytes > taken ? header.frame_bytes - taken : 0;
}

bool BeginsCleanly(std::span<const uint8_t> bytes) {
  if (bytes.size() < kNeededBytes) return false;
  const auto header = DecodeMpegHeader(bytes.data());
  return header && (header->layer != 3 || MainDataBegin(*header, bytes.data()) == 0);
}

uint32_t FramesToMute(std::span<const uint8_t> bytes) {
  std::optional<MpegHeader> first;
  size_t at = 0;
  for (; at + kNeededBytes <= bytes.size(); ++at) {
    const auto header = DecodeMpegHeader(bytes.data() + at);
    if (!header) continue;
    const size_t next = at + header->frame_bytes;
    if (next + kHeaderBytes > bytes.size()) return MostFrames(*header);
    const auto follower = DecodeMpegHeader(bytes.data() + next);
    if (!follower || !follower->SameStream(*header)) continue;
    first = header;
    break;
  }
  if (!first) return 0;
  if (first->layer != 3) return MostFrames(*first);
  uint32_t reservoir = 0;
  for (uint32_t frames = 0; frames < kMostMutedFrames && at + kNeededBytes <= bytes.size(); ++frames) {
    const auto header = DecodeMpegHeader(bytes.data() + at);
    if (!header || !header->SameStream(*first)) break;
    if (MainDataBegin(*header, bytes.data() + at) <= reservoir)
      return std::min(frames + OverlapFrames(*header), kMostMutedFrames);
    reservoir += MainDataBytes(*header);
    at += header->frame_bytes;
  }
  return MostFrames(*first);
}

void SilenceFramesWithoutData(std::span<uint8_t> bytes) {
  uint32_t reservoir = 0;
  for (size_t at = 0; at + kNeededBytes <= bytes.size();) {
    uint8_t* const frame = bytes.data() + at;
    const auto header = DecodeMpegHeader(frame);
    if (!header || header->layer != 3 || FirstVersion(*header)) return;
    if (MainDataBegin(*header, frame) <= reservoir && reservoir > 0) return;
    if (MainDataBegin(*header, frame) > reservoir)
      frame[kHeaderBytes + (header->no_checksum ? 0 : 2) + 1] = 0;
    reservoir += MainDataBytes(*header);
    at += header->frame_bytes;
  }
}

}  // namespace melorin
