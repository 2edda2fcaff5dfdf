// SPDX-License-Identifier: MIT
//
// MenuTips: while a menu is open, a tip beside the chosen item says what its command does.
#pragma once

#include <windows.h>

#include "app/tip_window.h"

namespace melorin {

/// For the scope in which the menu is open. Thread: the UI thread.
class MenuTips {
 public:
  /// `owner`: of the menu.
  explicit MenuTips(HWND owner);
  ~MenuTips();
  MenuTips(const MenuTips&) = delete;
  MenuTips& operator=(const MenuTips&) = delete;

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR id,
                                    DWORD_PTR self) noexcept;
  void OnSelect(HMENU menu, UINT item, UINT flags);

  const HWND owner_;
  TipWindow tip_;
};

}  // namespace melorin
