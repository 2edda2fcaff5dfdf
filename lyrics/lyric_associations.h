// SPDX-License-Identifier: MIT
//
// Which lyric file the user chose for a song; kept across runs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace melorin {

/// A map from a song file (path without case) and subtrack to a lyric file. Thread: one at a time.
class LyricAssociations {
 public:
  /// When it is full, the association that was made first goes.
  static constexpr size_t kMostEntries = 20000;

  /// The lyric file's path, empty when there is none.
  std::string Find(std::string_view song_path_gbk, uint32_t subtrack) const;
  /// An empty lyric path removes the association.
  void Set(std::string_view song_path_gbk, uint32_t subtrack, std::string lyric_path_gbk);
  bool Remove(std::string_view song_path_gbk, uint32_t subtrack);
  size_t Size() const { return entries_.size(); }

  /// False when there is no such file or it is not ours; then nothing is changed. Entries that are not
  /// understood are skipped.
  bool Load(const std::string& path_gbk);
  /// Beside its place and swapped in; false leaves the old file. A file there that Load would not take is
  /// kept aside first (KeepAside of doc/settings.h).
  bool Save(const std::string& path_gbk) const;

 private:
  struct Entry {
    std::string song_path_gbk;  ///< As it was given.
    uint32_t subtrack = 0;
    std::string lyric_path_gbk;
    uint64_t order = 0;  ///< Rises from entry to entry.
  };
  std::unordered_map<std::string, Entry> entries_;  ///< By folded path and subtrack.
  uint64_t last_order_ = 0;
};

/// "melorin-lyrics.xml" in the data folder (doc/settings_location.h).
std::string LyricAssociationsPath(const std::string& data_folder_gbk);

}  // namespace melorin
