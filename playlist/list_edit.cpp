// SPDX-License-Identifier: MIT
#include "playlist/list_edit.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "platform/text.h"

namespace melorin {
namespace {

std::vector<bool> Marks(const Playlist& list, std::span<const size_t> selection) {
  std::vector<bool> marks(list.Size());
  for (const size_t index : selection)
    if (index < marks.size()) marks[index] = true;
  return marks;
}

/// `keep` answers for every index, in order.
template <class Keep>
ListEdit KeepEntries(Playlist& list, Keep keep) {
  std::vector<uint32_t> order;
  order.reserve(list.Size());
  for (size_t i = 0; i < list.Size(); ++i)
    if (keep(i)) order.push_back(static_cast<uint32_t>(i));
  return ApplyOrder(list, order);
}

/// Title, artist and seconds in one text; empty when one of them is not known.
std::string SongKey(const PlayListItem& item) {
  if (item.DurationMs() < 0) return {};
  const std::string artist = item.TagValue("Artist");
  std::string title = item.TagValue("Title");
  if (title.empty()) title = Utf8FromGbk(item.TitleGbk());
  if (artist.empty() || title.empty()) return {};
  std::string key = title + '\n' + artist;
  std::transform(key.begin(), key.end(), key.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
  return key + '\n' + std::to_string(item.DurationMs() / 1000);
}

}  // namespace

std::optional<size_t> ListEdit::NewIndex(std::optional<size_t> old_index) const {
  if (!old_index || !Changed()) return old_index;
  if (*old_index >= moved_to.size() || moved_to[*old_index] == kGone) return std::nullopt;
  return moved_to[*old_index];
}

std::optional<size_t> ListEdit::NewIndexOfNext(size_t old_index) const {
  for (size_t i = old_index + 1; i < (Changed() ? moved_to.size() : count_after); ++i)
    if (const auto index = NewIndex(i)) return index;
  return std::nullopt;
}

std::vector<ItemRef> EntriesAt(const Playlist& list, std::span<const size_t> selection) {
  const std::vector<bool> marks = Marks(list, selection);
  std::vector<ItemRef> entries;
  for (size_t i = 0; i < marks.size(); ++i)
    if (marks[i]) entries.push_back(list.At(i));
  return entries;
}

ListEdit ApplyOrder(Playlist& list, std::span<const uint32_t> order) {
  ListEdit edit;
  edit.count_after = order.size();
  edit.removed = list.Size() - order.size();
  size_t in_place = 0;
  while (in_place < order.size() && order[in_place] == in_place)
    ++in_place;
  if (in_place == list.Size()) return edit;

  std::vector<ItemRef> items;
  items.reserve(order.size());
  edit.moved_to.assign(list.Size(), ListEdit::kGone);
  for (size_t i = 0; i < order.size(); ++i) {
    items.push_back(list.At(order[i]));
    edit.moved_to[order[i]] = static_cast<uint32_t>(i);
  }
  edit.before = list.Exchange(std::move(items));
  return edit;
}

ListEdit RemoveEntries(Playlist& list, std::span<const size_t> selection) {
  const std::vector<bool> marks = Marks(list, selection);
  return KeepEntries(list, [&](size_t i) { return !marks[i]; });
}

ListEdit MoveEntries(Playlist& list, std::span<const size_t> selection, size_t before) {
  const std::vector<bool> marks = Marks(list, selection);
  std::vector<uint32_t> order;
  order.reserve(list.Size());
  const auto append = [&](size_t begin, size_t end, bool marked) {
    for (size_t i = begin; i < end; ++i)
      if (marks[i] == marked) order.push_back(static_cast<uint32_t>(i));
  };
  before = std::min(before, list.Size());
  append(0, before, false);
  append(0, list.Size(), true);
  append(before, list.Size(), false);
  return ApplyOrder(list, order);
}

ListEdit InsertEntries(Playlist& list, size_t before, std::vector<ItemRef> inserted) {
  ListEdit edit;
  edit.inserted = inserted.size();
  edit.count_after = list.Size() + inserted.size();
  if (inserted.empty()) return edit;
  before = std::min(before, list.Size());

  edit.moved_to.resize(list.Size());
  for (size_t i = 0; i < list.Size(); ++i)
    edit.moved_to[i] = static_cast<uint32_t>(i < before ? i : i + inserted.size());
  std::vector<ItemRef> items;
  items.reserve(edit.count_after);
  const auto middle = list.Items().begin() + static_cast<std::ptrdiff_t>(before);
  items.insert(items.end(), list.Items().begin(), middle);
  std::move(inserted.begin(), inserted.end(), std::back_inserter(items));
  items.insert(items.end(), middle, list.Items().end());
  edit.before = list.Exchange(std::move(items));
  return edit;
}

ListEdit RemoveDuplicates(Playlist& list, DuplicateRule rule) {
  std::unordered_map<const PlayListItem*, uint32_t> first_of_item;
  std::unordered_set<std::string> songs;
  first_of_item.reserve(list.Size());
  std::vector<std::pair<uint32_t, uint32_t>> kept_for;  // Removed index, index of the entry kept for it.
  ListEdit edit = KeepEntries(list, [&](size_t i) {
    const PlayListItem& item = *list.At(i);
    const auto [first, is_new] = first_of_item.try_emplace(&item, static_cast<uint32_t>(i));
    if (!is_new) {
      kept_for.emplace_back(static_cast<uint32_t>(i), first->second);
      return false;
    }
    if (rule == DuplicateRule::kSameItem) return true;
    std::string key = SongKey(item);
    return key.empty() || songs.insert(std::move(key)).second;
  });
  for (const auto& [removed, kept] : kept_for)
    edit.moved_to[removed] = edit.moved_to[kept];
  return edit;
}

ListEdit RemoveMissing(Playlist& list, const std::function<bool(const std::string& path_gbk)>& exists) {
  const std::string* asked = nullptr;
  bool answer = false;
  return KeepEntries(list, [&](size_t i) {
    const std::string& path = list.At(i)->PathGbk();
    if (!asked || *asked != path) answer = exists(path);
    asked = &path;
    return answer;
  });
}

}  // namespace melorin
