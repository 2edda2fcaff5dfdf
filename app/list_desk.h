// SPDX-License-Identifier: MIT
//
// ListDesk: the playlist window's brain: it carries the commands of lists out and keeps the window's view in
// step with the player. The work is done by its parts: ListEditor (edits), ListShelf (the lists as a whole),
// ListRows (what is shown), FileTasks (many files on the disk).
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/delayed_task.h"
#include "app/dialogs/list_dialogs.h"
#include "app/file_tasks.h"
#include "app/list_editor.h"
#include "app/list_finder.h"
#include "app/list_observer.h"
#include "app/list_rows.h"
#include "app/list_shelf.h"
#include "app/list_states.h"
#include "app/player.h"
#include "ui/command_handler.h"
#include "ui/menu.h"
#include "ui/playlist_window_view.h"

namespace melorin {

/// What the desk needs of the window around its view. Thread: the UI thread.
class ListDeskHost {
 public:
  /// A menu at a point of the window (1x pixels); what is chosen is executed before it returns.
  virtual void ShowListMenu(MenuKind kind, int32_t x, int32_t y) = 0;
  /// Shows the window, and gives it the keyboard.
  virtual void BringListForward() = 0;
  /// The find bar was opened or closed: the edit control goes to PlaylistWindowView::FindBarPlace with its
  /// text selected, or away.
  virtual void FindBarChanged() = 0;

 protected:
  ~ListDeskHost() = default;
};

/// Thread: the UI thread.
class ListDesk final : public CommandHandler,
                       private ListObserver,
                       private PlaylistActions,
                       private ListTabsActions {
 public:
  /// All must outlive the desk. It is the player's list observer as long as it lives.
  ListDesk(Player& player, WindowServices& services, ListDialogs& dialogs, ListDeskHost& host);
  ~ListDesk();
  ListDesk(const ListDesk&) = delete;
  ListDesk& operator=(const ListDesk&) = delete;

  PlaylistWindowView& View() { return view_; }

  // ---- CommandHandler: the commands of lists, and those of the file menu that are about entries

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId command) const override;
  bool IsChecked(CommandId command) const override;

  /// For menus: the lists, which of them is shown, and what can be taken back.
  void FillMenu(MenuSource& source);

  // ---- what the window brings

  /// The settings' titles, font or colours are other ones.
  void SettingsChanged();
  void FindTextChanged(const std::u16string& text);
  /// Return in the find bar plays what was found and closes it.
  void FindAccepted();
  void CloseFind();
  /// Files from elsewhere, at a point of the window (1x pixels): before the row there, or to the list of the
  /// tab there.
  void DropFiles(int32_t x, int32_t y, std::vector<std::u16string> paths);
  /// They are over that point and not dropped yet; nothing: they have left.
  void ShowDropPlace(std::optional<std::pair<int32_t, int32_t>> point);
  /// Ends what is under way on the disk; before the player is closed.
  void Close();

  /// Something is being looked at on the disk.
  bool IsBusy() const { return tasks_.IsBusy(); }

 private:
  // ListObserver
  void OnListEdited(Playlist& list, ListEdit edit, const std::u16string& action) override;
  void OnListsChanged() override;
  void OnInfoRead() override;
  void OnPlayingChanged() override;
  void OnEntryFailed(const ItemRef& item) override;
  void OnPlayFinished() override { shelf_.AdoptShown(); }

  // PlaylistActions
  void PlayEntry(size_t index) override;
  void RemoveSelected() override { Execute(CommandId::kRemoveSelected); }
  void MoveSelected(size_t before, bool copy) override;
  void MoveSelectedToList(size_t tab, bool copy) override;
  void SelectionChanged() override;
  void RowsShown(size_t first, size_t end) override;
  void ShowEntryMenu(int32_t x, int32_t y) override;

  // ListTabsActions
  void ShowTab(size_t tab) override { shelf_.Show(tab); }
  void MoveTab(size_t tab, size_t to) override { shelf_.Move(tab, to); }
  void RenameTab(size_t tab) override { shelf_.Rename(tab); }
  void DeleteTab(size_t tab) override { shelf_.Delete(tab); }
  void NewTab() override { shelf_.NewList(); }
  void ShowTabMenu(size_t tab, int32_t x, int32_t y) override;

  ComPtr<Playlist> List() const { return shelf_.ShownList(); }
  ListSelection& Selection() { return rows_.Place().selection; }
  std::optional<size_t> FocusedEntry();
  /// The tab that a menu is about, else the shown list's.
  size_t TabAtHand() const { return menu_tab_.value_or(shelf_.Shown()); }
  bool ExecuteOnList(CommandId command, const ComPtr<Playlist>& list);
  bool ExecuteOnTabs(CommandId command);

  void AddFiles();
  void AddFolder();
  void Cut();
  bool Copy();  ///< False, and the user is told, when another program holds the clipboard.
  void Paste();
  void RemoveMissingFiles();
  void DeleteFiles();
  void ShowProperties();
  void OpenFolderOfEntry();
  void ReloadInfo();
  void LocatePlaying();
  void OpenFind();
  void FindNext();
  void ShowMatch(std::optional<size_t> match);
  void ReadShown();
  void UpdateInfo();

  Player& player_;
  ListDialogs& dialogs_;
  ListDeskHost& host_;
  ListStates states_;
  ListEditor editor_;
  ListShelf shelf_;
  ListRows rows_;
  ListFinder finder_;
  FileTasks tasks_;
  PlaylistWindowView view_;
  DelayedTask read_shown_;
  DelayedTask update_info_;
  std::optional<size_t> menu_tab_;
  const Playlist* shown_ = nullptr;  ///< What the view shows.
};

}  // namespace melorin
