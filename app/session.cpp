// SPDX-License-Identifier: MIT
#include "app/session.h"

#include <algorithm>
#include <utility>

#include "doc/settings_location.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr char kStorageFolderName[] = "PlayList";

size_t IndexFrom(int32_t value) {
  return static_cast<size_t>(std::max(value, 0));
}

}  // namespace

std::string DefaultListNameGbk() {
  return GbkFromUtf16(u"默认列表");
}

Session::Session(std::string data_folder_gbk, SheetReader read_sheet)
    : data_folder_gbk_(std::move(data_folder_gbk)), read_sheet_(std::move(read_sheet)) {}

LoadResult Session::LoadSettings(std::string* kept_aside_gbk) {
  MakeDirectory(data_folder_gbk_);
  const std::string path = SettingsPath(data_folder_gbk_);
  const LoadResult result = settings_.Load(path);
  if (result == LoadResult::kForeignOrDamaged) {
    *kept_aside_gbk = KeepAside(path);
    keep_settings_file_ = kept_aside_gbk->empty();
  }
  FillFolders(settings_, data_folder_gbk_);
  return result;
}

ListFileOptions Session::ListOptions() const {
  ListFileOptions options;
  options.save_relative_path = settings_.play_list.save_relative_path != 0;
  options.save_tags = settings_.play_list.save_tags != 0;
  options.ignore_bad_files = settings_.play_list.ignore_bad_files != 0;
  options.read_sheet = read_sheet_;
  return options;
}

std::string Session::StorageFolder() const {
  const std::string& own = settings_.history.play_list_path_gbk;
  return own.empty() ? JoinPath(data_folder_gbk_, kStorageFolderName) : own;
}

Session::ListPlace Session::Place() const {
  return {StorageFolder(), IndexFrom(settings_.player.play_lists), IndexFrom(settings_.player.active_list),
          ListOptions()};
}

Session::StoredLists Session::ReadLists(const ListPlace& place) {
  StoredLists stored;
  // Settings that were lost must not lose lists.
  const size_t count = std::max(RecoverStoredLists(place.folder_gbk), place.count);
  const size_t active = place.active < count ? place.active : 0;
  stored.read =
      LoadAllLists(stored.lists, place.folder_gbk, count, active, DefaultListNameGbk(), place.options);
  return stored;
}

void Session::TakeLists(StoredLists stored) {
  lists_ = std::move(stored.lists);
  if (lists_.Size() == 0) lists_.Append(Playlist::Create(DefaultListNameGbk()));
  active_ = std::min(IndexFrom(settings_.player.active_list), lists_.Size() - 1);
  EnsureLoaded(*lists_.At(active_), ListOptions());
}

const ComPtr<Playlist>& Session::Activate(const std::string& name_gbk) {
  const std::string name = name_gbk.empty() ? DefaultListNameGbk() : name_gbk;
  size_t found = 0;
  while (found < lists_.Size() && !EqualNoCaseGbk(lists_.At(found)->NameGbk(), name))
    ++found;
  if (found == lists_.Size()) {
    lists_.Append(Playlist::Create(name));
    lists_changed_ = true;
  }
  // One that cannot be read does not become the active one: what plays is an entry of that.
  if (EnsureLoaded(*lists_.At(found), ListOptions())) active_ = found;
  return lists_.At(found);
}

std::optional<size_t> Session::IndexOf(const Playlist* list) const {
  for (size_t i = 0; i < lists_.Size(); ++i)
    if (lists_.At(i).get() == list) return i;
  return std::nullopt;
}

size_t Session::AddList(ComPtr<Playlist> list) {
  lists_.Append(std::move(list));
  lists_changed_ = true;
  return lists_.Size() - 1;
}

void Session::RenameList(size_t index, std::string name_gbk) {
  lists_.At(index)->SetName(std::move(name_gbk));
  lists_changed_ = true;
}

void Session::RemoveList(size_t index) {
  lists_.Remove(index);
  if (lists_.Size() == 0) lists_.Append(Playlist::Create(DefaultListNameGbk()));
  if (active_ > index || active_ == lists_.Size()) --active_;
  lists_changed_ = true;
}

void Session::MoveList(size_t index, size_t to) {
  const ComPtr<Playlist> active = lists_.At(active_);
  for (; index < to; ++index)
    lists_.Swap(index, index + 1);
  for (; index > to; --index)
    lists_.Swap(index, index - 1);
  active_ = IndexOf(active.get()).value_or(0);
  lists_changed_ = true;
}

Session::SaveResult Session::SaveSettings(std::optional<size_t> active) {
  if (keep_settings_file_) return SaveResult::kNothingToDo;
  if (HasLists()) {
    settings_.player.play_lists = static_cast<int32_t>(lists_.Size());
    settings_.player.active_list = static_cast<int32_t>(active.value_or(active_));
  }
  return settings_.Save(SettingsPath(data_folder_gbk_), kProgramVersion) ? SaveResult::kSaved
                                                                         : SaveResult::kFailed;
}

Session::SaveResult Session::SaveLists(bool with_info) {
  if (!HasLists() || !(lists_changed_ || (with_info && info_changed_))) return SaveResult::kNothingToDo;
  if (!SaveAllLists(lists_, StorageFolder(), ListOptions())) return SaveResult::kFailed;
  lists_changed_ = info_changed_ = false;
  return SaveResult::kSaved;
}

}  // namespace melorin
