// SPDX-License-Identifier: MIT
#include "app/menu_tips.h"

#include <commctrl.h>

#include <string>

#include "ui/command_help.h"

namespace melorin {
namespace {

constexpr UINT_PTR kSubclass = 2;

/// Where the item with that number is on the screen.
bool ItemPlace(HMENU menu, UINT item, RECT* place) {
  for (int i = 0; i < GetMenuItemCount(menu); ++i)
    if (GetMenuItemID(menu, i) == item) return GetMenuItemRect(nullptr, menu, static_cast<UINT>(i), place);
  return false;
}

}  // namespace

MenuTips::MenuTips(HWND owner) : owner_(owner) {
  tip_.SetOwner(owner);
  SetWindowSubclass(owner, Procedure, kSubclass, reinterpret_cast<DWORD_PTR>(this));
}

MenuTips::~MenuTips() {
  RemoveWindowSubclass(owner_, Procedure, kSubclass);
}

LRESULT CALLBACK MenuTips::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                                     DWORD_PTR self) noexcept {
  try {
    if (message == WM_MENUSELECT)
      reinterpret_cast<MenuTips*>(self)->OnSelect(reinterpret_cast<HMENU>(lparam), LOWORD(wparam),
                                                  HIWORD(wparam));
  } catch (...) {
    // Memory has run out; there is no tip.
  }
  return DefSubclassProc(window, message, wparam, lparam);
}

void MenuTips::OnSelect(HMENU menu, UINT item, UINT flags) {
  RECT place;
  const bool is_command = menu && !(flags & (MF_POPUP | MF_SEPARATOR | MF_SYSMENU));
  const std::u16string text(is_command ? CommandHelp(static_cast<CommandId>(item)) : std::u16string_view());
  if (text.empty() || !ItemPlace(menu, item, &place)) {
    tip_.Hide();
    return;
  }
  tip_.Track(text, {place.right, place.top});
}

}  // namespace melorin
