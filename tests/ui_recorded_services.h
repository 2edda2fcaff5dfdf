// SPDX-License-Identifier: MIT
//
// Window services that record what is asked of them.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <utility>

#include "ui/window_services.h"

namespace melorin {

class RecordedServices final : public WindowServices, public CommandTarget {
 public:
  std::string asked;              ///< "1405 ", "menu 3 at 4,62 ", …
  std::function<void()> on_menu;  ///< While a menu is shown.
  std::set<CommandId> checked;

  std::string Asked() { return std::exchange(asked, {}); }

  CommandTarget& Commands() override { return *this; }
  void ShowMenu(MenuKind kind, SkinWindow, int32_t x, int32_t y) override {
    asked += "menu " + std::to_string(static_cast<int>(kind)) + " at " + std::to_string(x) + "," +
             std::to_string(y) + " ";
    if (on_menu) on_menu();
  }
  std::u16string TipOf(CommandId command) override { return PlainCommandText(FindCommand(command)->text); }
  void Execute(CommandId command) override { asked += std::to_string(static_cast<int32_t>(command)) + " "; }
  bool IsEnabled(CommandId) const override { return true; }
  bool IsChecked(CommandId command) const override { return checked.contains(command); }
};

}  // namespace melorin
