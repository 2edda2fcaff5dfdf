// SPDX-License-Identifier: MIT
//
// What the options dialog changes, brought to the player.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/hot_keys.h"
#include "app/options/options_dialog.h"
#include "app/player.h"
#include "ui/command_handler.h"

namespace melorin {

/// What the options need of the main window. Thread: the UI thread.
class OptionsWindow {
 public:
  virtual HWND DialogOwner() = 0;
  /// Gets the global keys; null while there is no window.
  virtual HWND KeyWindow() = 0;
  /// What the windows take from that section may be another.
  virtual void SettingsChanged(SettingsPart part) = 0;

 protected:
  ~OptionsWindow() = default;
};

/// Carries out kOptions and kAbout. Thread: the UI thread, except PostTask.
class PlayerOptions final : public CommandHandler, private OptionsHost {
 public:
  /// All must outlive this.
  PlayerOptions(const SoundLibrary& library, Player& player, PlayerFrame& frame, HotKeys& keys,
                OptionsWindow& window)
      : library_(library), player_(player), frame_(frame), keys_(keys), window_(window), dialog_(*this) {}

  /// Takes the global keys that the settings name.
  void RegisterKeys();
  bool TakesMessage(MSG& message) { return dialog_.TakesMessage(message); }
  void Close() { dialog_.Close(); }
  /// Settings may have been changed elsewhere.
  void Refresh() { dialog_.Refresh(); }

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId) const override { return true; }
  bool IsChecked(CommandId) const override { return false; }

 private:
  Settings& Values() override { return player_.Values(); }
  void SettingsChanged(SettingsPart part) override;
  const SoundLibrary& Library() override { return library_; }
  std::string DataFolderGbk() override { return player_.Data().DataFolderGbk(); }
  std::string SkinFolderGbk() override;
  std::string AddInFolderGbk() override;
  std::u16string Version() override;
  std::vector<CommandId> RefusedHotKeys() override;
  void SuspendHotKeys(bool suspended) override;
  void PostTask(std::function<void()> task) override { frame_.PostTask(std::move(task)); }

  const SoundLibrary& library_;
  Player& player_;
  PlayerFrame& frame_;
  HotKeys& keys_;
  OptionsWindow& window_;
  std::vector<KeyBinding> refused_;
  OptionsDialog dialog_;
};

}  // namespace melorin
