// SPDX-License-Identifier: MIT
//
// Conversion with SSE2, which both builds have.
#include "playback/sample_convert.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

namespace melorin {
namespace {

constexpr uint32_t kChunkSamples = 512;

// Rounds or truncates four samples. Clipping comes first: to integer bounds that are floats it gives the same
// result as clipping afterwards, and the conversion cannot overflow.
template <bool kRound>
__m128i ToIntegers(__m128 value, __m128 lowest, __m128 highest) {
  value = _mm_and_ps(value, _mm_cmpord_ps(value, value));
  value = _mm_max_ps(_mm_min_ps(value, highest), lowest);
  return kRound ? _mm_cvtps_epi32(value) : _mm_cvttps_epi32(value);
}

// 2^31 - 1 is no float: what reaches 2^31 overflows to the lowest integer, whose complement is the highest.
__m128i ToIntegers32(__m128 value) {
  value = _mm_and_ps(value, _mm_cmpord_ps(value, value));
  value = _mm_max_ps(value, _mm_set1_ps(-2147483648.0f));
  const __m128i overflow = _mm_castps_si128(_mm_cmpge_ps(value, _mm_set1_ps(2147483648.0f)));
  return _mm_xor_si128(_mm_cvttps_epi32(value), overflow);
}

template <uint16_t kBits>
void ToIntegers(const float* in, int32_t* out, uint32_t count) {
  const float scale = static_cast<float>(int64_t{1} << (kBits - 1));
  const __m128 scales = _mm_set1_ps(scale);
  const __m128 lowest = _mm_set1_ps(-scale);
  const __m128 highest = _mm_set1_ps(scale - 1);
  for (uint32_t i = 0; i < count; i += 4) {
    const __m128 value = _mm_mul_ps(_mm_load_ps(in + i), scales);
    const __m128i integers =
        kBits == 32 ? ToIntegers32(value) : ToIntegers<(kBits <= 16)>(value, lowest, highest);
    _mm_store_si128(reinterpret_cast<__m128i*>(out + i), integers);
  }
}

template <uint16_t kBits>
void ConvertBlock(uint8_t* block, uint32_t samples) {
  alignas(16) float floats[kChunkSamples] = {};
  alignas(16) int32_t integers[kChunkSamples];
  for (uint32_t done = 0; done < samples; done += kChunkSamples) {
    const uint32_t count = std::min(kChunkSamples, samples - done);
    std::memcpy(floats, block + done * 4, count * 4);
    ToIntegers<kBits>(floats, integers, (count + 3) & ~3u);
    // Never ahead of what has been read, since no sample gets longer.
    PackSamples({integers, count}, kBits, block + done * (kBits / 8));
  }
}

}  // namespace

uint32_t ConvertSamples(uint8_t* block, uint32_t float_bytes, uint16_t bits) {
  const uint32_t samples = float_bytes / 4;
  switch (bits) {
    case 8:
      ConvertBlock<8>(block, samples);
      break;
    case 16:
      ConvertBlock<16>(block, samples);
      break;
    case 24:
      ConvertBlock<24>(block, samples);
      break;
    case 32:
      ConvertBlock<32>(block, samples);
      break;
    default:
      return 0;
  }
  return samples * (bits / 8u);
}

void PackSamples(std::span<const int32_t> samples, uint16_t bits, uint8_t* out) {
  const size_t count = samples.size();
  const int32_t* in = samples.data();
  size_t i = 0;
  switch (bits) {
    case 8:
      for (; i < count; ++i)
        out[i] = static_cast<uint8_t>(in[i] + 128);
      break;
    case 16:
      for (; i + 8 <= count; i += 8) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i + 4));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i * 2), _mm_packs_epi32(low, high));
      }
      for (; i < count; ++i) {
        const int16_t value = static_cast<int16_t>(in[i]);
        std::memcpy(out + i * 2, &value, 2);
      }
      break;
    case 24:
      // Four bytes at a time: the surplus one is overwritten by the next sample, and the last sample has
      // none.
      for (; i + 1 < count; ++i)
        std::memcpy(out + i * 3, in + i, 4);
      if (count) std::memcpy(out + i * 3, in + i, 3);
      break;
    default:
      std::memcpy(out, in, count * 4);
      break;
  }
}

}  // namespace melorin
