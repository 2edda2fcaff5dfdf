// SPDX-License-Identifier: MIT
#include "app/popup_menu.h"

#include "platform/com.h"

namespace melorin {
namespace {

bool Append(HMENU menu, UINT place, const MenuItem& item) {
  MENUITEMINFOW info{};
  info.cbSize = sizeof(info);
  info.fMask = MIIM_FTYPE;
  if (item.IsSeparator()) {
    info.fType = MFT_SEPARATOR;
    return InsertMenuItemW(menu, place, TRUE, &info) != 0;
  }
  info.fMask |= MIIM_STRING | MIIM_STATE | MIIM_ID;
  info.fType = item.radio ? MFT_RADIOCHECK : 0;
  info.fState = (item.enabled ? MFS_ENABLED : MFS_GRAYED) | (item.checked ? MFS_CHECKED : MFS_UNCHECKED) |
                (item.is_default ? MFS_DEFAULT : 0);
  info.wID = static_cast<UINT>(item.command);
  std::u16string text = item.text;
  info.dwTypeData = const_cast<WCHAR*>(AsWide(text.c_str()));
  MenuHandle children;
  if (!item.children.empty()) {
    children = MakePopupMenu(item.children);
    if (!children) return false;
    info.fMask |= MIIM_SUBMENU;
    info.hSubMenu = children.get();
  }
  if (!InsertMenuItemW(menu, place, TRUE, &info)) return false;
  (void)children.Release();
  return true;
}

}  // namespace

MenuHandle MakePopupMenu(const Menu& menu) {
  MenuHandle handle(CreatePopupMenu());
  if (!handle) return handle;
  UINT place = 0;
  for (const MenuItem& item : menu) {
    if (!Append(handle.get(), place, item)) return MenuHandle();
    ++place;
  }
  return handle;
}

CommandId ShowPopupMenu(HWND owner, const Menu& menu, POINT screen) {
  const MenuHandle handle = MakePopupMenu(menu);
  if (!handle) return CommandId::kNone;
  SetForegroundWindow(owner);
  const UINT side = GetSystemMetrics(SM_MENUDROPALIGNMENT) ? TPM_RIGHTALIGN : TPM_LEFTALIGN;
  const auto chosen = TrackPopupMenuEx(handle.get(), side | TPM_RETURNCMD | TPM_RIGHTBUTTON, screen.x,
                                       screen.y, owner, nullptr);
  // Without a message the next menu of a tray icon would close at once.
  PostMessageW(owner, WM_NULL, 0, 0);
  return static_cast<CommandId>(chosen);
}

}  // namespace melorin
