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
  /// The lyric file's path, empty when there is none.
  std::string Find(std::string_view song_path_gbk, uint32_t subtrack) const;
  void Set(std::string_view song_path_gbk, uint32_t subtrack, std::string lyric_path_gbk);
  bool Remove(std::string_view song_path_gbk, uint32_t subtrack);
  size_t Size() const { return entries_.size(); }

  /// False when there is no such file or it is not ours; then nothing is changed.
  bool Load(const std::string& path_gbk);
  /// Beside its place and swapped in; false leaves the old file.
  bool Save(const std::string& path_gbk) const;

 private:
  struct Entry {
    std::string song_path_gbk;  ///< As it was given.
    uint32_t subtrack = 0;
    std::string lyric_path_gbk;
  };
  std::unordered_map<std::string, Entry> entries_;  ///< By folded path and subtrack.
};

}  // namespace melorin
