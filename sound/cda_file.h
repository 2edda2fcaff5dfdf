// SPDX-License-Identifier: MIT
//
// The ".cda" files that the platform shows in place of a CD's tracks: where a track lies on the disc.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace melorin {

inline constexpr uint32_t kCdSectorsPerSecond = 75;
inline constexpr uint32_t kCdSectorBytes = 2352;  ///< 588 stereo samples of 16 bits.
inline constexpr size_t kCdaFileBytes = 44;

struct CdaTrack {
  uint16_t number = 0;
  uint32_t start_sector = 0;  ///< Counted from the first sector after the disc's lead-in of two seconds.
  uint32_t sectors = 0;
};

/// Reads the whole file: "RIFF" … "CDDA" "fmt " with, little endian from offset 22, the track number (16
/// bits), the disc's serial number, the start and the length in sectors (32 bits each). Nothing for anything
/// else or an empty track. Thread: any.
std::optional<CdaTrack> ParseCda(std::span<const uint8_t> bytes);

}  // namespace melorin
