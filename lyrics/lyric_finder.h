// SPDX-License-Identifier: MIT
//
// LyricFinder: the lyric file for a song.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "lyrics/lyric_associations.h"
#include "playlist/play_list_item.h"

namespace melorin {

struct LyricMatch {
  int score = 0;         ///< 0: nothing. 9: certain; what the user associated counts as certain.
  std::string path_gbk;  ///< Empty: nothing.
};

struct LyricSearch {
  /// In order; entries may be the two reserved ones of doc/settings.h.
  std::vector<std::string> folders_gbk;
  std::string download_folder_gbk;  ///< The setting "DownLoadFolder"; empty: that entry is skipped.
};

/// Remembers what the search folders hold, so that a folder of thousands of files is not read and rated for
/// every song. Slow at the first search of a folder: it reads the disk. Thread: one at a time, not the UI
/// thread.
class LyricFinder {
 public:
  explicit LyricFinder(const LyricAssociations& associations);
  ~LyricFinder();
  LyricFinder(const LyricFinder&) = delete;
  LyricFinder& operator=(const LyricFinder&) = delete;

  LyricMatch Find(const PlayListItem& item, const LyricSearch& search);
  /// Forgets what it knows of the folders.
  void Forget();

 private:
  struct Index;
  const LyricAssociations& associations_;
  std::unique_ptr<Index> index_;
};

}  // namespace melorin
