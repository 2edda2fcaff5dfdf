// SPDX-License-Identifier: MIT
#include "ui/list_selection.h"

#include <algorithm>
#include <utility>

namespace melorin {

void ListSelection::SetCount(size_t count) {
  for (size_t i = count; i < bits_.size(); ++i)
    Set(i, false);
  bits_.resize(count);
  for (std::optional<size_t>* place : {&focus_, &anchor_})
    if (*place && **place >= count) place->reset();
}

std::vector<size_t> ListSelection::Selected() const {
  std::vector<size_t> indexes;
  indexes.reserve(selected_);
  for (size_t i = 0; i < bits_.size() && indexes.size() < selected_; ++i)
    if (bits_[i]) indexes.push_back(i);
  return indexes;
}

void ListSelection::Set(size_t index, bool selected) {
  if (bits_[index] == selected) return;
  bits_[index] = selected;
  if (selected) {
    ++selected_;
  } else {
    --selected_;
  }
}

void ListSelection::SetRange(size_t a, size_t b) {
  for (size_t i = std::min(a, b); i <= std::max(a, b); ++i)
    Set(i, true);
}

void ListSelection::Click(size_t index, Modifiers modifiers) {
  if (index >= bits_.size()) return;
  if (modifiers.shift) {
    const size_t from = anchor_.value_or(focus_.value_or(index));
    if (!modifiers.ctrl) SelectNone();
    SetRange(from, index);
    anchor_ = from;
  } else if (modifiers.ctrl) {
    Set(index, !bits_[index]);
    anchor_ = index;
  } else {
    SelectNone();
    Set(index, true);
    anchor_ = index;
  }
  focus_ = index;
}

void ListSelection::MoveTo(size_t index, Modifiers modifiers) {
  if (index >= bits_.size()) return;
  if (modifiers.ctrl && !modifiers.shift) {
    focus_ = index;
  } else {
    Click(index, modifiers);
  }
}

void ListSelection::ToggleFocused() {
  if (focus_) Click(*focus_, {.ctrl = true});
}

void ListSelection::Select(const std::vector<size_t>& indexes) {
  SelectNone();
  for (const size_t index : indexes)
    if (index < bits_.size()) Set(index, true);
  for (const size_t index : indexes) {
    if (index >= bits_.size()) continue;
    focus_ = anchor_ = index;
    return;
  }
}

void ListSelection::SelectAll() {
  std::fill(bits_.begin(), bits_.end(), true);
  selected_ = bits_.size();
}

void ListSelection::SelectNone() {
  // Most often one entry is selected, and then nobody has to look at all bits.
  if (selected_ == 1 && focus_ && bits_[*focus_])
    bits_[*focus_] = false;
  else if (selected_ > 0)
    std::fill(bits_.begin(), bits_.end(), false);
  selected_ = 0;
}

void ListSelection::SelectInverse() {
  bits_.flip();
  selected_ = bits_.size() - selected_;
}

void ListSelection::Apply(const ListEdit& edit) {
  if (!edit.Changed()) return;
  const bool had_selection = selected_ > 0;
  std::vector<bool> bits(edit.count_after);
  const std::vector<bool> old = std::exchange(bits_, std::move(bits));
  selected_ = 0;
  for (size_t i = 0; i < old.size(); ++i) {
    if (!old[i]) continue;
    if (const auto now = edit.NewIndex(i)) Set(*now, true);
  }
  anchor_ = edit.NewIndex(anchor_);
  if (!focus_) return;
  const std::optional<size_t> focus = edit.NewIndex(focus_);
  if (focus) {
    focus_ = focus;
    return;
  }
  const std::optional<size_t> next = edit.NewIndexOfNext(*focus_);
  if (bits_.empty()) {
    focus_.reset();
    return;
  }
  focus_ = next.value_or(bits_.size() - 1);
  anchor_ = focus_;
  if (had_selection && selected_ == 0) Set(*focus_, true);
}

}  // namespace melorin
