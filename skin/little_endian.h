// SPDX-License-Identifier: MIT
//
// Numbers as archives and images hold them: the low byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace melorin {

/// The caller has checked that the bytes are there.
inline uint16_t Little16(std::span<const uint8_t> bytes, size_t at) {
  return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}
inline uint32_t Little32(std::span<const uint8_t> bytes, size_t at) {
  return Little16(bytes, at) | static_cast<uint32_t>(Little16(bytes, at + 2)) << 16;
}

}  // namespace melorin
