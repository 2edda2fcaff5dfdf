// SPDX-License-Identifier: MIT
//
// Application: the parts of the player, put together: it owns them, says which is for what, and keeps what is
// shown in step with what plays. What a part can do itself is not done here.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/dialogs/list_dialogs.h"
#include "app/equalizer_desk.h"
#include "app/find_edit.h"
#include "app/hot_keys.h"
#include "app/list_desk.h"
#include "app/lyric_desk.h"
#include "app/main_window.h"
#include "app/playback_commands.h"
#include "app/player.h"
#include "app/player_menus.h"
#include "app/player_options.h"
#include "app/player_visuals.h"
#include "app/player_windows.h"
#include "app/skin_desk.h"
#include "app/status_board.h"
#include "app/tray_icon.h"
#include "ui/player_window_view.h"
#include "ui/visual_control.h"

namespace melorin {

/// Thread: the UI thread, except TakeCommandLine.
class Application final : private MainWindowClient,
                          private PlayerWindowsHost,
                          private CommandWindows,
                          private OptionsWindow,
                          private ListDeskHost,
                          private LyricDeskHost,
                          private EqualizerDeskHost,
                          private PlayerActions {
 public:
  /// The library must outlive this.
  Application(HINSTANCE instance, const SoundLibrary& library, std::string data_folder_gbk);
  ~Application();
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  Player& GetPlayer() { return player_; }

  /// Carries the first command line out: what is read for it is read while the windows are made. The settings
  /// must have been read. False when the platform refuses.
  bool Start(CommandLine line);
  /// Makes and shows the windows. False when the platform refuses.
  bool Open(int show);
  /// Messages until the player is closed; returns the program's exit code.
  int Run();

  /// Carries out a command line that another instance handed over. Returns the answer to it; nothing when the
  /// player closes: then nobody carries it out here. Thread: any but the UI thread.
  std::optional<std::string> TakeCommandLine(std::u16string text);

 private:
  void ExecuteCommandLine(const std::u16string& text);
  std::string StatusText() const;
  void FinishStart();
  /// Beside the tray icon, when no window says it.
  void TellTrack();
  void ShowCaption();
  std::unique_ptr<Control> MakeVisual(SkinWindow window);
  void Apply(VisualControl& visual) const;
  void ApplyVisuals();
  void ApplySettings();
  void WearSkin();

  // MainWindowClient
  void OnStreamEvent(WPARAM event, PlaybackStream* stream) override;
  void OnNextTrackTimer() override { player_.Control().OnNextTrackTimer(); }
  void OnTick() override;
  void OnSaveDue() override { player_.SaveNow(); }
  void OnGlobalKey(WPARAM id) override { menus_.Run(hot_keys_.CommandOf(id)); }
  bool OnMediaCommand(int app_command) override { return menus_.Run(CommandOfAppCommand(app_command)); }
  void OnTrayMessage(WPARAM wparam, LPARAM lparam) override;
  bool OnUnknownMessage(UINT message) override { return tray_ && tray_->OnTaskbarCreated(message); }
  void OnSessionEnds() override { player_.SaveNow(true); }
  int OnClose() override;
  void RefreshWindows() override;
  void TellUser(const std::u16string& text) override { status_.Tell(text); }

  // PlayerWindowsHost, CommandWindows
  void ExitPlayer() override;
  void DropFiles(SkinWindow window, int32_t x, int32_t y, std::vector<std::u16string> paths) override;
  void HoldFiles(SkinWindow window, std::optional<std::pair<int32_t, int32_t>> point) override {
    if (window == SkinWindow::kPlaylist) list_desk_.ShowDropPlace(point);
  }
  void ShowMainMenu() override;

  // What dialogs and desks need.
  HWND DialogOwner() override { return windows_.Group().MainHandle(); }
  HWND KeyWindow() override { return window_.Handle(); }
  void SettingsChanged(SettingsPart part) override;
  void ShowListMenu(MenuKind kind, int32_t x, int32_t y) override {
    menus_.ShowMenu(kind, SkinWindow::kPlaylist, x, y);
  }
  void BringListForward() override;
  void FindBarChanged() override;
  void LineChanged() override { window_.Refresh(); }
  void ShowLyricWindow() override { windows_.Group().SetShown(SkinWindow::kLyric, true); }
  void SetLyricWidth(int32_t width) override;

  // PlayerActions
  void SeekTo(uint32_t position_ms) override;
  void SetVolume(int32_t volume) override;
  void StepVolume(int32_t steps) override;

  MainWindow window_;
  Player player_;
  StatusBoard status_;
  HotKeys hot_keys_;
  CommandRouter commands_;
  PlayerMenus menus_;
  PlaybackCommands playback_commands_;
  PlayerOptions options_;
  SystemListDialogs list_dialogs_;
  ListDesk list_desk_;
  LyricDesk lyric_desk_;
  EqualizerDesk equalizer_desk_;
  PlayerVisuals visuals_;
  PlayerWindowView player_view_;
  PlayerWindowView mini_view_;
  PlayerWindows windows_;
  SkinDesk skin_desk_;
  FindEdit find_edit_;
  DelayedTask finish_start_;
  std::optional<TrayIcon> tray_;
  PlayState state_ = PlayState::kStopped;  ///< That the windows show, and the track.
  ItemRef track_;
  std::u16string caption_;
};

}  // namespace melorin
