// SPDX-License-Identifier: MIT
//
// ListStates: what the user has done in each list: selection, focus and scroll position, and the edits that
// can be taken back.
#pragma once

#include <map>

#include "platform/com_ptr.h"
#include "playlist/list_undo.h"
#include "playlist/playlist.h"
#include "ui/playlist_view.h"

namespace melorin {

struct ListState {
  ComPtr<Playlist> list;  ///< Held, so that no other list gets its address.
  PlaylistPlace place;
  ListHistory history;
};

/// Thread: the UI thread.
class ListStates {
 public:
  /// Made when it is first asked for. Valid until Forget.
  ListState& Of(const ComPtr<Playlist>& list) {
    ListState& state = states_[list.get()];
    if (!state.list) {
      state.list = list;
      state.place.selection.SetCount(list->Size());
    }
    return state;
  }
  /// Null for a list that nobody has looked at.
  ListState* Find(const Playlist& list) {
    const auto found = states_.find(&list);
    return found == states_.end() ? nullptr : &found->second;
  }
  const ListState* Find(const Playlist& list) const {
    const auto found = states_.find(&list);
    return found == states_.end() ? nullptr : &found->second;
  }
  void Forget(const Playlist& list) { states_.erase(&list); }

 private:
  std::map<const Playlist*, ListState> states_;
};

}  // namespace melorin
