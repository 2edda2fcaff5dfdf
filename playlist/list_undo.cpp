// SPDX-License-Identifier: MIT
#include "playlist/list_undo.h"

#include <utility>

namespace melorin {
namespace {

/// The edit that takes `edit` back, without its entries.
ListEdit Inverse(const ListEdit& edit) {
  ListEdit inverse;
  inverse.count_after = edit.moved_to.size();
  inverse.removed = edit.inserted;
  inverse.inserted = edit.removed;
  inverse.moved_to.assign(edit.count_after, ListEdit::kGone);
  // From the end: where several entries became one, the first is the one that stayed.
  for (size_t i = edit.moved_to.size(); i-- > 0;)
    if (edit.moved_to[i] != ListEdit::kGone) inverse.moved_to[edit.moved_to[i]] = static_cast<uint32_t>(i);
  return inverse;
}

}  // namespace

void ListHistory::Add(std::string action_gbk, ListEdit edit) {
  if (!edit.Changed()) return;
  for (const Kept& kept : redo_)
    used_bytes_ -= Bytes(kept);
  redo_.clear();
  undo_.push_back({std::move(action_gbk), std::move(edit)});
  used_bytes_ += Bytes(undo_.back());
  while (used_bytes_ > limit_bytes_ && undo_.size() > 1) {
    used_bytes_ -= Bytes(undo_.front());
    undo_.pop_front();
  }
}

void ListHistory::Clear() {
  undo_.clear();
  redo_.clear();
  used_bytes_ = 0;
}

const std::string& ListHistory::NameOfLast(const Stack& stack) {
  static const std::string none;
  return stack.empty() ? none : stack.back().action_gbk;
}

size_t ListHistory::Bytes(const Kept& kept) {
  // Of items that an edit removed or brought, the history may hold the only reference.
  constexpr size_t kBytesOfAnItem = 512;
  return sizeof(Kept) + kept.edit.before.size() * sizeof(ItemRef) +
         kept.edit.moved_to.size() * sizeof(uint32_t) +
         (kept.edit.removed + kept.edit.inserted) * kBytesOfAnItem;
}

std::optional<ListEdit> ListHistory::Step(Playlist& list, Stack& from, Stack& to) {
  if (from.empty()) return std::nullopt;
  if (list.Size() != from.back().edit.count_after) {
    Clear();
    return std::nullopt;
  }
  ListEdit inverse = Inverse(from.back().edit);
  ListEdit report = inverse;
  to.push_back({from.back().action_gbk, std::move(inverse)});
  used_bytes_ -= Bytes(from.back());
  to.back().edit.before = list.Exchange(std::move(from.back().edit.before));
  used_bytes_ += Bytes(to.back());
  from.pop_back();
  return report;
}

}  // namespace melorin
