// SPDX-License-Identifier: MIT
//
// The time tags of LRC text: minutes and seconds in brackets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace melorin {

/// What stands between the brackets of a tag, as the C library reads "%d:%f": white space and a sign may
/// stand before either number, the seconds may have a fraction and an exponent and need not be below 60, and
/// what follows them does not matter. ("0x10", "inf" and "nan" are no numbers here.) The milliseconds are
/// taken from the digits as they are written, not from their nearest binary fraction, and cut towards zero:
/// "00:02.01" is 2010, "0:1.9999" is 1999.
///
/// Nothing when there are not two numbers, or when the time does not fit in 32 bits of milliseconds.
std::optional<int32_t> ScanTime(std::u16string_view tag);
std::optional<int32_t> ScanTime(std::string_view tag);  ///< The same of ASCII, or any text that contains it.

/// A whole number in front, as the C library reads "%d"; 0 when there is none. What does not fit in 32 bits
/// is the nearest number that does.
int32_t ScanInteger(std::u16string_view text);
int32_t ScanInteger(std::string_view text);

/// "[mm:ss.hh]", rounded to hundredths, halves away from zero; 59,999 ms is "[00:60.00]". Both numbers of a
/// negative time are negative, as the division leaves them: "[00:-0.50]", "[-1:-5.00]".
void AppendTime(int32_t time_ms, std::u16string& out);

}  // namespace melorin
