// SPDX-License-Identifier: MIT
//
// Multiply-then-divide without losing the 64-bit product, rounded to the nearest integer, as the platform's
// function of the same name does it. Constant expressions, no platform call: both builds give the same
// result.
#pragma once

#include <cstdint>

namespace melorin {

/// number × numerator / denominator, halves rounded away from zero. -1 when the denominator is 0 or the
/// result does not fit (the lowest 32-bit value counts as not fitting).
constexpr int32_t MulDiv(int32_t number, int32_t numerator, int32_t denominator) {
  if (denominator == 0) return -1;
  const int64_t product = int64_t{number} * numerator;
  const bool negative = (product < 0) != (denominator < 0);
  const uint64_t magnitude =
      product < 0 ? uint64_t{0} - static_cast<uint64_t>(product) : static_cast<uint64_t>(product);
  const uint64_t divisor =
      static_cast<uint64_t>(denominator < 0 ? -int64_t{denominator} : int64_t{denominator});
  const uint64_t rounded = (magnitude + divisor / 2) / divisor;
  if (rounded > 0x7FFFFFFF) return -1;
  return negative ? -static_cast<int32_t>(rounded) : static_cast<int32_t>(rounded);
}

/// The same for sizes and times that use all 32 bits: 0xFFFFFFFF when the denominator is 0 or the result does
/// not fit. Equals MulDiv wherever that one's arguments and result are not negative.
constexpr uint32_t MulDivUnsigned(uint32_t number, uint32_t numerator, uint32_t denominator) {
  if (denominator == 0) return 0xFFFFFFFF;
  const uint64_t rounded = (uint64_t{number} * numerator + denominator / 2) / denominator;
  return rounded > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<uint32_t>(rounded);
}

}  // namespace melorin
