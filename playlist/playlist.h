// SPDX-License-Identifier: MIT
//
// Playlist: an ordered array of references to items, with a name; PlaylistSet: the player's lists in the
// order of their tabs. Thread: the UI thread.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/com_ptr.h"
#include "playlist/play_list_item.h"

namespace melorin {

class Playlist {
 public:
  static ComPtr<Playlist> Create(std::string name_gbk = {});

  void AddRef() { ++references_; }
  void Release() {
    if (--references_ == 0) delete this;
  }

  const std::string& NameGbk() const { return name_gbk_; }
  void SetName(std::string name_gbk) { name_gbk_ = std::move(name_gbk); }
  /// The file that the list came from or is to be loaded from.
  const std::string& SourcePathGbk() const { return source_path_gbk_; }
  void SetSourcePath(std::string path_gbk) { source_path_gbk_ = std::move(path_gbk); }
  /// False for a list of which only the name was read.
  bool IsLoaded() const { return loaded_; }
  void SetLoaded(bool loaded) { loaded_ = loaded; }

  size_t Size() const { return items_.size(); }
  bool IsEmpty() const { return items_.empty(); }
  const ItemRef& At(size_t index) const { return items_[index]; }
  const std::vector<ItemRef>& Items() const { return items_; }

  void Append(ItemRef item) { items_.push_back(std::move(item)); }
  void Insert(size_t index, ItemRef item);  ///< At the end when index is past it.
  void Remove(size_t index);                ///< Nothing past the end.
  void Replace(std::vector<ItemRef> items) { items_ = std::move(items); }
  /// The same, and returns what was there.
  std::vector<ItemRef> Exchange(std::vector<ItemRef> items) {
    return std::exchange(items_, std::move(items));
  }
  void Clear() { items_.clear(); }
  void Reserve(size_t count) { items_.reserve(count); }
  /// Cuts the list to `count` entries (never makes it longer) and gives spare memory back.
  void Shrink(size_t count);

 private:
  Playlist() = default;
  ~Playlist() = default;

  int32_t references_ = 1;
  std::string name_gbk_;
  std::string source_path_gbk_;
  bool loaded_ = true;
  std::vector<ItemRef> items_;
};

class PlaylistSet {
 public:
  size_t Size() const { return lists_.size(); }
  const ComPtr<Playlist>& At(size_t index) const { return lists_[index]; }
  void Append(ComPtr<Playlist> list) { lists_.push_back(std::move(list)); }
  void Insert(size_t index, ComPtr<Playlist> list);
  void Remove(size_t index);
  void Clear() { lists_.clear(); }
  /// The two exchange places; nothing when i equals j or either is outside.
  void Swap(size_t i, size_t j);

 private:
  std::vector<ComPtr<Playlist>> lists_;
};

}  // namespace melorin
