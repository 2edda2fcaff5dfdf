// SPDX-License-Identifier: MIT
//
// The commands that play, seek, change the volume and the play mode, open files and end the player.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "app/player.h"
#include "ui/command_handler.h"

namespace melorin {

/// What these commands need of the windows. Thread: the UI thread.
class CommandWindows {
 public:
  virtual HWND DialogOwner() = 0;
  virtual void ExitPlayer() = 0;
  virtual void ShowMainMenu() = 0;

 protected:
  ~CommandWindows() = default;
};

/// Thread: the UI thread.
class PlaybackCommands final : public CommandHandler {
 public:
  /// All must outlive this.
  PlaybackCommands(const SoundLibrary& library, Player& player, CommandWindows& windows)
      : library_(library), player_(player), windows_(windows) {}

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId command) const override;
  bool IsChecked(CommandId command) const override;

 private:
  void TellMode();
  void Open(std::vector<std::u16string> paths);

  const SoundLibrary& library_;
  Player& player_;
  CommandWindows& windows_;
};

}  // namespace melorin
