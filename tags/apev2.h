// SPDX-License-Identifier: MIT
//
// APE tags of version 1 and 2 at the end of the audio data.
#pragma once

#include <cstdint>

#include "tags/cached_source.h"
#include "tags/tag_limits.h"
#include "tags/tag_set.h"

namespace melorin {

/// Reads an APE tag whose footer ends at `end` and that begins at `floor` or later. Found: adds its text
/// fields, moves `end` to its first byte and returns true. Several values of an item are joined with "/";
/// binary items are skipped. A field that is there already keeps its value.
bool ReadApe(CachedSource& file, int64_t floor, int64_t& end, TagLimits& limits, TagFields& fields);

}  // namespace melorin
