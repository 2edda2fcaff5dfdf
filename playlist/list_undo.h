// SPDX-License-Identifier: MIT
//
// ListHistory: takes edits of one list back and does them again.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "playlist/list_edit.h"

namespace melorin {

/// The history of one list. It keeps the whole entry array of each step: 4 bytes an entry and 4 for where it
/// went (32-bit), with some for the items that only the history holds; the oldest steps go when all
/// together pass the limit. The newest stays in any case: emptying a very long list is what is missed most.
/// Thread: the UI thread.
class ListHistory {
 public:
  static constexpr size_t kDefaultLimitBytes = 16 << 20;
  explicit ListHistory(size_t limit_bytes = kDefaultLimitBytes) : limit_bytes_(limit_bytes) {}

  /// Keeps an edit under its name for the menu ("排序", "删除选中的文件"). What was undone before cannot be
  /// done again then. An edit that changed nothing is not kept.
  void Add(std::string action_gbk, ListEdit edit);
  /// For changes that were not made by an edit and may not be undone, as loading the list.
  void Clear();

  bool CanUndo() const { return !undo_.empty(); }
  bool CanRedo() const { return !redo_.empty(); }
  /// The names of the steps that Undo and Redo would take; empty when there is none.
  const std::string& UndoAction() const { return NameOfLast(undo_); }
  const std::string& RedoAction() const { return NameOfLast(redo_); }

  /// Makes the list what it was, and says, like any edit, where the entries went (`before` stays here);
  /// nothing when there is no step. A list that has another length than the step left it with was changed
  /// past the history, which then forgets everything.
  std::optional<ListEdit> Undo(Playlist& list) { return Step(list, undo_, redo_); }
  std::optional<ListEdit> Redo(Playlist& list) { return Step(list, redo_, undo_); }

 private:
  struct Kept {
    std::string action_gbk;
    ListEdit edit;
  };
  using Stack = std::deque<Kept>;

  static const std::string& NameOfLast(const Stack& stack);
  static size_t Bytes(const Kept& kept);
  std::optional<ListEdit> Step(Playlist& list, Stack& from, Stack& to);

  size_t limit_bytes_;
  size_t used_bytes_ = 0;
  Stack undo_;
  Stack redo_;
};

}  // namespace melorin
