// SPDX-License-Identifier: MIT
//
// The plain player window: passes messages, keys, buttons and dropped files on to the Player and shows what
// it finds there. Messages to calls; what it looks like is PlayerView's.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>

#include "app/gdi.h"
#include "app/hot_keys.h"
#include "app/playback_commands.h"
#include "app/player.h"
#include "app/player_options.h"
#include "app/player_view.h"
#include "app/tray_icon.h"
#include "ui/command_handler.h"
#include "ui/menu.h"

namespace melorin {

inline constexpr wchar_t kProductName[] = L"Melorin";

/// Thread: the UI thread, except PostCommandLine, PostTask and PostStreamEvent.
class MainWindow final : private PlayerFrame, private CommandWindows, private OptionsWindow {
 public:
  static constexpr wchar_t kClassName[] = L"MelorinMainWnd";

  /// The library must outlive the window.
  MainWindow(HINSTANCE instance, const SoundLibrary& library, std::string data_folder_gbk);
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  /// Makes and shows the window. False when the platform refuses.
  bool Create(int show);
  /// Messages until the window is closed; returns the program's exit code.
  int Run();

  /// Executes a command line that another instance handed over, and comes to the front. False when the window
  /// closes: then nobody executes it here. Thread: any.
  bool PostCommandLine(std::u16string text);

  Player& GetPlayer() { return player_; }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  LRESULT Handle(UINT message, WPARAM wparam, LPARAM lparam);
  void OnDestroy();
  void OnTimer(UINT_PTR timer);
  /// True when there is such a command, whether or not it can be carried out now.
  bool RunCommand(CommandId command);
  void BringToFront();
  void OnTray(WPARAM wparam, LPARAM lparam);
  void ShowMenu(MenuKind kind, std::optional<POINT> screen);
  void OnClick(POINT point);
  void OnDrop(HDROP drop);
  void OnDpiChanged(int dpi, const RECT& place);
  void OnHandedOver(const std::u16string& text);
  void Paint();
  PlayerPicture MakePicture() const;
  void ShowCaption();

  void StartNextTimer(uint32_t delay_ms) override;
  void StopNextTimer() override;
  void PostStreamEvent(uint32_t message, uint32_t event, PlaybackStream* stream) override;
  void DropStreamEvents(PlaybackStream* stream) override;
  void PumpMessages() override;
  void* WindowHandle() override { return window_; }
  void PostTask(std::function<void()> task) override;
  void Refresh() override;
  void ShowMessage(const std::u16string& text) override;
  void SaveLater(uint32_t delay_ms) override;
  void CloseSoon() override;

  HWND DialogOwner() override { return window_; }
  HWND KeyWindow() override { return window_; }
  void ApplyIcon() override;
  void Minimize() override;
  void ShowOrHide() override;
  void ExitPlayer() override { CloseSoon(); }
  void ShowMainMenu() override { ShowMenu(MenuKind::kMain, {}); }

  HINSTANCE instance_;
  HWND window_ = nullptr;
  PlayerView view_;
  PlayerPicture shown_;
  std::u16string caption_;
  BackBuffer back_buffer_;
  std::u16string message_;
  std::atomic<bool> closing_{false};
  bool refreshes_ = false;
  bool saves_later_ = false;
  int exit_code_ = 0;
  HotKeys hot_keys_;
  std::optional<TrayIcon> tray_;
  CommandRouter commands_;
  Player player_;  ///< Near the end: its streams go before the rest of the window does.
  PlaybackCommands playback_commands_;
  PlayerOptions options_;
};

}  // namespace melorin
