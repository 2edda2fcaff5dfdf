// SPDX-License-Identifier: MIT
#include "app/main_window.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "app/message_queue.h"
#include "app/resource.h"

namespace melorin {
namespace {

constexpr UINT kTaskMessage = WM_APP + 2;

constexpr UINT_PTR kTickTimer = 1;
constexpr UINT_PTR kCloseTimer = 2;
constexpr UINT_PTR kSaveTimer = 4;
constexpr UINT kTickMs = 250;
// What the device has taken is still on its way through the mixer when the track has ended.
constexpr UINT kCloseDelayMs = 500;

using UiTask = std::function<void()>;

/// Takes over what PostTask has posted.
std::unique_ptr<UiTask> TakeTask(LPARAM lparam) {
  return std::unique_ptr<UiTask>(reinterpret_cast<UiTask*>(lparam));
}

}  // namespace

MainWindow::~MainWindow() {
  if (!window_) return;
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(window_);
}

bool MainWindow::Create(HINSTANCE instance) {
  WNDCLASSEXW window_class{};
  window_class.cbSize = sizeof(window_class);
  window_class.lpfnWndProc = Procedure;
  window_class.hInstance = instance;
  window_class.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(IDI_MELORIN));
  window_class.lpszClassName = kClassName;
  if (!RegisterClassExW(&window_class)) return false;
  // Not a message-only window: those are not told of the session's end, nor of a new task bar.
  return CreateWindowExW(0, kClassName, kProductName, WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, instance,
                         this) != nullptr;
}

void MainWindow::Close() {
  if (window_ && !closing_) PostMessageW(window_, WM_CLOSE, 0, 0);
}

LRESULT CALLBACK MainWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
    self->window_ = window;
    self->takes_tasks_ = true;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) return DefWindowProcW(window, message, wparam, lparam);
  try {
    return self->Handle(message, wparam, lparam);
  } catch (...) {
    // Memory has run out; the message is lost, the window lives on.
    return DefWindowProcW(window, message, wparam, lparam);
  }
}

LRESULT MainWindow::Handle(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case kStreamMessage:
      client_.OnStreamEvent(wparam, reinterpret_cast<PlaybackStream*>(lparam));
      return 0;
    case kTaskMessage:
      (*TakeTask(lparam))();
      return 0;
    case kTrayMessage:
      // A menu would keep the program from ending.
      if (!closing_) client_.OnTrayMessage(wparam, lparam);
      return 0;
    case WM_TIMER:
      OnTimer(wparam);
      return 0;
    case WM_HOTKEY:
      if (!closing_) client_.OnGlobalKey(wparam);
      return 0;
    case WM_APPCOMMAND:
      if (client_.OnMediaCommand(GET_APPCOMMAND_LPARAM(lparam))) return TRUE;
      break;
    case WM_QUERYENDSESSION:
      client_.OnSessionEnds();
      return TRUE;
    case WM_ENDSESSION:
      if (wparam) client_.OnSessionEnds();
      return 0;
    case WM_CLOSE:
      OnClose();
      return 0;
    default:
      if (client_.OnUnknownMessage(message)) return 0;
      break;
  }
  return DefWindowProcW(window_, message, wparam, lparam);
}

void MainWindow::OnTimer(UINT_PTR timer) {
  switch (timer) {
    case kNextTrackTimer:
      client_.OnNextTrackTimer();
      break;
    case kTickTimer:
      client_.OnTick();
      break;
    case kSaveTimer:
      KillTimer(window_, kSaveTimer);
      saves_later_ = false;
      client_.OnSaveDue();
      break;
    case kCloseTimer:
      KillTimer(window_, kCloseTimer);
      Close();
      return;
    default:
      return;
  }
  Refresh();
}

void MainWindow::OnClose() {
  if (closing_.exchange(true)) return;
  for (const UINT_PTR timer : {kTickTimer, kCloseTimer, kSaveTimer})
    KillTimer(window_, timer);
  // While the windows are still there: the system destroys them with their owner, and then the owner.
  const int exit_code = client_.OnClose();
  // Tasks on their way to a window that is going; whoever waits for one learns that it does not come.
  {
    const Lock lock(tasks_lock_);
    takes_tasks_ = false;
  }
  TakeMessages(window_, kTaskMessage, kTaskMessage,
               [](const MSG& message) { (void)TakeTask(message.lParam); });
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(std::exchange(window_, nullptr));
  PostQuitMessage(exit_code);
}

void MainWindow::SetTicking(bool ticking) {
  if (ticking == ticking_ || !window_) return;
  ticking_ = ticking;
  if (ticking) {
    SetTimer(window_, kTickTimer, kTickMs, nullptr);
  } else {
    KillTimer(window_, kTickTimer);
  }
}

// ---- what the player needs

void MainWindow::StartNextTimer(uint32_t delay_ms) {
  SetTimer(window_, kNextTrackTimer, delay_ms, nullptr);
}

void MainWindow::StopNextTimer() {
  KillTimer(window_, kNextTrackTimer);
}

void MainWindow::PostStreamEvent(uint32_t message, uint32_t event, PlaybackStream* stream) {
  PostMessageW(window_, message, event, reinterpret_cast<LPARAM>(stream));
}

void MainWindow::DropStreamEvents(PlaybackStream* stream) {
  std::vector<MSG> others;
  TakeMessages(window_, kStreamMessage, kStreamMessage, [&](const MSG& message) {
    if (message.lParam != reinterpret_cast<LPARAM>(stream)) others.push_back(message);
  });
  for (const MSG& other : others)
    PostMessageW(other.hwnd, other.message, other.wParam, other.lParam);
}

void MainWindow::PumpMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void MainWindow::PostTask(std::function<void()> task) {
  auto posted = std::make_unique<UiTask>(std::move(task));
  const Lock lock(tasks_lock_);
  if (takes_tasks_ && PostMessageW(window_, kTaskMessage, 0, reinterpret_cast<LPARAM>(posted.get())))
    (void)posted.release();
}

void MainWindow::Refresh() {
  if (window_ && !closing_) client_.RefreshWindows();
}

void MainWindow::SaveLater(uint32_t delay_ms) {
  if (saves_later_) return;
  saves_later_ = SetTimer(window_, kSaveTimer, delay_ms, nullptr) != 0;
}

void MainWindow::CloseSoon() {
  SetTimer(window_, kCloseTimer, kCloseDelayMs, nullptr);
}

}  // namespace melorin
