// SPDX-License-Identifier: MIT
//
// The one vocabulary of field names: what other formats call a field becomes our name for it.
#pragma once

#include <string>
#include <string_view>

namespace melorin {

/// "TITLE" → "Title", "Year" → "Date", "Unsynced Lyrics" → "Lyrics", "REPLAYGAIN_TRACK_GAIN" in small
/// letters, the way they are looked up. Names that we have no name for stay as they are. For names of free
/// choice: APE item keys and the descriptions of user-defined ID3v2 frames.
std::string FieldName(std::string_view foreign);

/// Several values of one field are shown as one text, "A/B", as ID3v2.3 puts them. An empty value is left
/// out.
void AppendValue(std::string& joined, std::string_view value);

}  // namespace melorin
