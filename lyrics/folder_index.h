// SPDX-License-Identifier: MIT
//
// What search folders hold: names of lyric files and of subfolders, read from the disk once and again when a
// folder changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/file.h"

namespace melorin {

/// Files that are rated: ".lrc" and ".txt".
bool IsLyricFileName(std::string_view name_gbk);

/// One folder. Never changes but for the keys, which are made when they are first asked for.
class ListedFolder {
 public:
  /// Entries of any kind that are read; what a folder holds beyond them is not seen.
  static constexpr size_t kMostEntries = 100000;

  explicit ListedFolder(std::string path_gbk);

  const std::string& PathGbk() const { return path_gbk_; }
  const FolderIdentity& Identity() const { return identity_; }
  size_t Entries() const { return entries_; }
  /// Names of lyric files and of subfolders, in the file system's order.
  const std::vector<std::string>& Lyrics() const { return lyrics_; }
  const std::vector<std::string>& Subfolders() const { return subfolders_; }
  /// A lyric file of that name, compared as the file system does (ASCII letters without case on Windows).
  bool Has(std::string_view name_gbk) const;
  /// Those of Lyrics() that share one of these keys (name_similarity.h), ascending; without ".txt" files
  /// beside an ".lrc" of the same name.
  std::vector<uint32_t> Candidates(const std::vector<uint32_t>& lookup_keys) const;

  /// Whether it is still as it was read; false as well when that cannot be told.
  bool IsCurrent(int64_t stamp_us, int64_t now_us) const;

 private:
  struct KeyedFile {
    uint32_t key;
    uint32_t file;
    bool operator<(const KeyedFile& other) const {
      return key != other.key ? key < other.key : file < other.file;
    }
  };
  void MakeKeys() const;

  std::string path_gbk_;
  int64_t stamp_us_ = 0;
  int64_t listed_us_ = 0;
  FolderIdentity identity_;
  size_t entries_ = 0;
  std::vector<std::string> lyrics_;
  std::vector<std::string> subfolders_;
  std::vector<KeyedFile> names_;  ///< By a hash of the name.
  mutable std::vector<KeyedFile> keys_;
  mutable bool has_keys_ = false;
};

/// Thread: one at a time.
class FolderIndex {
 public:
  /// Lyric files that are remembered; then the folders are forgotten that were not used for longest.
  static constexpr size_t kMostFiles = 200000;

  /// As it is on the disk now. Null when there is no such folder.
  std::shared_ptr<const ListedFolder> Open(const std::string& path_gbk);
  void Forget(const std::string& path_gbk);
  void Clear();

 private:
  struct Slot {
    std::shared_ptr<const ListedFolder> folder;
    uint64_t last_use = 0;
  };
  void MakeRoom();

  std::unordered_map<std::string, Slot> folders_;
  size_t files_ = 0;
  uint64_t uses_ = 0;
};

}  // namespace melorin
