// SPDX-License-Identifier: MIT
//
// Looking for entries by words.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "playlist/playlist.h"

namespace melorin {

/// What is looked for: words with spaces (of either width) between them. An entry matches when each of them
/// occurs, ASCII letters without case, in its title, its path or its tags Title, Artist and Album; one word
/// may be in one of them and the next in another. No words match nothing.
class ListSearch {
 public:
  explicit ListSearch(std::u16string_view words);
  bool IsEmpty() const { return words_.empty(); }
  bool Matches(const PlayListItem& item) const;

 private:
  struct Word {
    std::string utf8;
    std::string gbk;  ///< Empty when it is malformed.
  };
  std::vector<Word> words_;
};

/// The first match from index `from` on, going on at the top when there is none below. Thread: the UI thread.
std::optional<size_t> FindEntry(const Playlist& list, const ListSearch& search, size_t from);
/// All matches, ascending.
std::vector<size_t> FindEntries(const Playlist& list, const ListSearch& search);

}  // namespace melorin
