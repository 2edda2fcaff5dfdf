// SPDX-License-Identifier: MIT
//
// Finds and reads all tags of a file: the ID3v2 tag at its start, then APEv2, Lyrics3v2 and ID3v1 tags from
// its end inwards, in any order and number.
#pragma once

#include <cstdint>

#include "platform/com_ptr.h"
#include "tags/byte_source.h"
#include "tags/tag_set.h"

namespace melorin {

struct TagScan {
  uint32_t flags = 0;       ///< Kinds that were found.
  int64_t audio_start = 0;  ///< Offset of the first byte after the leading tags.
  int64_t audio_end = 0;    ///< Offset of the first byte of the trailing tags; never below audio_start.
};

/// Which of the two tags wins where both have a field. Both win over Lyrics3v2 and ID3v1, which hold cut
/// texts: a title, artist, album, date or comment of those replaces a shorter one, anything else only fills a
/// gap.
enum class TagPriority { kId3v2First, kApeFirst };

/// The user's choice, which readers of files that know no settings take. Thread: any.
TagPriority UsersTagPriority();
void SetUsersTagPriority(TagPriority priority);

/// `kinds`: which kinds to look for, 0 for all. Fields are added to `fields`. Malformed tags are skipped;
/// memory is bounded by the file's size. Thread: any. Cost: one read at the start, one or two at the end of
/// the file.
TagScan ReadTags(ByteSource& file, uint32_t kinds, TagFields& fields,
                 TagPriority priority = TagPriority::kId3v2First);

/// Reads the tags of a stream into a new tag object, moving the stream's position. `scan`, when given,
/// receives the extent. E_POINTER without `out`, E_FAIL when the stream has no size, E_OUTOFMEMORY.
HRESULT CreateTagContent(IStream& stream, uint32_t kinds, TagSet** out, TagScan* scan,
                         TagPriority priority = TagPriority::kId3v2First);

}  // namespace melorin
