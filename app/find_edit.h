// SPDX-License-Identifier: MIT
//
// FindEdit: the system's edit control in the playlist window's find bar, which input methods need.
#pragma once

#include <windows.h>

#include "app/gdi.h"
#include "app/list_desk.h"

namespace melorin {

/// Thread: the UI thread.
class FindEdit {
 public:
  /// The desk must outlive this.
  explicit FindEdit(ListDesk& desk) : desk_(desk) {}
  ~FindEdit();
  FindEdit(const FindEdit&) = delete;
  FindEdit& operator=(const FindEdit&) = delete;

  /// `window`: the playlist window. Call it when the find bar was opened, closed or moved.
  void Update(HWND window);
  /// The skin or the look of the list is another: what is open goes where it belongs now. The keyboard stays
  /// where it is.
  void Follow();

 private:
  static LRESULT CALLBACK EditProcedure(HWND edit, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR id,
                                        DWORD_PTR self) noexcept;
  static LRESULT CALLBACK ParentProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam,
                                          UINT_PTR id, DWORD_PTR self) noexcept;
  bool Create(HWND window);
  void Hide();
  bool TakeKey(WPARAM key);
  void Fit();
  /// The text is in the colours and the font of the list.
  HBRUSH Colour(HDC dc);

  ListDesk& desk_;
  HWND window_ = nullptr;
  HWND edit_ = nullptr;
  GdiObject<HFONT> font_;
  GdiObject<HBRUSH> background_;
  SkinRect place_;
  int32_t scale_ = 0;
};

}  // namespace melorin
