// SPDX-License-Identifier: MIT
#include "app/list_editor.h"

#include <windows.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "playlist/title_format.h"

namespace melorin {
namespace {

const char16_t* SortAction(SortKey key) {
  switch (key) {
    case SortKey::kTitle:
      return u"按标题排序";
    case SortKey::kArtist:
      return u"按艺术家排序";
    case SortKey::kAlbum:
      return u"按专辑排序";
    case SortKey::kPath:
      return u"按路径排序";
    case SortKey::kDuration:
      return u"按时长排序";
    case SortKey::kTrackNumber:
      return u"按音轨号排序";
  }
  return u"排序";
}

/// Where the entries are that the edit brought.
std::vector<size_t> NewEntries(const ListEdit& edit) {
  std::vector<bool> was_there(edit.count_after);
  for (const uint32_t index : edit.moved_to)
    if (index != ListEdit::kGone) was_there[index] = true;
  std::vector<size_t> fresh;
  for (size_t i = 0; i < was_there.size(); ++i)
    if (!was_there[i]) fresh.push_back(i);
  return fresh;
}

}  // namespace

void ListEditor::Select(const ComPtr<Playlist>& list, size_t first, size_t count) {
  std::vector<size_t> indexes(count);
  std::iota(indexes.begin(), indexes.end(), first);
  states_.Of(list).place.selection.Select(indexes);
}

// ---- removing

void ListEditor::RemoveSelected(const ComPtr<Playlist>& list, const std::u16string& action) {
  Done(list, RemoveEntries(*list, Selected(list)), action);
}

void ListEditor::RemoveAll(const ComPtr<Playlist>& list) {
  Done(list, ApplyOrder(*list, {}), u"清空列表");
}

EditResult ListEditor::RemoveDuplicates(const ComPtr<Playlist>& list) {
  ListEdit edit = melorin::RemoveDuplicates(*list, DuplicateRule::kSameItemOrSong);
  const EditResult result = {edit.removed, 0};
  Done(list, std::move(edit), u"移除重复曲目");
  return result;
}

EditResult ListEditor::RemoveGone(const ComPtr<Playlist>& list,
                                  const std::function<bool(const std::string& path_gbk)>& gone,
                                  const std::u16string& action) {
  ListEdit edit = RemoveMissing(*list, [&](const std::string& path) { return !gone(path); });
  const EditResult result = {edit.removed, 0};
  Done(list, std::move(edit), action);
  return result;
}

// ---- moving and inserting

void ListEditor::MoveSelected(const ComPtr<Playlist>& list, size_t before) {
  Done(list, MoveEntries(*list, Selected(list), before), u"移动");
}

void ListEditor::CopySelected(const ComPtr<Playlist>& list, size_t before) {
  Insert(list, before, EntriesAt(*list, Selected(list)), u"复制");
}

void ListEditor::StepSelected(const ComPtr<Playlist>& list, int direction) {
  const std::vector<size_t> selected = Selected(list);
  if (selected.empty()) return;
  if (direction < 0) {
    if (selected.front() > 0) MoveSelected(list, selected.front() - 1);
    // At the top already: what is scattered below comes together there.
    else
      MoveSelected(list, 0);
  } else {
    MoveSelected(list, std::min(selected.back() + 2, list->Size()));
  }
}

void ListEditor::Insert(const ComPtr<Playlist>& list, std::optional<size_t> before,
                        std::vector<ItemRef> items, const std::u16string& action) {
  if (items.empty()) return;
  const size_t first = std::min(before.value_or(list->Size()), list->Size());
  const size_t count = items.size();
  ListEdit edit = InsertEntries(*list, first, std::move(items));
  // The selection is the entries' once the edit has moved it; the player tells that below.
  player_.ListEdited(*list, std::move(edit), action);
  Select(list, first, count);
}

void ListEditor::SendSelected(const ComPtr<Playlist>& from, const ComPtr<Playlist>& to, bool copy) {
  if (from.get() == to.get()) return;
  std::vector<ItemRef> items = EntriesAt(*from, Selected(from));
  if (items.empty()) return;
  Insert(to, std::nullopt, std::move(items), copy ? u"复制" : u"移动");
  if (!copy) RemoveSelected(from, u"移动");
}

// ---- the whole list

void ListEditor::Sort(const ComPtr<Playlist>& list, SortKey key) {
  const TitleSettings titles = player_.Data().Titles();
  Done(list, SortList(*list, key, [&](const PlayListItem& item) { return EntryTitle(item, titles); }),
       SortAction(key));
}

void ListEditor::Reverse(const ComPtr<Playlist>& list) {
  Done(list, ReverseList(*list), u"反序");
}

void ListEditor::Shuffle(const ComPtr<Playlist>& list) {
  LARGE_INTEGER counter{};
  QueryPerformanceCounter(&counter);
  Done(list, ShuffleList(*list, SeededRandom(static_cast<uint64_t>(counter.QuadPart))), u"乱序");
}

// ---- back and forth

void ListEditor::Undo(const ComPtr<Playlist>& list) {
  DoneAgain(list, states_.Of(list).history.Undo(*list));
}

void ListEditor::Redo(const ComPtr<Playlist>& list) {
  DoneAgain(list, states_.Of(list).history.Redo(*list));
}

void ListEditor::DoneAgain(const ComPtr<Playlist>& list, std::optional<ListEdit> edit) {
  if (!edit) return;
  const std::vector<size_t> fresh = edit->inserted > 0 ? NewEntries(*edit) : std::vector<size_t>();
  Done(list, std::move(*edit), {});
  // What comes back is what the user looks for.
  if (!fresh.empty()) states_.Of(list).place.selection.Select(fresh);
}

}  // namespace melorin
