// SPDX-License-Identifier: MIT
//
// Lyrics in ID3v2 tags: synchronised ones (SYLT, SLT in 2.2) become LRC text, so that one field holds them.
#pragma once

#include <string>
#include <string_view>

namespace melorin {

/// LRC text from a whole frame, UTF-8, "[mm:ss.mmm]text" and CR LF for each line; empty when the frame holds
/// other things than lyrics (chords, events), counts in MPEG frames, whose length the tag does not tell, or
/// makes no sense. At most about a megabyte; what follows is left out.
///
/// Programs write a frame for each line, or one for each syllable with a line feed before the first of a
/// line; where there is such a line feed, texts without one continue their line. Square brackets in the text
/// become round ones, as LRC text would take them for tags. `neighbours_gbk` as DecodeLegacy has it.
std::string LrcOfSyncedLyrics(std::string_view payload, bool neighbours_gbk);

/// Whether a text has a line that begins as LRC lines do, with minutes and seconds in brackets.
bool HasTimeTags(std::string_view utf8);

}  // namespace melorin
