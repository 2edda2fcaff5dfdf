// SPDX-License-Identifier: MIT
//
// The two headers that encoders hide in the first frame of a file with varying bit rate: "Xing" and "VBRI".
// Each gives the number of frames and a table from time to file position. Plain values; no file access.
// Source: "MP3 Audio Frame Header" articles by Konrad Windszus (VBRI and Xing layouts), the LAME tag
// description.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "sound/mpeg_header.h"

namespace melorin {

struct XingHeader {
  uint32_t frames = 0;
  uint32_t bytes = 0;  ///< 0 when the header does not say.
  uint32_t quality = 0;
  uint8_t toc[100] = {};  ///< Position at each percent of the time, in 256ths of the bytes.
};

struct VbriHeader {
  uint16_t version = 0;
  uint16_t delay = 0;
  uint16_t quality = 0;
  uint32_t bytes = 0;
  uint32_t frames = 0;
  uint32_t scale = 0;
  uint32_t frames_per_entry = 0;
  std::vector<uint32_t> entries;  ///< Bytes of each stretch of frames, to be multiplied by the scale.
};

/// Where the Xing header stands, counted from the frame's start. It follows version and layer and never the
/// channel mode, so that the header of a mono MPEG-1 layer 3 file, which its encoders put at 21, is not
/// found.
constexpr uint32_t XingOffset(const MpegHeader& header) {
  if (header.version == MpegVersion::k1) return header.layer == 3 ? 36 : 21;
  return header.layer == 3 ? 21 : 13;
}
inline constexpr uint32_t kVbriOffset = 36;

/// `from_frame`: the bytes from the frame's header on, as far as they are at hand. None without the tag
/// "Xing", without a table of contents (flag 4), with a frame count of 0 or with bytes missing.
std::optional<XingHeader> ParseXing(const MpegHeader& header, std::span<const uint8_t> from_frame);
/// The same for "VBRI". Its table has one entry more than the header states. May throw std::bad_alloc; the
/// table is never larger than the bytes given.
std::optional<VbriHeader> ParseVbri(std::span<const uint8_t> from_frame);

/// What is known of a file's timing beside its bit rate: at most one header.
struct MpegVbrHeader {
  std::optional<VbriHeader> vbri;
  std::optional<XingHeader> xing;
  explicit operator bool() const { return vbri || xing; }
  uint32_t Frames() const { return vbri ? vbri->frames : xing ? xing->frames : 0; }
};

/// Duration of so many frames in milliseconds, rounded to the nearest; 0 when it does not fit 32 bits.
uint32_t FramesDurationMs(uint64_t frames, const MpegHeader& header);

/// Byte offset from the first frame at which `ms` plays. The frame that plays at that time is looked for
/// among the stretches of the table, and taken at its share of its stretch. Behind the last entry lies the
/// table's end.
uint64_t VbriOffset(const VbriHeader& vbri, const MpegHeader& header, uint32_t ms);
/// The share of the time in percent, between two entries of the table by its share of the percent; behind
/// entry 99 stands 256. `data_bytes` is used when the header states no size. `ms` lies below `duration_ms`.
uint64_t XingSeekOffset(const XingHeader& xing, uint64_t data_bytes, uint32_t ms, uint32_t duration_ms);

}  // namespace melorin
