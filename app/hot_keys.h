// SPDX-License-Identifier: MIT
//
// Keys and the keyboard's media buttons as commands. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <span>
#include <vector>

#include "doc/settings.h"
#include "ui/command_table.h"

namespace melorin {

/// Keys that work wherever the user is.
class HotKeys {
 public:
  HotKeys() = default;
  ~HotKeys() { Unregister(); }
  HotKeys(const HotKeys&) = delete;
  HotKeys& operator=(const HotKeys&) = delete;

  /// Takes the global keys of the settings, in place of those of an earlier call; none when they are off.
  /// `window` gets WM_HOTKEY. Returns the bindings whose key another program has, or the system keeps.
  std::vector<KeyBinding> Register(HWND window, const HotKeySettings& settings);
  void Unregister();

  /// The command of a WM_HOTKEY message's wparam.
  CommandId CommandOf(WPARAM id) const;

 private:
  struct Registered {
    int id;
    CommandId command;
  };
  HWND window_ = nullptr;
  std::vector<Registered> registered_;
};

/// The key of a WM_KEYDOWN or WM_SYSKEYDOWN that is being handled, with the modifiers that are held.
KeyStroke KeyStrokeOf(WPARAM key);
/// Its command in the player's windows; kNone for other messages.
CommandId CommandOfKeyMessage(std::span<const KeyBinding> map, UINT message, WPARAM key);

/// The command of WM_APPCOMMAND, given GET_APPCOMMAND_LPARAM. kNone for what is not the player's; the volume
/// of the whole system is not.
CommandId CommandOfAppCommand(int app_command);

}  // namespace melorin
