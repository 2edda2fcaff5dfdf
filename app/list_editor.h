// SPDX-License-Identifier: MIT
//
// ListEditor: the edits of lists as the user makes them, each with its name and a way back. Selection and
// focus follow when the player tells that the list was edited (see ListDesk::OnListEdited).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/list_states.h"
#include "app/player.h"
#include "playlist/list_edit.h"
#include "playlist/list_sort.h"

namespace melorin {

/// What took place; for telling the user, and for tests.
struct EditResult {
  size_t removed = 0;
  size_t inserted = 0;
};

/// All lists must be loaded. Thread: the UI thread.
class ListEditor {
 public:
  ListEditor(Player& player, ListStates& states) : player_(player), states_(states) {}

  void RemoveSelected(const ComPtr<Playlist>& list, const std::u16string& action = u"移除");
  void RemoveAll(const ComPtr<Playlist>& list);
  EditResult RemoveDuplicates(const ComPtr<Playlist>& list);
  /// Those for which `gone` says so.
  EditResult RemoveGone(const ComPtr<Playlist>& list,
                        const std::function<bool(const std::string& path_gbk)>& gone,
                        const std::u16string& action);

  void MoveSelected(const ComPtr<Playlist>& list, size_t before);
  void CopySelected(const ComPtr<Playlist>& list, size_t before);
  /// One place towards the start or the end, as one block.
  void StepSelected(const ComPtr<Playlist>& list, int direction);
  /// They are selected afterwards. `before`: nothing means the end.
  void Insert(const ComPtr<Playlist>& list, std::optional<size_t> before, std::vector<ItemRef> items,
              const std::u16string& action);
  /// The selected entries of one list go to the end of another.
  void SendSelected(const ComPtr<Playlist>& from, const ComPtr<Playlist>& to, bool copy);

  void Sort(const ComPtr<Playlist>& list, SortKey key);
  void Reverse(const ComPtr<Playlist>& list);
  void Shuffle(const ComPtr<Playlist>& list);

  void Undo(const ComPtr<Playlist>& list);
  void Redo(const ComPtr<Playlist>& list);

 private:
  std::vector<size_t> Selected(const ComPtr<Playlist>& list) {
    return states_.Of(list).place.selection.Selected();
  }
  /// After an undo or a redo; nothing: there was no step.
  void DoneAgain(const ComPtr<Playlist>& list, std::optional<ListEdit> edit);
  void Done(const ComPtr<Playlist>& list, ListEdit edit, const std::u16string& action) {
    player_.ListEdited(*list, std::move(edit), action);
  }
  void Select(const ComPtr<Playlist>& list, size_t first, size_t count);

  Player& player_;
  ListStates& states_;
};

}  // namespace melorin
