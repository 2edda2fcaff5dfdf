// SPDX-License-Identifier: MIT
//
// ListShelf: the lists as a whole: which one is shown, new ones, their names, their order, and list files.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "app/dialogs/list_dialogs.h"
#include "app/file_tasks.h"
#include "app/list_states.h"
#include "app/player.h"
#include "app/worker.h"

namespace melorin {

/// Thread: the UI thread.
class ListShelf {
 public:
  ListShelf(Player& player, ListStates& states, ListDialogs& dialogs)
      : player_(player), states_(states), dialogs_(dialogs) {}

  size_t Count() const { return Data().Lists().Size(); }
  size_t Shown() const { return Data().ActiveIndex(); }
  /// Null while the lists are being read.
  ComPtr<Playlist> ShownList() const { return Data().HasLists() ? Data().ActiveList() : ComPtr<Playlist>(); }

  /// Shows the list, once it is read; of several that are asked for the last one. What plays goes on.
  void Show(size_t index);
  /// Calls `use` with the list, once it is read. A list that cannot be read is told.
  void WhenLoaded(size_t index, std::function<void(const ComPtr<Playlist>&)> use);

  void NewList();  ///< Asks for its name, and shows it.
  void Rename(size_t index);
  void Delete(size_t index);  ///< Asks when it has entries.
  void Move(size_t index, size_t to);
  /// List files, each as a list of its own; the last of them is shown.
  void OpenListFiles();
  void SaveListFile(size_t index);

  /// When the playing list was deleted and its last track has ended: what is shown is to be played next.
  void AdoptShown();

 private:
  Session& Data() { return player_.Data(); }
  const Session& Data() const { return player_.Data(); }
  std::u16string FreshName() const;
  void Remove(const ComPtr<Playlist>& list);

  Player& player_;
  ListStates& states_;
  ListDialogs& dialogs_;
  const Playlist* wanted_ = nullptr;  ///< What is to be shown when it is read.
};

}  // namespace melorin
