// SPDX-License-Identifier: MIT
//
// See cda_file.h.
#include "sound/cda_file.h"

#include <cstring>

namespace melorin {
namespace {

uint32_t Read32(const uint8_t* at) {
  return at[0] | uint32_t{at[1]} << 8 | uint32_t{at[2]} << 16 | uint32_t{at[3]} << 24;
}

}  // namespace

std::optional<CdaTrack> ParseCda(std::span<const uint8_t> bytes) {
  if (bytes.size() < kCdaFileBytes) return std::nullopt;
  const uint8_t* data = bytes.data();
  if (std::memcmp(data, "RIFF", 4) != 0 || std::memcmp(data + 8, "CDDAfmt ", 8) != 0) return std::nullopt;
  CdaTrack track;
  track.number = static_cast<uint16_t>(data[22] | data[23] << 8);
  track.start_sector = Read32(data + 28);
  track.sectors = Read32(data + 32);
  // A disc has fewer than 2^20 sectors; anything larger would also overflow the arithmetic of its readers.
  constexpr uint32_t kMost = 1u << 20;
  if (track.sectors == 0 || track.sectors > kMost || track.start_sector > kMost) return std::nullopt;
  return track;
}

}  // namespace melorin
