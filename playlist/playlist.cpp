// SPDX-License-Identifier: MIT
#include "playlist/playlist.h"

#include <algorithm>
#include <utility>

namespace melorin {
namespace {

using Difference = std::ptrdiff_t;

}  // namespace

ComPtr<Playlist> Playlist::Create(std::string name_gbk) {
  auto list = ComPtr<Playlist>::Adopt(new Playlist);
  list->name_gbk_ = std::move(name_gbk);
  return list;
}

void Playlist::Insert(size_t index, ItemRef item) {
  items_.insert(items_.begin() + static_cast<Difference>(std::min(index, items_.size())), std::move(item));
}

void Playlist::Remove(size_t index) {
  if (index < items_.size()) items_.erase(items_.begin() + static_cast<Difference>(index));
}

void Playlist::Shrink(size_t count) {
  if (count < items_.size()) items_.resize(count);
  items_.shrink_to_fit();
}

void PlaylistSet::Insert(size_t index, ComPtr<Playlist> list) {
  lists_.insert(lists_.begin() + static_cast<Difference>(std::min(index, lists_.size())), std::move(list));
}

void PlaylistSet::Remove(size_t index) {
  if (index < lists_.size()) lists_.erase(lists_.begin() + static_cast<Difference>(index));
}

void PlaylistSet::Swap(size_t i, size_t j) {
  if (i != j && i < lists_.size() && j < lists_.size()) std::swap(lists_[i], lists_[j]);
}

}  // namespace melorin
