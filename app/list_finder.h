// SPDX-License-Identifier: MIT
//
// ListFinder: what is looked for in the shown list while it is typed. Thread: the UI thread.
#pragma once

#include <optional>
#include <string>

#include "playlist/list_find.h"
#include "playlist/playlist.h"

namespace melorin {

class ListFinder {
 public:
  bool IsOpen() const { return open_; }
  void Open() { open_ = true; }
  void Close() { open_ = false; }
  /// The words stay for FindNext after the find bar is closed.
  bool HasWords() const { return !search_.IsEmpty(); }

  /// The first match at or behind `from`; nothing when there is none.
  std::optional<size_t> SetWords(const Playlist& list, const std::u16string& words, size_t from) {
    search_ = ListSearch(words);
    return search_.IsEmpty() ? std::nullopt : FindEntry(list, search_, from);
  }
  /// The first match behind `after`, going on at the top.
  std::optional<size_t> Next(const Playlist& list, std::optional<size_t> after) const {
    return search_.IsEmpty() ? std::nullopt : FindEntry(list, search_, after ? *after + 1 : 0);
  }

 private:
  ListSearch search_{u""};
  bool open_ = false;
};

}  // namespace melorin
