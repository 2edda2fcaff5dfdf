// SPDX-License-Identifier: MIT
//
// What the hot key page does to the map of keys, and what it says of it. Knows no window. Thread: any.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "ui/command_table.h"

namespace melorin {

/// A key that works wherever the user is must not be one that people type: it has Ctrl, Alt or Win with it,
/// or is one of the keyboard's media and browser keys.
bool MayBeGlobal(const KeyStroke& key);

/// The command gets the key in place of the one it had; key 0: none.
void SetHotKey(std::vector<KeyBinding>& map, CommandId command, bool global, const KeyStroke& key);

/// What is wrong with the keys of a command, a line each; empty when nothing is. `refused`: commands whose
/// global key another program holds. `command` kNone: of all commands.
std::u16string HotKeyProblems(std::span<const KeyBinding> map, std::span<const CommandId> refused,
                              CommandId command);

}  // namespace melorin
