// SPDX-License-Identifier: MIT
//
// Lyrics that an audio file carries in its tags: the field "Lyrics", which the tag readers fill from ID3v2
// (USLT, and SYLT as LRC text), Lyrics3 and APE tags.
#pragma once

#include <string_view>

#include "lyrics/lyric_doc.h"
#include "tags/tag_set.h"

namespace melorin {

/// Reads the tags' lyrics. True when they have timed lines; without such, what there is stands in the
/// document's plain text. Of several fields the first with timed lines counts, else the first with any text;
/// "Syncedlyrics", the name that some programs give to LRC text, is looked at after "Lyrics".
bool LyricFromTags(LyricDoc& doc, const TagFields& tags);
/// Without timed lines every line of the text, brackets or not, is plain text, empty lines included. Text
/// beyond the size of a lyric file is nothing.
bool LyricFromTagText(LyricDoc& doc, std::string_view lyrics_utf8);

}  // namespace melorin
