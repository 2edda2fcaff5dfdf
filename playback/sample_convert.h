// SPDX-License-Identifier: MIT
//
// Float samples to the device's integers: 8 bits unsigned, 16, 24 and 32 bits signed little-endian.
#pragma once

#include <cstdint>
#include <span>

namespace melorin {

/// Converts a block of 32-bit floats (full scale ±1.0) in place, without dither. 8 and 16 bits: to the
/// nearest integer, halves to even; 24 and 32 bits: towards zero. Above full scale it clips; what is not a
/// number becomes 0. float_bytes: length of the block; bits: 8, 16, 24 or 32. Returns the length of the
/// result. Thread: any. No allocation.
uint32_t ConvertSamples(uint8_t* block, uint32_t float_bytes, uint16_t bits);

/// Stores integers that fit the width, one after the other.
void PackSamples(std::span<const int32_t> samples, uint16_t bits, uint8_t* out);

}  // namespace melorin
