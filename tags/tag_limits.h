// SPDX-License-Identifier: MIT
//
// How much the tags of one file may cost. A file can hold any number of tags, and a small compressed frame
// any amount of text, so the limits are for the whole scan.
#pragma once

#include <cstddef>

#include "tags/tag_set.h"

namespace melorin {

struct TagLimits {
  size_t fields_left = 1024;              ///< Fields that are taken; what follows is passed over.
  size_t inflated_bytes_left = 4u << 20;  ///< What compressed frames may grow to, all together.
};

/// Adds a field that is not there yet.
inline void AddMissing(TagFields& fields, std::string_view name, std::string_view value_utf8) {
  if (!fields.Find(name)) fields.Add(name, value_utf8);
}

}  // namespace melorin
