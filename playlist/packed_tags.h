// SPDX-License-Identifier: MIT
//
// Tags in one block of bytes, as items keep them: for each tag a number that stands for a usual name (or 0
// and the name itself), then the value; lengths are written in groups of 7 bits, the lowest first, a set top
// bit meaning that more follow. Only for memory: blocks never leave the process, so reading them trusts them.
#pragma once

#include <string>
#include <string_view>

#include "tags/tag_set.h"

namespace melorin {

/// Exactly as large as it needs to be.
std::string PackTags(const TagFields& tags);
TagFields UnpackTags(std::string_view packed);
/// Appends one tag to a block, without looking whether there is one of that name. An empty name is ignored.
void AppendPackedTag(std::string& packed, std::string_view name, std::string_view value_utf8);

/// Walks over a block. Views are valid as long as the block is.
class PackedTagReader {
 public:
  explicit PackedTagReader(std::string_view packed) : rest_(packed) {}
  bool Next();  ///< False past the last.
  std::string_view Name() const { return name_; }
  std::string_view Value() const { return value_; }

 private:
  std::string_view TakeText();

  std::string_view rest_;
  std::string_view name_;
  std::string_view value_;
};

}  // namespace melorin
