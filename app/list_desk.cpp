// SPDX-License-Identifier: MIT
#include "app/list_desk.h"

#include <shellapi.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "app/list_clipboard.h"
#include "app/player_text.h"
#include "platform/text.h"

namespace melorin {
namespace {

using Id = CommandId;

/// The view has come to rest when no other rows were shown for so long.
constexpr uint32_t kRestMs = 100;
/// Adding up 100,000 durations is not done for every key.
constexpr uint32_t kInfoMs = 60;
constexpr int32_t kMostLists = 1000;

int32_t ShownListOf(Id command) {
  return OffsetFrom(command, Id::kShowListFirst, kMostLists);
}
int32_t TargetListOf(Id command) {
  return OffsetFrom(command, Id::kCopyToListFirst, kMostLists);
}

std::optional<SortKey> SortKeyOf(Id command) {
  switch (command) {
    case Id::kSortTitle:
      return SortKey::kTitle;
    case Id::kSortArtist:
      return SortKey::kArtist;
    case Id::kSortAlbum:
      return SortKey::kAlbum;
    case Id::kSortPath:
      return SortKey::kPath;
    case Id::kSortDuration:
      return SortKey::kDuration;
    case Id::kSortTrackNumber:
      return SortKey::kTrackNumber;
    default:
      return std::nullopt;
  }
}

std::vector<std::string> PathsOf(const std::vector<ItemRef>& items) {
  std::vector<std::string> paths;
  std::unordered_set<std::string_view> seen;
  for (const ItemRef& item : items)
    if (seen.insert(item->PathGbk()).second) paths.push_back(item->PathGbk());
  return paths;
}

std::u16string Number(size_t number) {
  return ToText(static_cast<uint32_t>(number));
}

}  // namespace

ListDesk::ListDesk(Player& player, WindowServices& services, ListDialogs& dialogs, ListDeskHost& host)
    : player_(player),
      dialogs_(dialogs),
      host_(host),
      editor_(player, states_),
      shelf_(player, states_, dialogs),
      rows_(player, states_),
      tasks_([this](std::function<void()> task) { player_.PostToUi(std::move(task)); }),
      view_({rows_, *this, rows_, *this, services}),
      read_shown_([this] { ReadShown(); }),
      update_info_([this] { UpdateInfo(); }) {
  player_.SetListObserver(this);
  SettingsChanged();
  OnListsChanged();
}

ListDesk::~ListDesk() {
  player_.SetListObserver(nullptr);
  Close();
}

void ListDesk::Close() {
  tasks_.Stop();
  read_shown_.Cancel();
  update_info_.Cancel();
}

// ---- commands

bool ListDesk::Handles(Id command) const {
  const auto id = static_cast<int32_t>(command);
  const bool of_lists =
      id >= static_cast<int32_t>(Id::kAddFiles) && id <= static_cast<int32_t>(Id::kPreviousList);
  return of_lists || command == Id::kFileProperties || command == Id::kLocateInList ||
         command == Id::kFindInList || ShownListOf(command) >= 0 || TargetListOf(command) >= 0;
}

bool ListDesk::IsEnabled(Id command) const {
  const ComPtr<Playlist> list = List();
  if (!list) return false;
  const ListState* state = states_.Find(*list);
  const ListSelection nothing;
  const ListSelection& selection = state ? state->place.selection : nothing;
  const auto count = static_cast<int32_t>(shelf_.Count());
  if (ShownListOf(command) >= 0) return ShownListOf(command) < count;
  if (TargetListOf(command) >= 0) return TargetListOf(command) < count && selection.SelectedCount() > 0;
  switch (command) {
    case Id::kRemoveSelected:
    case Id::kDeleteFiles:
      return selection.SelectedCount() > 0 &&
             (command != Id::kDeleteFiles ||
              (player_.Data().Values().play_list.disable_del_file == 0 && !tasks_.IsBusy()));
    case Id::kPlaySelected:
    case Id::kOpenFileFolder:
      return selection.SelectedCount() > 0 || selection.Focus();
    case Id::kCut:
    case Id::kCopy:
    case Id::kReloadInfo:
    case Id::kMoveSelectedUp:
    case Id::kMoveSelectedDown:
    case Id::kSelectNone:
      return selection.SelectedCount() > 0;
    case Id::kFileProperties:
      return selection.SelectedCount() > 0 || selection.Focus() || player_.Control().HasTrack();
    case Id::kRemoveAll:
    case Id::kRemoveDuplicates:
    case Id::kSelectAll:
    case Id::kSelectInverse:
    case Id::kFindInList:
      return !list->IsEmpty();
    case Id::kRemoveMissing:
      return !list->IsEmpty() && !tasks_.IsBusy();
    case Id::kSortTitle:
    case Id::kSortArtist:
    case Id::kSortAlbum:
    case Id::kSortPath:
    case Id::kSortDuration:
    case Id::kSortTrackNumber:
    case Id::kReverseList:
    case Id::kShuffleList:
      return list->Size() > 1;
    case Id::kPaste:
      return ClipboardHasEntries();
    case Id::kUndo:
      return state && state->history.CanUndo();
    case Id::kRedo:
      return state && state->history.CanRedo();
    case Id::kFindNext:
      return finder_.HasWords() && !list->IsEmpty();
    case Id::kLocateInList:
      return player_.Control().PlayingIndex() &&
             player_.Data().IndexOf(player_.Control().PlayingList().get()).has_value();
    case Id::kNextList:
    case Id::kPreviousList:
      return count > 1;
    default:
      return true;
  }
}

bool ListDesk::IsChecked(Id command) const {
  return ShownListOf(command) >= 0 && static_cast<size_t>(ShownListOf(command)) == shelf_.Shown();
}

void ListDesk::Execute(Id command) {
  const ComPtr<Playlist> list = List();
  if (!list || ExecuteOnTabs(command) || ExecuteOnList(command, list)) return;
  switch (command) {
    case Id::kAddFiles:
      AddFiles();
      break;
    case Id::kAddFolder:
      AddFolder();
      break;
    case Id::kAddList:
      player_.AddTo(list, dialogs_.AskForListFiles(), std::nullopt);
      break;
    case Id::kPlaySelected:
      if (const auto index = FocusedEntry()) PlayEntry(*index);
      break;
    case Id::kRemoveMissing:
      RemoveMissingFiles();
      break;
    case Id::kDeleteFiles:
      DeleteFiles();
      break;
    case Id::kCut:
      Cut();
      break;
    case Id::kCopy:
      Copy();
      break;
    case Id::kPaste:
      Paste();
      break;
    case Id::kFileProperties:
      ShowProperties();
      break;
    case Id::kOpenFileFolder:
      OpenFolderOfEntry();
      break;
    case Id::kReloadInfo:
      ReloadInfo();
      break;
    case Id::kLocateInList:
      LocatePlaying();
      break;
    case Id::kFindInList:
      OpenFind();
      break;
    case Id::kFindNext:
      FindNext();
      break;
    default:
      break;
  }
}

bool ListDesk::ExecuteOnTabs(Id command) {
  if (const int32_t shown = ShownListOf(command); shown >= 0) {
    shelf_.Show(static_cast<size_t>(shown));
    return true;
  }
  if (const int32_t target = TargetListOf(command); target >= 0) {
    MoveSelectedToList(static_cast<size_t>(target), true);
    return true;
  }
  const size_t count = shelf_.Count();
  switch (command) {
    case Id::kNewList:
      shelf_.NewList();
      return true;
    case Id::kRenameList:
      shelf_.Rename(TabAtHand());
      return true;
    case Id::kDeleteList:
      shelf_.Delete(TabAtHand());
      return true;
    case Id::kSaveList:
      shelf_.SaveListFile(TabAtHand());
      return true;
    case Id::kOpenList:
      shelf_.OpenListFiles();
      return true;
    case Id::kNextList:
      shelf_.Show((shelf_.Shown() + 1) % count);
      return true;
    case Id::kPreviousList:
      shelf_.Show((shelf_.Shown() + count - 1) % count);
      return true;
    default:
      return false;
  }
}

bool ListDesk::ExecuteOnList(Id command, const ComPtr<Playlist>& list) {
  if (const auto key = SortKeyOf(command)) {
    editor_.Sort(list, *key);
    return true;
  }
  ListSelection& selection = Selection();
  switch (command) {
    case Id::kRemoveSelected:
      editor_.RemoveSelected(list);
      return true;
    case Id::kRemoveAll:
      editor_.RemoveAll(list);
      return true;
    case Id::kRemoveDuplicates: {
      const size_t removed = editor_.RemoveDuplicates(list).removed;
      player_.Tell(removed == 0 ? std::u16string(u"没有重复的曲目")
                                : u"已移除 " + Number(removed) + u" 首重复的曲目");
      return true;
    }
    case Id::kMoveSelectedUp:
      editor_.StepSelected(list, -1);
      break;
    case Id::kMoveSelectedDown:
      editor_.StepSelected(list, 1);
      break;
    case Id::kReverseList:
      editor_.Reverse(list);
      return true;
    case Id::kShuffleList:
      editor_.Shuffle(list);
      return true;
    case Id::kUndo:
      editor_.Undo(list);
      break;
    case Id::kRedo:
      editor_.Redo(list);
      break;
    case Id::kSelectAll:
      selection.SelectAll();
      break;
    case Id::kSelectNone:
      selection.SelectNone();
      break;
    case Id::kSelectInverse:
      selection.SelectInverse();
      break;
    default:
      return false;
  }
  if (view_.Rows() && selection.Focus() &&
      (command == Id::kMoveSelectedUp || command == Id::kMoveSelectedDown || command == Id::kUndo ||
       command == Id::kRedo))
    view_.Rows()->Reveal(*selection.Focus());
  view_.SelectionChanged();
  SelectionChanged();
  return true;
}

void ListDesk::FillMenu(MenuSource& source) {
  source.lists.clear();
  for (size_t i = 0; i < shelf_.Count(); ++i)
    source.lists.push_back(Utf16FromGbk(rows_.TabNameGbk(i)));
  source.shown_list = shelf_.Shown();
  const ComPtr<Playlist> list = List();
  const ListState* state = list ? states_.Find(*list) : nullptr;
  source.undo_action = state ? Utf16FromGbk(state->history.UndoAction()) : std::u16string();
  source.redo_action = state ? Utf16FromGbk(state->history.RedoAction()) : std::u16string();
}

// ---- entries come and go

std::optional<size_t> ListDesk::FocusedEntry() {
  const ListSelection& selection = Selection();
  const auto focus = selection.Focus();
  if (focus && (selection.IsSelected(*focus) || selection.SelectedCount() == 0)) return focus;
  const std::vector<size_t> selected = selection.Selected();
  return selected.empty() ? focus : std::optional(selected.front());
}

void ListDesk::PlayEntry(size_t index) {
  const ComPtr<Playlist> list = List();
  if (!list || index >= list->Size()) return;
  PlayerControl& control = player_.Control();
  if (control.PlayingList().get() != list.get()) control.SetPlayingList(list, std::nullopt);
  control.OpenEntry(index);
}

void ListDesk::MoveSelected(size_t before, bool copy) {
  const ComPtr<Playlist> list = List();
  if (!list) return;
  if (copy) {
    editor_.CopySelected(list, before);
  } else {
    editor_.MoveSelected(list, before);
  }
}

void ListDesk::MoveSelectedToList(size_t tab, bool copy) {
  const ComPtr<Playlist> from = List();
  if (!from || tab == shelf_.Shown()) return;
  shelf_.WhenLoaded(tab, [this, from, copy](const ComPtr<Playlist>& to) {
    const size_t count = states_.Of(from).place.selection.SelectedCount();
    editor_.SendSelected(from, to, copy);
    player_.Tell((copy ? u"已复制 " : u"已移动 ") + Number(count) + u" 首到“" + Utf16FromGbk(to->NameGbk()) +
                 u"”");
  });
}

void ListDesk::AddFiles() {
  player_.AddTo(List(), dialogs_.AskForFiles(), std::nullopt);
  player_.SaveSoon();
}

void ListDesk::AddFolder() {
  const auto folder = dialogs_.AskForFolder();
  if (!folder) return;
  player_.AddTo(List(), {*folder}, std::nullopt, player_.Data().Values().history.check_sub_folder != 0);
  player_.SaveSoon();
}

void ListDesk::DropFiles(int32_t x, int32_t y, std::vector<std::u16string> paths) {
  ShowDropPlace(std::nullopt);
  const ComPtr<Playlist> list = List();
  if (!list) {
    // The lists are still being read; what is added waits for them.
    CommandLine line;
    line.dropped = line.add = true;
    line.paths = std::move(paths);
    player_.Execute(std::move(line));
    return;
  }
  const auto tab = view_.Tabs() ? view_.Tabs()->TabAt(x, y) : std::nullopt;
  if (tab && *tab != shelf_.Shown()) {
    shelf_.WhenLoaded(*tab, [this, paths = std::move(paths)](const ComPtr<Playlist>& to) {
      player_.AddTo(to, paths, std::nullopt);
    });
    return;
  }
  std::optional<size_t> before;
  if (view_.Rows() && Contains(view_.Rows()->Place(), x, y)) before = view_.Rows()->InsertIndexAt(y);
  player_.AddTo(list, std::move(paths), before);
}

void ListDesk::ShowDropPlace(std::optional<std::pair<int32_t, int32_t>> point) {
  if (!view_.Rows() || !view_.Tabs()) return;
  const bool on_rows = point && Contains(view_.Rows()->Place(), point->first, point->second);
  view_.Rows()->HoldFiles(on_rows ? std::optional(Pointer{point->first, point->second}) : std::nullopt);
  if (point) {
    view_.Tabs()->DragEntriesOver(point->first, point->second);
  } else {
    view_.Tabs()->EndEntryDrag();
  }
}

// ---- the clipboard

bool ListDesk::Copy() {
  const std::vector<ItemRef> items = EntriesAt(*List(), Selection().Selected());
  const TitleSettings titles = player_.Data().Titles();
  std::u16string text;
  for (const ItemRef& item : items)
    text += EntryTitle(*item, titles) + u"\r\n";
  if (PutOnClipboard(dialogs_.Owner(), items, text)) return true;
  player_.Report(u"剪贴板正被其他程序使用");
  return false;
}

void ListDesk::Cut() {
  // What could not be put on the clipboard stays.
  if (!Copy()) return;
  editor_.RemoveSelected(List(), u"剪切");
}

void ListDesk::Paste() {
  ClipboardEntries entries = TakeFromClipboard(dialogs_.Owner());
  // Behind the last selected entry, so that pasting twice goes on where it was.
  const std::vector<size_t> selected = Selection().Selected();
  const std::optional<size_t> before = selected.empty() ? std::nullopt : std::optional(selected.back() + 1);
  if (!entries.items.empty()) {
    editor_.Insert(List(), before, std::move(entries.items), u"粘贴");
    view_.SelectionChanged();
    SelectionChanged();
  } else {
    player_.AddTo(List(), std::move(entries.paths), before);
  }
}

// ---- files on the disk

void ListDesk::RemoveMissingFiles() {
  ComPtr<Playlist> list = List();
  std::vector<std::string> paths = PathsOf(list->Items());
  const bool started =
      tasks_.FindMissing(std::move(paths), [this, list = std::move(list)](const FileTasks::PathSet& missing) {
        const auto gone = [&](const std::string& path) { return missing.contains(path); };
        const size_t removed = editor_.RemoveGone(list, gone, u"移除失效曲目").removed;
        player_.Tell(removed == 0 ? std::u16string(u"没有失效的曲目")
                                  : u"已移除 " + Number(removed) + u" 首失效的曲目");
      });
  if (started) player_.Tell(u"正在检查文件…");
}

void ListDesk::DeleteFiles() {
  const ComPtr<Playlist> list = List();
  const std::vector<ItemRef> items = EntriesAt(*list, Selection().Selected());
  std::vector<std::string> paths = PathsOf(items);
  if (paths.empty()) return;
  const std::u16string what = paths.size() == 1
                                  ? u"“" + std::u16string(FileNameOf(Utf16FromGbk(paths.front()))) + u"”"
                                  : u"选中的 " + Number(paths.size()) + u" 个文件";
  if (!dialogs_.Confirm(u"将" + what + u"从磁盘移到回收站？")) return;
  // A file that is open cannot be moved, be it stopped.
  PlayerControl& control = player_.Control();
  ItemRef played;
  const uint32_t position_ms = control.PositionMs();
  if (control.HasTrack() && std::find(paths.begin(), paths.end(), control.Item()->PathGbk()) != paths.end()) {
    if (control.State() == PlayState::kPlaying) played = control.Item();
    control.LetGo();
  }
  const size_t count = paths.size();
  tasks_.Recycle(std::move(paths), [this, list, count, played, position_ms](const FileTasks::PathSet& gone) {
    editor_.RemoveGone(
        list, [&](const std::string& path) { return gone.contains(path); }, u"删除文件");
    // Unless the user has begun with something else meanwhile.
    if (played && !player_.Control().HasTrack()) {
      if (gone.contains(played->PathGbk())) {
        player_.Control().Next();
      } else {
        player_.Control().Play();
        player_.Control().Seek(position_ms);
      }
    }
    if (gone.size() == count) {
      player_.Tell(u"已删除 " + Number(count) + u" 个文件");
    } else {
      player_.Report(Number(count - gone.size()) + u" 个文件无法删除");
    }
  });
}

void ListDesk::ShowProperties() {
  const auto index = FocusedEntry();
  if (index) {
    dialogs_.ShowProperties(List()->At(*index));
  } else if (player_.Control().HasTrack()) {
    dialogs_.ShowProperties(ItemRef(player_.Control().Item()));
  }
}

void ListDesk::OpenFolderOfEntry() {
  const auto index = FocusedEntry();
  if (!index) return;
  // The program, not the function of the shell: that one looks at the disk before it returns.
  const std::u16string arguments = u"/select,\"" + Utf16FromGbk(List()->At(*index)->PathGbk()) + u"\"";
  ShellExecuteW(dialogs_.Owner(), nullptr, L"explorer.exe", AsWide(arguments.c_str()), nullptr,
                SW_SHOWNORMAL);
}

void ListDesk::ReloadInfo() {
  player_.ReadInfoAgain(EntriesAt(*List(), Selection().Selected()));
}

// ---- finding

void ListDesk::LocatePlaying() {
  const PlayerControl& control = player_.Control();
  const auto tab = player_.Data().IndexOf(control.PlayingList().get());
  if (!tab) return;
  host_.BringListForward();
  shelf_.Show(*tab);
  const auto index = control.PlayingIndex();
  if (!index || control.PlayingList().get() != List().get()) return;
  ShowMatch(index);
}

void ListDesk::OpenFind() {
  host_.BringListForward();
  finder_.Open();
  view_.SetFindOpen(true);
  host_.FindBarChanged();
}

void ListDesk::CloseFind() {
  if (!finder_.IsOpen()) return;
  finder_.Close();
  view_.SetFindOpen(false);
  host_.FindBarChanged();
}

void ListDesk::FindTextChanged(const std::u16string& text) {
  const ComPtr<Playlist> list = List();
  if (!list) return;
  const auto match = finder_.SetWords(*list, text, Selection().Focus().value_or(0));
  if (match) ShowMatch(match);
  view_.SetFindResult(match || !finder_.HasWords() ? std::string() : GbkFromUtf16(u"没有找到"));
}

void ListDesk::FindNext() {
  const auto match = finder_.Next(*List(), Selection().Focus());
  ShowMatch(match);
  view_.SetFindResult(match ? std::string() : GbkFromUtf16(u"没有找到"));
}

void ListDesk::FindAccepted() {
  const ComPtr<Playlist> list = List();
  const auto index = Selection().Focus();
  // What has the focus is the match, unless nothing was found.
  const bool found = list && index && finder_.HasWords() &&
                     finder_.Next(*list, *index == 0 ? std::nullopt : std::optional(*index - 1)) == index;
  CloseFind();
  if (found) PlayEntry(*index);
}

void ListDesk::ShowMatch(std::optional<size_t> match) {
  if (!match) return;
  Selection().SelectOnly(*match);
  if (view_.Rows()) view_.Rows()->Reveal(*match);
  view_.SelectionChanged();
  SelectionChanged();
}

// ---- what the player tells

void ListDesk::SettingsChanged() {
  rows_.Update();
  view_.SetLook(player_.Data().Values().play_list);
  view_.SetToolbarShown(player_.Data().Values().general.menu_bar_play_list != 0);
  view_.EntriesChanged();
}

void ListDesk::OnListEdited(Playlist& list, ListEdit edit, const std::u16string& action) {
  // Lists that were never shown have no selection, but what is done to them can be taken back.
  const auto index = player_.Data().IndexOf(&list);
  if (!index) return;
  ListState* state = states_.Find(list);
  if (state) {
    state->place.selection.Apply(edit);
  } else {
    state = &states_.Of(player_.Data().Lists().At(*index));
  }
  if (!action.empty()) state->history.Add(GbkFromUtf16(action), std::move(edit));
  if (&list != List().get()) return;
  view_.ListChanged();
  update_info_.Start(0);
}

void ListDesk::OnListsChanged() {
  view_.TabsChanged();
  const ComPtr<Playlist> list = List();
  if (list.get() != shown_) {
    shown_ = list.get();
    view_.ListChanged();
  }
  update_info_.Start(0);
}

void ListDesk::OnInfoRead() {
  view_.EntriesChanged();
  update_info_.Start(kInfoMs);
}

void ListDesk::OnPlayingChanged() {
  if (player_.Control().State() == PlayState::kPlaying) rows_.SetFailed(player_.Control().Item(), false);
  view_.TabsChanged();
  view_.EntriesChanged();
}

void ListDesk::OnEntryFailed(const ItemRef& item) {
  rows_.SetFailed(item, true);
  view_.EntriesChanged();
}

void ListDesk::SelectionChanged() {
  update_info_.Start(kInfoMs);
}

void ListDesk::RowsShown(size_t, size_t) {
  read_shown_.Start(kRestMs);
}

void ListDesk::ReadShown() {
  const ComPtr<Playlist> list = List();
  if (!list || !view_.Rows()) return;
  std::vector<ItemRef> items;
  for (size_t i = view_.Rows()->FirstRow(); i < std::min(view_.Rows()->EndRow(), list->Size()); ++i)
    items.push_back(list->At(i));
  player_.ReadShownInfo(items);
}

void ListDesk::UpdateInfo() {
  view_.SetInfo(rows_.InfoGbk());
}

void ListDesk::ShowEntryMenu(int32_t x, int32_t y) {
  host_.ShowListMenu(MenuKind::kListEntry, x, y);
}

void ListDesk::ShowTabMenu(size_t tab, int32_t x, int32_t y) {
  menu_tab_ = tab;
  host_.ShowListMenu(MenuKind::kListTab, x, y);
  menu_tab_.reset();
}

}  // namespace melorin
