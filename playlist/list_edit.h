// SPDX-License-Identifier: MIT
//
// Changes of a list's entries as plain functions: removing, moving and inserting entries, duplicates, missing
// files. list_sort.h has those that reorder the whole list, list_undo.h takes them back.
//
// Each returns a ListEdit. When it Changed(), the caller
//   - gives every index that it keeps (the playing entry, the selection, the focus) to NewIndex and keeps the
//     answer; nothing means that the entry is gone,
//   - calls RandomOrder::Reset when the list is the playing one: the random order holds indexes,
//   - hands the edit to the list's ListHistory, or drops it where there is nothing to take back.
//
// Nothing here touches files but through the caller's functions. Throws std::bad_alloc only, and then the
// list is as it was. Thread: the UI thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "playlist/playlist.h"

namespace melorin {

/// What an edit did.
struct ListEdit {
  static constexpr uint32_t kGone = 0xFFFFFFFF;

  std::vector<ItemRef> before;     ///< The entries as they were; empty when nothing changed.
  std::vector<uint32_t> moved_to;  ///< For every entry of `before` its new index, or kGone.
  size_t count_after = 0;
  size_t removed = 0;
  size_t inserted = 0;

  bool Changed() const { return !moved_to.empty() || inserted != 0; }
  /// Where an entry is now. Nothing when it is gone (or there was none).
  std::optional<size_t> NewIndex(std::optional<size_t> old_index) const;
  /// The new index of the first entry behind it that is still there: what is to be played when the playing
  /// entry is gone. Nothing at the end of the list.
  std::optional<size_t> NewIndexOfNext(size_t old_index) const;
};

/// The entries at these indexes in the list's order; for the clipboard. Selections may be in any order, name
/// an index twice and reach outside the list, here and below.
std::vector<ItemRef> EntriesAt(const Playlist& list, std::span<const size_t> selection);

ListEdit RemoveEntries(Playlist& list, std::span<const size_t> selection);
/// Puts the entries, in their order, before the entry that is at `before` now; at the end when that is
/// outside.
ListEdit MoveEntries(Playlist& list, std::span<const size_t> selection, size_t before);
/// At the end when `before` is outside.
ListEdit InsertEntries(Playlist& list, size_t before, std::vector<ItemRef> items);

enum class DuplicateRule {
  kSameItem,        ///< The same file and subtrack.
  kSameItemOrSong,  ///< Also the same title and artist, without case, that last the same number of seconds.
};
/// Keeps the first of each. For a removed entry of the same item NewIndex gives the one that was kept.
/// Entries of which title, artist or duration is not known are never taken for the same song.
ListEdit RemoveDuplicates(Playlist& list, DuplicateRule rule);

/// Removes the entries of which `exists` says no. It is asked once for neighbours of one path.
ListEdit RemoveMissing(Playlist& list, const std::function<bool(const std::string& path_gbk)>& exists);

/// For new edits: puts the entries into the order that `order` names by their old indexes. Each index may
/// occur once; those that do not occur are removed.
ListEdit ApplyOrder(Playlist& list, std::span<const uint32_t> order);

}  // namespace melorin
