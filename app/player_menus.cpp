// SPDX-License-Identifier: MIT
#include "app/player_menus.h"

#include <optional>

#include "app/menu_tips.h"
#include "app/popup_menu.h"
#include "app/window_group.h"

namespace melorin {

void PlayerMenus::ShowMenu(MenuKind kind, SkinWindow window, int32_t x, int32_t y) {
  if (!windows_) return;
  SkinnedWindow& shell = windows_->Window(window);
  const SkinRect& place = shell.Place();
  const int32_t scale = shell.View().Scale();
  ShowMenuAt(kind, shell.Handle(), {place.left + x * scale, place.top + y * scale});
}

void PlayerMenus::ShowMenuAt(MenuKind kind, HWND owner, POINT screen) {
  MenuSource source;
  source.target = &commands_;
  source.keys = settings_.hot_key.key_map;
  source.opacity = settings_.player.alpha_percent;
  for (const Fill& fill : fills_)
    fill(source);
  CommandId chosen;
  {
    std::optional<MenuTips> tips;
    if (settings_.general.menu_tips) tips.emplace(owner);
    chosen = ShowPopupMenu(owner, BuildMenu(kind, source), screen);
  }
  Run(chosen);
}

std::u16string PlayerMenus::TipOf(CommandId command) {
  const Command* known = FindCommand(command);
  if (!known) return {};
  std::u16string tip = known->tip ? known->tip : PlainCommandText(known->text);
  if (settings_.general.show_hot_key_in_tips) {
    const std::u16string key = KeyText(FindBinding(settings_.hot_key.key_map, command).application);
    if (!key.empty()) tip += u" (" + key + u")";
  }
  return tip;
}

bool PlayerMenus::Run(CommandId command) {
  if (command == CommandId::kNone || !commands_.Handles(command)) return false;
  commands_.Execute(command);
  executed_();
  return true;
}

bool PlayerMenus::RunKey(const KeyPress& key) {
  const int modifiers = (key.alt ? MOD_ALT : 0) | (key.ctrl ? MOD_CONTROL : 0) | (key.shift ? MOD_SHIFT : 0);
  return Run(CommandOfKey(settings_.hot_key.key_map, {static_cast<uint16_t>(modifiers), key.key}));
}

}  // namespace melorin
