// SPDX-License-Identifier: MIT
//
// Samples as ASIO drivers want them: one block of memory a channel, in a type that the driver names. Plain
// functions of values. Source of the type numbers and of the buffer size rules: the published ASIO interface.
// Thread: any. No allocation.
#pragma once

#include <cstddef>
#include <cstdint>

namespace melorin {

/// How one sample of a driver's type lies in memory.
struct AsioSampleLayout {
  uint8_t bytes = 0;  ///< Of one sample: 2, 3, 4 or 8.
  uint8_t valid_bits =
      0;                  ///< Integers: the value's width, at the low end of the container and sign-extended.
  bool is_float = false;  ///< Full scale is 1.0.
  bool big_endian = false;
};

/// False for a number that is no PCM type (the one-bit ones among them).
/// Examples: 16 is 16-bit and 18 is 32-bit little-endian, 24 a 16-bit value in a 32-bit container, 19 a
/// float.
bool LayoutOfAsioType(int32_t type, AsioSampleLayout* out);

/// One channel of interleaved device PCM into a driver's memory.
/// source: the channel's first sample, 8 bits unsigned, or 16, 24 or 32 bits signed little-endian;
/// stride_bytes: from one frame to the next; out: frames × layout.bytes.
/// A wider type keeps every bit; a narrower one is rounded to the nearest value, cut at full scale.
void StoreAsioChannel(const uint8_t* source, uint16_t bits, size_t stride_bytes, size_t frames,
                      const AsioSampleLayout& layout, uint8_t* out);

/// What a driver says about the frames of its buffers.
struct AsioBufferSizes {
  int32_t smallest = 0;
  int32_t largest = 0;
  int32_t preferred = 0;
  int32_t granularity = 0;  ///< Step from the smallest on; -1: powers of two; 0: no choice.
};

/// No driver in use comes near; what says more is broken.
inline constexpr int32_t kMaxAsioFrames = 65536;

/// The preferred size, brought to a size that the driver's other answers allow; 0 when they make no sense.
uint32_t ChooseAsioFrames(const AsioBufferSizes& sizes);

}  // namespace melorin
