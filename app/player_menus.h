// SPDX-License-Identifier: MIT
//
// PlayerMenus: commands, menus and tips as the windows' views ask for them, and keys as the windows bring
// them.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "doc/settings.h"
#include "ui/command_handler.h"
#include "ui/control.h"
#include "ui/window_services.h"

namespace melorin {

class WindowGroup;

/// Thread: the UI thread.
class PlayerMenus final : public WindowServices {
 public:
  /// Tells a menu what it is made of: lists, presets, skins.
  using Fill = std::function<void(MenuSource& source)>;

  /// All must outlive this. `executed`: called after every command.
  PlayerMenus(CommandRouter& commands, const Settings& settings, std::function<void()> executed)
      : commands_(commands), settings_(settings), executed_(std::move(executed)) {}

  /// The windows that menus belong to; null when they go.
  void SetWindows(WindowGroup* windows) { windows_ = windows; }
  void AddFill(Fill fill) { fills_.push_back(std::move(fill)); }

  // ---- WindowServices

  CommandTarget& Commands() override { return commands_; }
  void ShowMenu(MenuKind kind, SkinWindow window, int32_t x, int32_t y) override;
  std::u16string TipOf(CommandId command) override;

  /// At a point of the screen; `owner` comes to the front meanwhile.
  void ShowMenuAt(MenuKind kind, HWND owner, POINT screen);
  /// False when nobody carries the command out, be it now or ever; true also when it is disabled now.
  bool Run(CommandId command);
  /// The command of a key in the player's windows.
  bool RunKey(const KeyPress& key);

 private:
  CommandRouter& commands_;
  const Settings& settings_;
  const std::function<void()> executed_;
  WindowGroup* windows_ = nullptr;
  std::vector<Fill> fills_;
};

}  // namespace melorin
