// SPDX-License-Identifier: MIT
//
// EqualizerDesk: the equalizer window's brain: it brings what the window and the commands do to the settings
// and to what plays.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "app/options/choosers.h"
#include "app/player.h"
#include "ui/command_handler.h"
#include "ui/equalizer_window_view.h"
#include "ui/menu.h"

namespace melorin {

/// Thread: the UI thread.
class EqualizerDeskHost {
 public:
  /// In front of which window dialogs are shown.
  virtual HWND DialogOwner() = 0;

 protected:
  ~EqualizerDeskHost() = default;
};

/// Thread: the UI thread.
class EqualizerDesk final : public CommandHandler, private EqualizerActions {
 public:
  /// All must outlive the desk.
  EqualizerDesk(Player& player, WindowServices& services, EqualizerDeskHost& host,
                Choosers& choosers = SystemChoosers());

  EqualizerWindowView& View() { return view_; }

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId) const override { return true; }
  bool IsChecked(CommandId command) const override;

  /// The presets, and which of them is in use.
  void FillMenu(MenuSource& source) const;
  /// The settings were read, or balance, surround or the curve may be other ones.
  void SettingsChanged();

 private:
  const EqualizerSettings& Equalizer() const override;
  int32_t Balance() const override;
  void MoveBand(size_t band, int32_t db) override;
  void SetBalance(int32_t balance) override;
  void SetSurround(int32_t level) override;

  std::optional<std::string> AskForFile(bool save);
  void LoadCurve();
  void SaveCurve();
  /// The settings' curve is another: it is to be heard, seen and kept.
  void Apply();

  Player& player_;
  EqualizerDeskHost& host_;
  Choosers& choosers_;
  EqualizerWindowView view_;
};

}  // namespace melorin
