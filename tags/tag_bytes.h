// SPDX-License-Identifier: MIT
//
// Numbers in tag bytes.
#pragma once

#include <cstdint>
#include <span>

namespace melorin {

inline uint32_t LittleEndian32(std::span<const uint8_t> bytes) {
  return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8 | static_cast<uint32_t>(bytes[2]) << 16 |
         static_cast<uint32_t>(bytes[3]) << 24;
}

inline uint32_t BigEndian24(std::span<const uint8_t> bytes) {
  return static_cast<uint32_t>(bytes[0]) << 16 | static_cast<uint32_t>(bytes[1]) << 8 | bytes[2];
}

inline uint32_t BigEndian32(std::span<const uint8_t> bytes) {
  return static_cast<uint32_t>(bytes[0]) << 24 | BigEndian24(bytes.subspan(1));
}

/// Seven bits a byte, so that no byte looks like an MPEG frame.
inline uint32_t SyncSafe32(std::span<const uint8_t> bytes) {
  return static_cast<uint32_t>(bytes[0] & 0x7F) << 21 | static_cast<uint32_t>(bytes[1] & 0x7F) << 14 |
         static_cast<uint32_t>(bytes[2] & 0x7F) << 7 | static_cast<uint32_t>(bytes[3] & 0x7F);
}

inline bool IsSyncSafe(std::span<const uint8_t> bytes) {
  return ((bytes[0] | bytes[1] | bytes[2] | bytes[3]) & 0x80) == 0;
}

}  // namespace melorin
