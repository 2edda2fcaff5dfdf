// SPDX-License-Identifier: MIT
//
// Menus on the screen. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <utility>

#include "ui/menu.h"

namespace melorin {

/// Owns a menu and the menus below it.
class MenuHandle {
 public:
  MenuHandle() noexcept = default;
  explicit MenuHandle(HMENU menu) noexcept : menu_(menu) {}
  MenuHandle(MenuHandle&& other) noexcept : menu_(other.Release()) {}
  MenuHandle& operator=(MenuHandle&& other) noexcept {
    std::swap(menu_, other.menu_);
    return *this;
  }
  ~MenuHandle() {
    if (menu_) DestroyMenu(menu_);
  }

  HMENU get() const noexcept { return menu_; }
  HMENU Release() noexcept { return std::exchange(menu_, nullptr); }
  explicit operator bool() const noexcept { return menu_ != nullptr; }

 private:
  HMENU menu_ = nullptr;
};

/// The platform's menu of a menu; none when the system refuses one.
MenuHandle MakePopupMenu(const Menu& menu);

/// Shows a menu at a point of the screen and returns what was chosen; kNone when nothing was. Messages are
/// dispatched meanwhile. `owner` comes to the foreground: a menu of the tray icon would stay open else.
CommandId ShowPopupMenu(HWND owner, const Menu& menu, POINT screen);

}  // namespace melorin
