// SPDX-License-Identifier: MIT
//
// What the user keeps from one start of the program to the next: the settings and the lists, with their way
// from the data folder and back. No windows.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "doc/settings.h"
#include "playlist/list_file.h"
#include "playlist/list_storage.h"
#include "playlist/playlist.h"
#include "playlist/title_format.h"

namespace melorin {

/// As settings files and the about page have it.
inline constexpr char kProgramVersion[] = "4.2.0";

/// Thread: the UI thread, except ReadLists.
class Session {
 public:
  /// The data folder is where settings and lists lie. `read_sheet` goes into the options of list files.
  Session(std::string data_folder_gbk, SheetReader read_sheet);

  Settings& Values() { return settings_; }
  const Settings& Values() const { return settings_; }
  const std::string& DataFolderGbk() const { return data_folder_gbk_; }

  /// Reads the settings file. A foreign or damaged one is moved aside, and `kept_aside_gbk` receives its new
  /// name; when that fails it receives nothing, and the file is not overwritten in this session.
  LoadResult LoadSettings(std::string* kept_aside_gbk);

  ListFileOptions ListOptions() const;
  TitleSettings Titles() const { return TitleSettingsFrom(settings_.play_list); }

  // ---- the lists

  struct StoredLists {
    PlaylistSet lists;
    size_t read = 0;
  };
  /// What ReadLists needs, as a copy that the worker may have.
  struct ListPlace {
    std::string folder_gbk;
    size_t count = 0;
    size_t active = 0;
    ListFileOptions options;
  };
  ListPlace Place() const;
  /// Reads the stored lists, the active one completely. Thread: any.
  static StoredLists ReadLists(const ListPlace& place);
  /// Takes them over; only then can lists be saved.
  void TakeLists(StoredLists stored);
  bool HasLists() const { return lists_.Size() > 0; }

  const PlaylistSet& Lists() const { return lists_; }
  size_t ActiveIndex() const { return active_; }
  const ComPtr<Playlist>& ActiveList() const { return lists_.At(active_); }
  /// The list of that name (compared without case), made when there is none, becomes the active one, unless
  /// it cannot be read: then it is returned unloaded. An empty name is the default list's.
  const ComPtr<Playlist>& Activate(const std::string& name_gbk);
  /// The active list is the one that is shown; it must be loaded. What plays may be in another.
  void Show(size_t index) { active_ = index; }
  /// Nothing for a list that was deleted.
  std::optional<size_t> IndexOf(const Playlist* list) const;
  /// Behind the others. Names need not be different.
  size_t AddList(ComPtr<Playlist> list);
  /// A list that is not loaded cannot be renamed: load it first. See SaveAllLists.
  void RenameList(size_t index, std::string name_gbk);
  /// When it was the active one, a neighbour becomes that: load it first. When it was the last one there is
  /// an empty one in its place.
  void RemoveList(size_t index);
  /// The list is at `to` afterwards; those between move by one.
  void MoveList(size_t index, size_t to);
  /// A list's entries have changed.
  void MarkListsChanged() { lists_changed_ = true; }
  /// What is known of some entries' files has changed: worth saving, but not at once.
  void MarkInfoChanged() { info_changed_ = true; }

  // ---- saving

  enum class SaveResult { kNothingToDo, kSaved, kFailed };
  /// kFailed leaves the old files as they were. `active`: the list to begin with next time; nothing: the
  /// active one.
  SaveResult SaveSettings(std::optional<size_t> active = {});
  /// `with_info`: also when no more than information has changed.
  SaveResult SaveLists(bool with_info);

 private:
  std::string StorageFolder() const;

  std::string data_folder_gbk_;
  SheetReader read_sheet_;
  Settings settings_;
  PlaylistSet lists_;
  size_t active_ = 0;
  bool lists_changed_ = false;
  bool info_changed_ = false;
  bool keep_settings_file_ = false;
};

/// Name of the list that there is when there is no other: "默认列表".
std::string DefaultListNameGbk();

}  // namespace melorin
