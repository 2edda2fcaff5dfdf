// SPDX-License-Identifier: MIT
//
// SkinDesk: the skins of the menu, and the commands that put one on.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "app/player.h"
#include "app/worker.h"
#include "skin/skin_list.h"
#include "ui/command_handler.h"
#include "ui/menu.h"

namespace melorin {

/// Thread: the UI thread.
class SkinDesk final : public CommandHandler {
 public:
  /// `wear` puts on what the settings name. All must outlive this.
  SkinDesk(Player& player, std::function<void()> wear) : player_(player), wear_(std::move(wear)) {}

  /// Reads the skins that there are, on a worker.
  void ReadSkins();
  /// For menus. Skins that have come or gone since the last time are seen the next time.
  void FillMenu(MenuSource& source);
  /// Waits for the worker.
  void Close() { worker_.Stop(); }

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId) const override { return true; }
  bool IsChecked(CommandId command) const override;

 private:
  /// Null when the command is of no skin.
  const SkinListEntry* SkinOf(CommandId command) const;
  bool IsWorn(const SkinListEntry& skin) const;

  Player& player_;
  const std::function<void()> wear_;
  std::vector<SkinListEntry> skins_;
  std::optional<std::vector<SkinListEntry>> found_;  ///< By the worker, since the last menu.
  bool reading_ = false;
  Worker worker_;
};

}  // namespace melorin
