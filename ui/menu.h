// SPDX-License-Identifier: MIT
//
// Menus as values. app/popup_menu.h shows them.
#pragma once

#include <string>
#include <vector>

#include "ui/command_table.h"

namespace melorin {

struct MenuItem {
  CommandId command = CommandId::kNone;  ///< kNone without children: a line between groups.
  std::u16string text;                   ///< With "&" before its key, and behind a tab the hot key's text.
  bool enabled = true;
  bool checked = false;
  bool radio = false;       ///< Checked with a dot.
  bool is_default = false;  ///< What a double click does; bold.
  std::vector<MenuItem> children;

  bool IsSeparator() const { return command == CommandId::kNone && children.empty(); }
};
using Menu = std::vector<MenuItem>;

/// What menus of lists, presets and skins are made of.
struct MenuSource {
  const CommandTarget* target = nullptr;
  std::span<const KeyBinding> keys;
  std::vector<std::u16string> lists;
  size_t shown_list = 0;
  std::vector<std::u16string> skins;
  size_t skin_in_use = 0;
  std::vector<std::u16string> presets;  ///< By the setting "Profile".
  size_t preset_in_use = 0;
  int32_t opacity = 100;
  std::u16string undo_action;  ///< Of the list that is shown; empty: there is nothing to take back.
  std::u16string redo_action;
};

enum class MenuKind {
  kMain,     ///< Of the player window, the mini player and the tray icon.
  kTray,     ///< The same, shorter.
  kListAdd,  ///< Of the playlist window's toolbar, this and the next six.
  kListRemove,
  kListLists,
  kListSort,
  kListFind,
  kListEdit,
  kListMode,
  kListEntry,  ///< Of the entries that are selected.
  kListTab,    ///< Of a list's tab.
  kLyric,
  kEqualizer,  ///< Presets and profiles.
  kVisual,
};

Menu BuildMenu(MenuKind kind, const MenuSource& source);

}  // namespace melorin
