// SPDX-License-Identifier: MIT
//
// The table of the player's commands: what menus, tool tips, hot keys and the options page know of them.
// CommandTarget carries them out.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "doc/command_id.h"
#include "doc/settings_types.h"

namespace melorin {

struct Command {
  CommandId id;
  const char16_t* text;  ///< As in menus, with the key to choose it by: "停止(&S)".
  const char16_t* tip;   ///< Of a button; null: the text without its key.
  bool may_have_key;     ///< The options page offers keys for it.
};

/// All but those with a number added, in the order in which the options page shows them.
std::span<const Command> Commands();
/// Null for a number that no command has, or one with a number added.
const Command* FindCommand(CommandId id);
/// "停止" of "停止(&S)", and without the dots that announce a dialog.
std::u16string PlainCommandText(std::u16string_view menu_text);

/// Carries commands out. Thread: the UI thread.
class CommandTarget {
 public:
  virtual void Execute(CommandId command) = 0;
  virtual bool IsEnabled(CommandId command) const = 0;
  virtual bool IsChecked(CommandId command) const = 0;

 protected:
  ~CommandTarget() = default;
};

/// "Ctrl+Alt+P", "空格", "媒体播放/暂停"; empty for none.
std::u16string KeyText(const KeyStroke& key);
/// The binding of a command; its keys are none when the map has none.
KeyBinding FindBinding(std::span<const KeyBinding> map, CommandId command);
/// The command of a key in the player's windows; kNone when there is none.
CommandId CommandOfKey(std::span<const KeyBinding> map, const KeyStroke& application);

struct KeyConflict {
  CommandId first;
  CommandId second;
  KeyStroke key;
  bool global;
};
/// Keys that two commands have: of such the first in the map has the key.
std::vector<KeyConflict> FindKeyConflicts(std::span<const KeyBinding> map);

}  // namespace melorin
