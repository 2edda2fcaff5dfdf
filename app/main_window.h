// SPDX-License-Identifier: MIT
//
// The plain player window: shows what plays, passes keys, buttons, dropped files and command lines on to the
// track player, and writes the event log. Messages to calls; what it looks like is PlayerView's.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <deque>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/event_log.h"
#include "app/gdi.h"
#include "app/path_expander.h"
#include "app/player_view.h"
#include "app/track_player.h"

namespace melorin {

inline constexpr wchar_t kProductName[] = L"Melorin";

/// Thread: the UI thread, except PostCommandLine.
class MainWindow final : private TrackPlayerListener {
 public:
  static constexpr wchar_t kClassName[] = L"MelorinMainWnd";

  /// The library must outlive the window.
  MainWindow(HINSTANCE instance, const SoundLibrary& library);
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  /// Makes and shows the window. False when the platform refuses.
  bool Create(int show);
  /// Messages until the window is closed; returns the program's exit code.
  int Run();

  /// Carries a command line out, paths off this thread first.
  void Execute(CommandLine line);
  /// The same from any thread, for a command line that another instance handed over; comes to the front.
  /// False when the window is gone.
  static bool PostCommandLine(HWND window, std::u16string text);

  HWND Window() const { return window_; }

  EventLog& Log() { return log_; }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  LRESULT Handle(UINT message, WPARAM wparam, LPARAM lparam);
  void OnDestroy();
  void OnTimer(UINT_PTR timer);
  bool OnKey(WPARAM key);
  bool OnAppCommand(int command);
  void OnClick(POINT point);
  void OnDrop(HDROP drop);
  void OnDpiChanged(int dpi, const RECT& place);
  void OnHandedOver(const std::u16string& text);
  void Paint();

  void StartNextJob();
  void FinishJob(std::vector<std::u16string> files);
  void Load(const CommandLine& line, std::vector<std::u16string> files);
  void SeekTo(uint32_t position_ms);
  void ChangeVolume(int change);
  void ShowMessage(const std::u16string& text);
  void ReportProblem(const std::u16string& text);
  void CloseSoon();

  void OnOpened(const TrackInfo& track) override;
  void OnState(PlayState state) override;
  void OnFailed(const std::u16string& path, const std::u16string& text, HRESULT result) override;
  void OnEnded() override;
  void OnFinished() override;

  PlayerPicture MakePicture() const;
  void Refresh();

  HINSTANCE instance_;
  const SoundLibrary& library_;
  HWND window_ = nullptr;
  TrackPlayer player_;
  PlayerView view_;
  PlayerPicture shown_;
  BackBuffer back_buffer_;
  EventLog log_;
  PathExpander expander_;
  std::deque<CommandLine> jobs_;  ///< The first is under way.
  std::u16string message_;
  uint32_t logged_second_ = 0;
  bool auto_close_ = false;
  int exit_code_ = 0;
};

}  // namespace melorin
