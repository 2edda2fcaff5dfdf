// SPDX-License-Identifier: MIT
//
// The path rules of playlist files: which entry is absolute, what an entry is called, and how entries below
// the list's folder are shortened. They are rules of the file formats, so they are the Windows rules on every
// build; the host build knows in addition names that begin with a slash, for tools and tests. All names are
// GBK text, whose trail bytes may equal a letter or the backslash: nothing here looks at a trail byte.
// Thread: any.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace melorin {

/// At least three characters, of which the first are a letter and ":", or two backslashes.
bool IsAbsoluteEntry(std::string_view path_gbk);

/// What follows the last separator: the title of an entry without one.
std::string_view EntryFileName(std::string_view path_gbk);

/// The extension of the last component equals `lower` ("cue"), without case.
bool HasExtension(std::string_view path_gbk, std::string_view lower);

/// Shortens entries that lie below a list file's folder.
class RelativeBase {
 public:
  /// Shortens nothing.
  RelativeBase() = default;
  /// `list_path_gbk`: the list file's full path. A path with a double backslash is a network path: from
  /// there nothing is shortened. In the root of a drive, entries keep their leading backslash.
  explicit RelativeBase(std::string_view list_path_gbk);

  /// The entry as it is written: without the base when it begins with it, without case; never empty.
  std::string_view Shorten(std::string_view entry_path_gbk) const;
  std::string_view Base() const { return base_; }

 private:
  std::string base_;
};

}  // namespace melorin
