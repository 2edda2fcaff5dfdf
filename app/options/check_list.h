// SPDX-License-Identifier: MIT
//
// A list of rows with check boxes and columns of text, over the platform's list view. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <string>
#include <vector>

#include "app/options/page_window.h"

namespace melorin {

class CheckList {
 public:
  /// The last column gets what the others leave.
  struct Column {
    const wchar_t* title;
    int width = 0;  ///< Dialog units.
  };
  /// The user has switched a row.
  using Toggled = std::function<void(size_t row, bool checked)>;

  /// `checks`: rows have boxes.
  void Add(PageWindow& page, std::u16string_view label, int height, std::vector<Column> columns, bool checks,
           Toggled toggled = nullptr);
  void Clear();
  void Append(const std::vector<std::u16string>& cells);
  void SetCell(size_t row, int column, std::u16string text);
  void Check(size_t row, bool checked);
  bool IsChecked(size_t row) const;
  HWND Window() const { return list_; }

 private:
  LRESULT OnNotify(NMHDR& header);

  HWND list_ = nullptr;
  size_t rows_ = 0;
  bool filling_ = false;
  Toggled toggled_;
};

}  // namespace melorin
