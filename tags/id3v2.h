// SPDX-License-Identifier: MIT
//
// ID3v2 tags of versions 2.2, 2.3 and 2.4 at the start of a file.
#pragma once

#include <cstdint>

#include "tags/cached_source.h"
#include "tags/tag_limits.h"
#include "tags/tag_set.h"

namespace melorin {

enum class Id3v2Result {
  kNone,     ///< No tag there.
  kRead,     ///< Read, or as much of it as makes sense.
  kTooLong,  ///< Read, but it claims more bytes than the file has; `offset` is then the file's end.
};

/// Reads a tag that begins at `offset`, adds the fields that are not there yet, in the order Title, Subtitle,
/// Copyright, Composer, Artist, Orchestra, Conductor, Album, Tracknumber, Date, Publisher, Genre, Encoder,
/// Comment, Lyrics, user-defined ones, and moves `offset` behind the tag.
///
/// Several values of a frame are joined with "/". Of several comments the first without a description is
/// taken, else the first with one that is not a program's own data (iTunes keeps such). Of several lyrics
/// those with times are taken: plain ones (USLT) that are LRC text, else synchronised ones (SYLT) as LRC
/// text, else the first. Encrypted frames are passed over, frames that are not in the list are not even read.
Id3v2Result ReadId3v2(CachedSource& file, int64_t& offset, TagLimits& limits, TagFields& fields);

/// The same for a tag of version 2.4 that was appended to a file: its footer ends at `end`, and it begins at
/// `floor` or later. Found: moves `end` to its first byte and returns true.
bool ReadAppendedId3v2(CachedSource& file, int64_t floor, int64_t& end, TagLimits& limits, TagFields& fields);

}  // namespace melorin
