// SPDX-License-Identifier: MIT
//
// Rounding and limits of MulDiv, against values that the platform's own function gives.
#include "platform/mul_div.h"

#include <gtest/gtest.h>

#include "platform/com.h"

namespace melorin {
namespace {

struct Case {
  int32_t number, numerator, denominator, want;
};
constexpr Case kCases[] = {
    {7, 1, 2, 4},
    {-7, 1, 2, -4},
    {7, -1, 2, -4},
    {7, 1, -2, -4},
    {-7, -1, 2, 4},
    {5, 1, 3, 2},
    {4, 1, 3, 1},
    {0, 5, 3, 0},
    {1, 1, 0, -1},
    {0x7FFFFFFF, 2, 1, -1},
    {0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF},
    {-0x7FFFFFFF - 1, 1, 1, -1},
    {176400, 1000, 44100, 4000},
};

TEST(MulDiv, RoundsHalvesAwayFromZeroAndRefusesWhatDoesNotFit) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::Message() << c.number << " * " << c.numerator << " / " << c.denominator);
    EXPECT_EQ(MulDiv(c.number, c.numerator, c.denominator), c.want);
#if defined(_WIN32)
    EXPECT_EQ(::MulDiv(c.number, c.numerator, c.denominator), c.want);
#endif
  }
}

TEST(MulDiv, UnsignedFormCoversSizesAboveTwoGigabytes) {
  EXPECT_EQ(MulDivUnsigned(0xFFFFFFFF, 1000, 176400), 24347887u);
  EXPECT_EQ(MulDivUnsigned(24347855, 176400, 1000), 4294961622u);
  EXPECT_EQ(MulDivUnsigned(0xFFFFFFFF, 3, 2), 0xFFFFFFFFu);
  EXPECT_EQ(MulDivUnsigned(1, 1, 0), 0xFFFFFFFFu);
}

}  // namespace
}  // namespace melorin
