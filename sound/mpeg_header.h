// SPDX-License-Identifier: MIT
//
// The four bytes that begin every MPEG audio frame. Constant expressions and plain values only.
// Source: ISO/IEC 11172-3 clause 2.4.1.3 and 2.4.2.3, ISO/IEC 13818-3 clause 2.4.2.3 (lower sampling
// frequencies), and the customary extension "MPEG-2.5" for 8 to 12 kHz.
#pragma once

#include <cstdint>
#include <optional>

namespace melorin {

/// With the value of the header's version field.
enum class MpegVersion : uint8_t { k25 = 0, k2 = 2, k1 = 3 };

/// A decoded frame header.
struct MpegHeader {
  MpegVersion version = MpegVersion::k1;
  uint8_t layer = 0;         ///< 1 to 3.
  uint8_t channel_mode = 0;  ///< 0 stereo, 1 joint stereo, 2 dual channel, 3 mono.
  uint8_t mode_extension = 0;
  uint8_t emphasis = 0;
  bool padding = false;
  bool no_checksum = false;  ///< The protection bit as it stands.
  bool copyright = false;
  bool original = false;
  uint32_t bitrate = 0;      ///< Bits per second.
  uint32_t rate = 0;         ///< Samples per second.
  uint32_t frame_bytes = 0;  ///< From this header to the next.

  uint16_t Channels() const { return channel_mode == 3 ? 1 : 2; }
  uint32_t SamplesPerFrame() const {
    if (layer == 1) return 384;
    return layer == 3 && version != MpegVersion::k1 ? 576 : 1152;
  }
  /// Whether both belong to one stream: same version, layer, channel mode and sampling rate.
  bool SameStream(const MpegHeader& other) const {
    return version == other.version && layer == other.layer && channel_mode == other.channel_mode &&
           rate == other.rate;
  }
};

namespace mpeg_detail {

/// kbit/s by [lower sampling frequencies][layer - 1][index]; index 0 (free format) and 15 are never asked
/// for.
inline constexpr uint16_t kBitrates[2][3][15] = {
    {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
     {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
     {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
    {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
};

/// Hz by [version field][index].
inline constexpr uint16_t kRates[4][3] = {
    {11025, 12000, 8000}, {0, 0, 0}, {22050, 24000, 16000}, {44100, 48000, 32000}};

}  // namespace mpeg_detail

/// Whether four bytes can be a frame header: 11 sync bits, no reserved version, layer, rate or bit rate, and
/// no free format.
constexpr bool IsMpegSync(const uint8_t* p) {
  if (p[0] != 0xFF || (p[1] & 0xE0) != 0xE0) return false;
  const uint32_t bitrate_index = p[2] >> 4;
  return (p[1] & 0x18) != 0x08 && (p[1] & 0x06) != 0 && bitrate_index != 0 && bitrate_index != 15 &&
         (p[2] & 0x0C) != 0x0C;
}

/// Decodes four bytes; none unless they pass IsMpegSync.
constexpr std::optional<MpegHeader> DecodeMpegHeader(const uint8_t* p) {
  if (!IsMpegSync(p)) return std::nullopt;
  MpegHeader header;
  const uint32_t version = (p[1] >> 3) & 3u;
  header.version = static_cast<MpegVersion>(version);
  header.layer = static_cast<uint8_t>(4 - ((p[1] >> 1) & 3));
  header.no_checksum = (p[1] & 1) != 0;
  const bool lower = header.version != MpegVersion::k1;
  header.bitrate = mpeg_detail::kBitrates[lower ? 1 : 0][header.layer - 1][p[2] >> 4] * 1000u;
  header.rate = mpeg_detail::kRates[version][(p[2] >> 2) & 3];
  header.padding = (p[2] & 2) != 0;
  header.channel_mode = p[3] >> 6;
  header.mode_extension = (p[3] >> 4) & 3;
  header.copyright = (p[3] & 8) != 0;
  header.original = (p[3] & 4) != 0;
  header.emphasis = p[3] & 3;
  const uint32_t padding = header.padding ? 1 : 0;
  if (header.layer == 1) {
    header.frame_bytes = (12 * header.bitrate / header.rate + padding) * 4;
  } else {
    const uint32_t slots = header.layer == 3 && lower ? 72 : 144;
    header.frame_bytes = header.bitrate * slots / header.rate + padding;
  }
  return header;
}

}  // namespace melorin
