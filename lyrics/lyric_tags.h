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
/// document's plain text.
bool LyricFromTags(LyricDoc& doc, const TagFields& tags);
bool LyricFromTagText(LyricDoc& doc, std::string_view lyrics_utf8);

}  // namespace melorin
