// SPDX-License-Identifier: MIT
//
// What the readers of all list formats share: the surroundings of a list file, and the way of an entry into a
// list. The readers are functions of bytes and of these; they touch no file themselves.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "playlist/list_file.h"
#include "playlist/playlist.h"

namespace melorin {

struct ListReading {
  /// The list file's folder. Relative entries are seen from it; the process's current folder is neither used
  /// nor changed.
  std::string folder_gbk;
  /// False for an entry that is to be dropped. None: all are taken.
  std::function<bool(const std::string& path_gbk)> exists;
  SheetReader read_sheet;  ///< None: a ".cue" entry is one entry.
  bool name_only = false;  ///< Stop after the list's name, where the format has one.
  std::function<std::string(const std::string& folder_gbk, const std::string& path_gbk)> full_path =
      FullPathFrom;
};

struct ListReadResult {
  bool recognised = false;  ///< The file is of its format, in a version that is understood.
  bool complete = false;    ///< And was read to its end without a fault.
  size_t entries = 0;       ///< What was appended.
};

/// A file may claim any number of entries: no more are reserved than its bytes can hold.
inline void ReserveEntries(Playlist& list, size_t claimed, size_t bytes, size_t least_bytes_an_entry) {
  list.Reserve(list.Size() + std::min(claimed, bytes / least_bytes_an_entry));
}

/// Reads a file of any list format, by its extension. The list's source and loaded flag are not touched.
/// `options.ignore_bad_files` makes the system be asked about the entries.
ListReadResult ReadListFile(Playlist& list, const std::string& path_gbk, const ListFileOptions& options,
                            bool name_only);

/// Makes a path as it stands in a file a full path.
void ResolveEntry(const ListReading& reading, std::string& path_gbk);

inline bool TakesEntry(const ListReading& reading, const std::string& full_path_gbk) {
  return !reading.exists || reading.exists(full_path_gbk);
}

/// Appends an item for each track of the sheet; returns their number.
size_t AppendSheet(Playlist& list, const std::string& path_gbk, const SheetReader& read_sheet);

/// Gives the item these tags (packed_tags.h), which replace those of the same names that it has.
void AddTags(PlayListItem& item, std::string_view packed_tags);

/// Decimal digits after an optional sign, as far as they go; 0 without any. Too large: the largest number.
int32_t ParseDecimal(std::string_view text);
/// The same without sign, in hexadecimal digits of either case.
uint32_t ParseHexadecimal(std::string_view text);

}  // namespace melorin
