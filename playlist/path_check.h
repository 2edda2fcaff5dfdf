// SPDX-License-Identifier: MIT
//
// Answers for many paths whether a file is there, asking the system once for each folder: on a network drive,
// or for files that are missing, asking for each file takes a fraction of a millisecond every time. What was
// learnt is kept for the life of the object, which is the reading of one list. Thread: one.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/file.h"

namespace melorin {

class PathCheck {
 public:
  struct System {
    std::function<std::vector<DirectoryEntry>(const std::string& folder_gbk)> list_directory = ListDirectory;
    std::function<bool(const std::string& path_gbk)> file_exists = FileExists;
    bool ignores_case = kPathSeparator == '\\';
  };

  PathCheck() = default;
  explicit PathCheck(System system) : system_(std::move(system)) {}

  /// True for a file, false for a folder and for what is missing. `full_path_gbk` must be a full path.
  bool IsFile(const std::string& full_path_gbk);

 private:
  struct Folder {
    bool listed = false;
    std::unordered_set<std::string> files;  ///< Folded as FoldName does.
  };

  bool IsListedFile(Folder& folder, const std::string& folder_path, std::string_view name,
                    const std::string& full_path);

  System system_;
  std::unordered_map<std::string, Folder> folders_;
  std::string last_folder_path_;  ///< Lists go through a folder file by file.
  Folder* last_folder_ = nullptr;
};

/// Lowers what the file system lowers, as far as code page 936 holds both cases: ASCII, full-width and Greek
/// and Cyrillic letters, and Roman numerals. Clears `exact` when the name has characters of which only the
/// system knows the case.
std::string FoldName(std::string_view name_gbk, bool& exact);

}  // namespace melorin
