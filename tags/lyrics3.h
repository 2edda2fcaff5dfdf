// SPDX-License-Identifier: MIT
//
// Lyrics3 blocks at the end of the audio data.
#pragma once

#include <cstdint>

#include "tags/cached_source.h"
#include "tags/tag_set.h"

namespace melorin {

/// Reads a Lyrics3v2 block that ends at `end` and begins at `floor` or later. Found: adds its fields (the
/// longer of two values stays), moves `end` to its first byte and returns true. Texts are read as
/// DecodeLegacy does.
bool ReadLyrics3v2(CachedSource& file, int64_t floor, int64_t& end, TagFields& fields);

/// The same for a block of the first version, which holds nothing but the lyrics.
bool ReadLyrics3v1(CachedSource& file, int64_t floor, int64_t& end, TagFields& fields);

}  // namespace melorin
