// SPDX-License-Identifier: MIT
#include "app/options/check_list.h"

#include <algorithm>
#include <utility>

#include "platform/com.h"

namespace melorin {
namespace {

constexpr UINT kUnchecked = 1;  // The state images of LVS_EX_CHECKBOXES.
constexpr UINT kChecked = 2;

constexpr bool IsCheckedState(UINT state) {
  return (state & LVIS_STATEIMAGEMASK) >> 12 == kChecked;
}

}  // namespace

void CheckList::Add(PageWindow& page, std::u16string_view label, int height, std::vector<Column> columns,
                    bool checks, Toggled toggled) {
  toggled_ = std::move(toggled);
  PageWindow::CustomSpec spec{WC_LISTVIEWW};
  spec.style = WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER;
  spec.ex_style = WS_EX_CLIENTEDGE;
  spec.height = height;
  spec.on_notify = [this](NMHDR& header) { return OnNotify(header); };
  list_ = page.Custom(label, spec).WholeRow().Window();
  const DWORD extended = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | (checks ? LVS_EX_CHECKBOXES : 0u);
  SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, extended, static_cast<LPARAM>(extended));
  int left = page.RowWidth() - GetSystemMetrics(SM_CXVSCROLL) - 2 * GetSystemMetrics(SM_CXEDGE);
  for (size_t i = 0; i < columns.size(); ++i) {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.cx = i + 1 < columns.size() ? page.Font().X(columns[i].width) : std::max(left, 0);
    left -= column.cx;
    column.pszText = const_cast<wchar_t*>(columns[i].title);
    SendMessageW(list_, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
  }
}

void CheckList::Clear() {
  SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
  rows_ = 0;
}

void CheckList::Append(const std::vector<std::u16string>& cells) {
  filling_ = true;
  for (size_t i = 0; i < cells.size(); ++i) {
    std::u16string text = cells[i];
    LVITEMW item{};
    item.mask = LVIF_TEXT;
    item.iItem = static_cast<int>(rows_);
    item.iSubItem = static_cast<int>(i);
    item.pszText = reinterpret_cast<wchar_t*>(text.data());
    SendMessageW(list_, i == 0 ? LVM_INSERTITEMW : LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
  }
  ++rows_;
  filling_ = false;
}

void CheckList::SetCell(size_t row, int column, std::u16string text) {
  LVITEMW item{};
  item.iSubItem = column;
  item.pszText = reinterpret_cast<wchar_t*>(text.data());
  SendMessageW(list_, LVM_SETITEMTEXTW, row, reinterpret_cast<LPARAM>(&item));
}

void CheckList::Check(size_t row, bool checked) {
  const bool before = std::exchange(filling_, true);
  LVITEMW item{};
  item.stateMask = LVIS_STATEIMAGEMASK;
  item.state = INDEXTOSTATEIMAGEMASK(checked ? kChecked : kUnchecked);
  SendMessageW(list_, LVM_SETITEMSTATE, row, reinterpret_cast<LPARAM>(&item));
  filling_ = before;
}

bool CheckList::IsChecked(size_t row) const {
  return IsCheckedState(static_cast<UINT>(SendMessageW(list_, LVM_GETITEMSTATE, row, LVIS_STATEIMAGEMASK)));
}

LRESULT CheckList::OnNotify(NMHDR& header) {
  if (header.code != static_cast<UINT>(LVN_ITEMCHANGED) || filling_ || !toggled_) return 0;
  const auto& change = reinterpret_cast<const NMLISTVIEW&>(header);
  const bool has_box =
      (change.uNewState & LVIS_STATEIMAGEMASK) != 0 && (change.uOldState & LVIS_STATEIMAGEMASK) != 0;
  if ((change.uChanged & LVIF_STATE) == 0 || !has_box || change.iItem < 0) return 0;
  const bool checked = IsCheckedState(change.uNewState);
  if (checked != IsCheckedState(change.uOldState)) toggled_(static_cast<size_t>(change.iItem), checked);
  return 0;
}

}  // namespace melorin
