// SPDX-License-Identifier: MIT
//
// Texts inside ID3v2 frames: the four encodings, and the mistakes that writers make with them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace melorin {

enum class Id3Encoding : uint8_t { kLatin1 = 0, kUtf16 = 1, kUtf16BigEndian = 2, kUtf8 = 3 };

/// Up to the terminator; takes text and terminator off `bytes`. `terminated` tells whether there was one.
std::string_view TakeTerminated(std::string_view& bytes, Id3Encoding encoding, bool& terminated);

/// The byte order of UTF-16 without a mark: that in which its ASCII characters make sense, little-endian when
/// there are none.
bool LooksBigEndian(std::string_view bytes);

/// One text without its terminator, to UTF-8. Marks are dropped; one of the other order turns it round.
std::string DecodeUtf16(std::string_view bytes, bool big_endian);

/// Values separated by terminators, to UTF-8, joined with "/"; empty ones are left out. UTF-16 without a mark
/// is taken as the order in which its ASCII characters make sense, little-endian when there are none; a
/// second mark is dropped. Latin-1 and broken UTF-8 are read as DecodeLegacy does. `map`, when given, is
/// applied to each value.
std::string DecodeValues(std::string_view bytes, Id3Encoding encoding, bool neighbours_gbk,
                         std::string_view (*map)(std::string_view) = nullptr);

}  // namespace melorin
