// SPDX-License-Identifier: MIT
//
// The ID3v1 tag (with the track number of version 1.1) and the list of genres.
#pragma once

#include <cstdint>
#include <string_view>

#include "tags/cached_source.h"
#include "tags/tag_set.h"

namespace melorin {

inline constexpr uint32_t kGenreCount = 148;

/// The genre of that index in the ID3v1 list as players extended it (0 "Blues" … 147 "Synthpop"); empty from
/// 148 on.
std::string_view GenreName(uint32_t index);

/// "(17)" and "17" become "Rock"; anything else, indexes from 148 on among it, stays as it is.
std::string_view ResolveGenre(std::string_view text);

/// Reads an ID3v1 tag that ends at `end` and begins at `floor` or later. Found: adds its fields (the longer
/// of two values stays), moves `end` to its first byte and returns true. Texts are GBK; what is not
/// well-formed GBK is read as DecodeLegacy does.
bool ReadId3v1(CachedSource& file, int64_t floor, int64_t& end, TagFields& fields);

}  // namespace melorin
