// SPDX-License-Identifier: MIT
//
// MainWindow: the window that is never seen. The program's messages come to it: what the playback tells,
// tasks of other threads, timers, global keys, the tray icon, the end of the user's session. It owns the
// windows that are seen, and passes all of it on.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <string>

#include "app/player.h"
#include "platform/thread.h"

namespace melorin {

inline constexpr wchar_t kProductName[] = L"Melorin";

/// Whom the messages are for. Thread: the UI thread.
class MainWindowClient {
 public:
  virtual void OnStreamEvent(WPARAM event, PlaybackStream* stream) = 0;
  virtual void OnNextTrackTimer() = 0;
  virtual void OnTick() = 0;
  virtual void OnSaveDue() = 0;
  virtual void OnGlobalKey(WPARAM id) = 0;
  /// A media key, as WM_APPCOMMAND has it. True: taken.
  virtual bool OnMediaCommand(int app_command) = 0;
  virtual void OnTrayMessage(WPARAM wparam, LPARAM lparam) = 0;
  virtual bool OnUnknownMessage(UINT message) = 0;
  /// The user logs off, or the system shuts down: save now.
  virtual void OnSessionEnds() = 0;
  /// The program ends. Returns its exit code.
  virtual int OnClose() = 0;
  virtual void RefreshWindows() = 0;
  virtual void TellUser(const std::u16string& text) = 0;

 protected:
  ~MainWindowClient() = default;
};

/// Thread: the UI thread, except PostTask, PostStreamEvent and IsClosing.
class MainWindow final : public PlayerFrame {
 public:
  static constexpr wchar_t kClassName[] = L"MelorinMainWnd";
  static constexpr UINT kTrayMessage = WM_APP + 3;

  /// The client must outlive the window.
  explicit MainWindow(MainWindowClient& client) : client_(client) {}
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  /// False when the platform refuses.
  bool Create(HINSTANCE instance);
  HWND Handle() const { return window_; }
  /// Closes the window before long; nothing when it closes already.
  void Close();
  bool IsClosing() const { return closing_; }
  /// Calls OnTick four times a second, or no longer.
  void SetTicking(bool ticking);

  // ---- PlayerFrame

  void PostTask(std::function<void()> task) override;
  void Refresh() override;
  void ShowMessage(const std::u16string& text) override { client_.TellUser(text); }
  void SaveLater(uint32_t delay_ms) override;
  void CloseSoon() override;
  void StartNextTimer(uint32_t delay_ms) override;
  void StopNextTimer() override;
  void PostStreamEvent(uint32_t message, uint32_t event, PlaybackStream* stream) override;
  void DropStreamEvents(PlaybackStream* stream) override;
  void PumpMessages() override;
  void* WindowHandle() override { return window_; }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  LRESULT Handle(UINT message, WPARAM wparam, LPARAM lparam);
  void OnTimer(UINT_PTR timer);
  void OnClose();

  MainWindowClient& client_;
  HWND window_ = nullptr;
  std::atomic<bool> closing_{false};
  CriticalSection tasks_lock_;
  bool takes_tasks_ = false;  ///< Under the lock.
  bool ticking_ = false;
  bool saves_later_ = false;
};

}  // namespace melorin
