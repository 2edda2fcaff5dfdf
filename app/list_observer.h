// SPDX-License-Identifier: MIT
//
// ListObserver: hears of everything that changes what the playlist window shows.
#pragma once

#include <string>

#include "playlist/list_edit.h"
#include "playlist/play_list_item.h"
#include "playlist/playlist.h"

namespace melorin {

/// Thread: the UI thread.
class ListObserver {
 public:
  /// Entries of that list came, went or moved. `action`: what it is called when it is to be taken back; empty
  /// for what is no step of its own.
  virtual void OnListEdited(Playlist& list, ListEdit edit, const std::u16string& action) = 0;
  /// The lists are there, or another one is shown.
  virtual void OnListsChanged() = 0;
  /// More is known of some entries.
  virtual void OnInfoRead() = 0;
  /// Another entry plays, or none.
  virtual void OnPlayingChanged() = 0;
  virtual void OnEntryFailed(const ItemRef& item) = 0;
  /// Nothing follows by itself.
  virtual void OnPlayFinished() = 0;

 protected:
  ~ListObserver() = default;
};

}  // namespace melorin
