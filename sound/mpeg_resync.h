// SPDX-License-Identifier: MIT
//
// Taking up a stream in its midst: which of the next frames can be decoded rightly. Values and bytes only.
// Source: ISO/IEC 11172-3 clause 2.4.1.7 and 13818-3 (side information, main_data_begin).
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "sound/mpeg_header.h"

namespace melorin {

/// The most frames that are ever given up after a seek.
inline constexpr uint32_t kMostMutedFrames = 12;

/// Bytes of a layer 3 frame that carry sound: without header, checksum and side information.
uint32_t MainDataBytes(const MpegHeader& header);

/// Whether decoding may begin at these bytes: a frame's header, and no data taken from before it.
bool BeginsCleanly(std::span<const uint8_t> bytes);

/// Frames from the first one in `bytes` on that cannot be decoded rightly when nothing before `bytes` is
/// known: layer 3 frames that take data from missing ones, and the frame after those, which overlaps with a
/// missing one. Where the bytes end before that is decided, the most that the bit rate makes possible. 0
/// without a frame. Thread: any. O(bytes).
uint32_t FramesToMute(std::span<const uint8_t> bytes);

/// Prepares the frames at the start of `bytes`, which must begin with one, for libmpg123. It makes silence of
/// a frame whose data begin before what it was given; but in the lower sampling frequencies it leaves one
/// byte of that frame's side information as it was, reads a nonsensical length there and drops the frame
/// without turning its filter bank, so that all later samples are off by one in the last place. That byte is
/// cleared. Thread: any.
void SilenceFramesWithoutData(std::span<uint8_t> bytes);

}  // namespace melorin
