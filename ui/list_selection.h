// SPDX-License-Identifier: MIT
//
// ListSelection: which entries of a list are selected, which one has the focus, and where a range begins.
// Plain indexes; nothing here knows lists or windows.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "playlist/list_edit.h"

namespace melorin {

/// One bit an entry. What the mouse and keys do takes time by the range that they change; asking for one
/// entry takes none. Indexes outside are ignored. Thread: the UI thread.
class ListSelection {
 public:
  /// How a click or a key changes the selection.
  struct Modifiers {
    bool ctrl = false;
    bool shift = false;
  };

  size_t Count() const { return bits_.size(); }
  /// For a list that was changed past Apply: what is beyond the end is forgotten.
  void SetCount(size_t count);

  bool IsSelected(size_t index) const { return index < bits_.size() && bits_[index]; }
  size_t SelectedCount() const { return selected_; }
  std::vector<size_t> Selected() const;  ///< Ascending.
  std::optional<size_t> Focus() const { return focus_; }

  /// Plain: this one only. Ctrl: this one is turned. Shift: from the anchor to this one, with Ctrl beside
  /// what is selected already. All but Shift make it the anchor.
  void Click(size_t index, Modifiers modifiers);
  /// The keyboard has gone to another entry. As Click, but Ctrl alone moves the focus only.
  void MoveTo(size_t index, Modifiers modifiers);
  /// Turns the entry with the focus.
  void ToggleFocused();
  void SelectOnly(size_t index) { Click(index, {}); }
  /// These only, in any order; the focus goes to the first of them.
  void Select(const std::vector<size_t>& indexes);
  void SelectAll();
  void SelectNone();
  void SelectInverse();

  /// The list was edited: everything goes where its entry went. When the focus is gone, what followed it has
  /// it; when no selected entry is left, that one is selected, so that Delete can be pressed again and again.
  void Apply(const ListEdit& edit);

 private:
  void Set(size_t index, bool selected);
  void SetRange(size_t a, size_t b);

  std::vector<bool> bits_;
  size_t selected_ = 0;
  std::optional<size_t> focus_;
  std::optional<size_t> anchor_;
};

}  // namespace melorin
