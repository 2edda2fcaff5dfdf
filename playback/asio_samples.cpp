// SPDX-License-Identifier: MIT
//
// Samples go through a short array of 32-bit integers whose top bits hold the value, so that each width is
// read in one place and each type is written in one.
#include "playback/asio_samples.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace melorin {

namespace {

constexpr size_t kChunkFrames = 256;

void Load(const uint8_t* source, uint16_t bits, size_t stride, size_t frames, int32_t* out) {
  const auto at = [](uint8_t byte, int shift) { return uint32_t{byte} << shift; };
  switch (bits) {
    case 8:
      for (size_t i = 0; i < frames; ++i, source += stride)
        out[i] = static_cast<int32_t>(at(*source ^ 0x80, 24));
      break;
    case 16:
      for (size_t i = 0; i < frames; ++i, source += stride)
        out[i] = static_cast<int32_t>(at(source[0], 16) | at(source[1], 24));
      break;
    case 24:
      for (size_t i = 0; i < frames; ++i, source += stride)
        out[i] = static_cast<int32_t>(at(source[0], 8) | at(source[1], 16) | at(source[2], 24));
      break;
    default:
      for (size_t i = 0; i < frames; ++i, source += stride)
        std::memcpy(&out[i], source, 4);
      break;
  }
}

/// The value in the low `valid_bits`, rounded to the nearest, never beyond full scale.
int32_t Narrow(int32_t value, int valid_bits) {
  const int shift = 32 - valid_bits;
  if (shift == 0) return value;
  const int64_t rounded = (int64_t{value} + (int64_t{1} << (shift - 1))) >> shift;
  return static_cast<int32_t>(std::min<int64_t>(rounded, (int64_t{1} << (valid_bits - 1)) - 1));
}

template <class Value>
void StoreValues(const int32_t* values, size_t frames, Value (*convert)(int32_t, int), int valid_bits,
                 uint8_t* out) {
  for (size_t i = 0; i < frames; ++i) {
    const Value value = convert(values[i], valid_bits);
    std::memcpy(out + i * sizeof value, &value, sizeof value);
  }
}

void Store(const int32_t* values, size_t frames, const AsioSampleLayout& layout, uint8_t* out) {
  constexpr float kScale = 1.0f / 2147483648.0f;
  const int bits = layout.valid_bits;
  if (layout.is_float && layout.bytes == 4) {
    StoreValues<float>(
        values, frames, [](int32_t value, int) { return static_cast<float>(value) * kScale; }, bits, out);
  } else if (layout.is_float) {
    StoreValues<double>(
        values, frames, [](int32_t value, int) { return value * double{kScale}; }, bits, out);
  } else if (layout.bytes == 2) {
    StoreValues<int16_t>(
        values, frames, [](int32_t value, int width) { return static_cast<int16_t>(Narrow(value, width)); },
        bits, out);
  } else if (layout.bytes == 4) {
    StoreValues<int32_t>(values, frames, &Narrow, bits, out);
  } else {
    for (size_t i = 0; i < frames; ++i, out += 3) {
      const auto value = static_cast<uint32_t>(Narrow(values[i], 24));
      out[0] = static_cast<uint8_t>(value);
      out[1] = static_cast<uint8_t>(value >> 8);
      out[2] = static_cast<uint8_t>(value >> 16);
    }
  }
}

void SwapBytes(uint8_t* data, size_t frames, size_t bytes) {
  for (size_t i = 0; i < frames; ++i, data += bytes)
    std::reverse(data, data + bytes);
}

}  // namespace

static_assert(std::endian::native == std::endian::little, "values are stored as they lie in memory");

bool LayoutOfAsioType(int32_t type, AsioSampleLayout* out) {
  // 0 to 15 are the big-endian types, 16 to 31 the same in little-endian.
  if (type < 0 || type > 31) return false;
  *out = {};
  out->big_endian = type < 16;
  switch (type % 16) {
    case 0:
      *out = {2, 16, false, out->big_endian};
      return true;
    case 1:
      *out = {3, 24, false, out->big_endian};
      return true;
    case 2:
      *out = {4, 32, false, out->big_endian};
      return true;
    case 3:
      *out = {4, 32, true, out->big_endian};
      return true;
    case 4:
      *out = {8, 64, true, out->big_endian};
      return true;
    case 8:
      *out = {4, 16, false, out->big_endian};
      return true;
    case 9:
      *out = {4, 18, false, out->big_endian};
      return true;
    case 10:
      *out = {4, 20, false, out->big_endian};
      return true;
    case 11:
      *out = {4, 24, false, out->big_endian};
      return true;
    default:
      return false;
  }
}

void StoreAsioChannel(const uint8_t* source, uint16_t bits, size_t stride_bytes, size_t frames,
                      const AsioSampleLayout& layout, uint8_t* out) {
  int32_t values[kChunkFrames];
  while (frames > 0) {
    const size_t count = std::min(frames, kChunkFrames);
    Load(source, bits, stride_bytes, count, values);
    Store(values, count, layout, out);
    if (layout.big_endian) SwapBytes(out, count, layout.bytes);
    source += count * stride_bytes;
    out += count * layout.bytes;
    frames -= count;
  }
}

uint32_t ChooseAsioFrames(const AsioBufferSizes& sizes) {
  const auto sound = [](int32_t frames) { return frames > 0 && frames <= kMaxAsioFrames; };
  if (!sound(sizes.preferred)) return 0;
  // A driver that knows one size only may leave the others at 0.
  if (!sound(sizes.smallest) || sizes.largest < sizes.smallest) return static_cast<uint32_t>(sizes.preferred);
  const int32_t largest = std::min(sizes.largest, kMaxAsioFrames);
  const int32_t frames = std::clamp(sizes.preferred, sizes.smallest, largest);
  if (sizes.granularity == -1) {
    const auto down = static_cast<int32_t>(std::bit_floor(static_cast<uint32_t>(frames)));
    return static_cast<uint32_t>(down >= sizes.smallest ? down : sizes.smallest);
  }
  if (sizes.granularity > 0)
    return static_cast<uint32_t>(frames - (frames - sizes.smallest) % sizes.granularity);
  return static_cast<uint32_t>(frames);
}

}  // namespace melorin
