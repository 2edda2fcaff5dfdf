// SPDX-License-Identifier: MIT
//
// ListInfoBar: the line below the rows, with the number of entries and their time. While something is looked
// for it is the find bar: a label, the place of the edit control, and what was found.
#pragma once

#include <string>

#include "ui/control.h"
#include "ui/list_look.h"

namespace melorin {

class ListInfoBar final : public Control {
 public:
  /// What the bar likes to be high, 1x pixels.
  static int32_t HeightFor(const ListLook& look, bool find_open) {
    return look.row_height + (find_open ? 8 : 2);
  }
  void SetLook(const ListLook& look);
  void SetInfo(std::string text_gbk);
  void SetFindOpen(bool open);
  void SetFindResult(std::string text_gbk);
  /// Where the text is typed; empty while the find bar is closed.
  SkinRect EditPlace() const;

  void Paint(const PaintContext& context) override;
  ControlRole Role() const override { return ControlRole::kText; }
  std::u16string Value() const override;
  std::u16string TipAt(int32_t, int32_t) const override { return {}; }

 private:
  SkinRect FieldPlace() const;

  ListLook look_;
  std::string info_gbk_;
  std::string find_label_gbk_;
  std::string find_result_gbk_;
  bool find_open_ = false;
};

}  // namespace melorin
