// SPDX-License-Identifier: MIT
//
// GBK text by characters, as lyrics count and trim it. A four-byte form is one character.
#pragma once

#include <cstddef>
#include <string_view>

namespace melorin {

/// How many bytes the first character of a text that is not empty takes.
size_t FirstCharacterSize(std::string_view gbk);
size_t CountCharacters(std::string_view gbk);

/// Without white space at either end. White space is that of ASCII and the ideographic space (U+3000), with
/// which Chinese lyrics are indented and centred.
std::string_view TrimSpaces(std::string_view gbk);

/// The player writes a title line in brackets; such a line is not a part of the lyric. At least two
/// characters.
bool IsBracketed(std::string_view gbk);

}  // namespace melorin
