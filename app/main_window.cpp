// SPDX-License-Identifier: MIT
#include "app/main_window.h"

#include <windowsx.h>

#include <imm.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "app/player_text.h"
#include "app/popup_menu.h"
#include "app/resource.h"

namespace melorin {
namespace {

constexpr UINT kHandedOverMessage = WM_APP + 1;
constexpr UINT kTaskMessage = WM_APP + 2;
constexpr UINT kTrayMessage = WM_APP + 3;

constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT_PTR kCloseTimer = 2;
constexpr UINT_PTR kMessageTimer = 3;
constexpr UINT_PTR kSaveTimer = 4;
constexpr UINT kRefreshMs = 250;
// What the device has taken is still on its way through the mixer when the track has ended.
constexpr UINT kCloseDelayMs = 500;
constexpr UINT kMessageMs = 8000;
/// A menu that the keyboard asked for, from the window's corner.
constexpr int kMenuOffset = 32;

constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
constexpr DWORD kExStyle = WS_EX_ACCEPTFILES | WS_EX_APPWINDOW;

#ifndef WM_DPICHANGED
constexpr UINT WM_DPICHANGED = 0x02E0;
#endif

int WindowDpi(HWND window) {
  const HDC dc = GetDC(window);
  const int dpi = dc ? GetDeviceCaps(dc, LOGPIXELSY) : 96;
  if (dc) ReleaseDC(window, dc);
  return dpi > 0 ? dpi : 96;
}

SIZE WindowSize(int dpi) {
  const SIZE client = PlayerView::ClientSize(dpi);
  RECT area = {0, 0, client.cx, client.cy};
  AdjustWindowRectEx(&area, kStyle, FALSE, kExStyle);
  return {area.right - area.left, area.bottom - area.top};
}

/// Posts an object that the receiver takes over.
template <class T>
bool PostObject(HWND window, UINT message, std::unique_ptr<T> object) {
  if (!PostMessageW(window, message, 0, reinterpret_cast<LPARAM>(object.get()))) return false;
  (void)object.release();
  return true;
}
template <class T>
std::unique_ptr<T> TakeObject(LPARAM lparam) {
  return std::unique_ptr<T>(reinterpret_cast<T*>(lparam));
}

using UiTask = std::function<void()>;

}  // namespace

MainWindow::MainWindow(HINSTANCE instance, const SoundLibrary& library, std::string data_folder_gbk)
    : instance_(instance),
      player_(library, *this, std::move(data_folder_gbk)),
      playback_commands_(library, player_, *this),
      options_(library, player_, *this, hot_keys_, *this) {
  commands_.Add(playback_commands_);
  commands_.Add(options_);
}

MainWindow::~MainWindow() {
  if (window_) DestroyWindow(window_);
}

bool MainWindow::Create(int show) {
  WNDCLASSEXW window_class{};
  window_class.cbSize = sizeof(window_class);
  window_class.lpfnWndProc = Procedure;
  window_class.hInstance = instance_;
  window_class.hCursor = LoadCursor(nullptr, IDC_ARROW);
  window_class.hIcon = LoadIconW(instance_, MAKEINTRESOURCEW(IDI_MELORIN));
  window_class.hIconSm =
      static_cast<HICON>(LoadImageW(instance_, MAKEINTRESOURCEW(IDI_MELORIN), IMAGE_ICON,
                                    GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), LR_SHARED));
  window_class.lpszClassName = kClassName;
  if (!RegisterClassExW(&window_class)) return false;

  const int dpi = WindowDpi(nullptr);
  const SIZE size = WindowSize(dpi);
  window_ = CreateWindowExW(kExStyle, kClassName, kProductName, kStyle, CW_USEDEFAULT, CW_USEDEFAULT, size.cx,
                            size.cy, nullptr, nullptr, instance_, this);
  if (!window_) return false;
  // Keys are commands here, so no input method may take them.
  ImmAssociateContext(window_, nullptr);
  const SIZE client = PlayerView::ClientSize(dpi);
  view_.Layout(client.cx, client.cy, dpi);
  options_.RegisterKeys();
  tray_.emplace(window_, kTrayMessage);
  ApplyIcon();
  tray_->SetTip(AsChar16(kProductName));
  tray_->Show();
  shown_ = MakePicture();
  ShowWindow(window_, show);
  UpdateWindow(window_);
  return true;
}

int MainWindow::Run() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (options_.TakesMessage(message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return static_cast<int>(message.wParam);
}

LRESULT CALLBACK MainWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
    self->window_ = window;
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
      player_.Control().OnStreamEvent(wparam, reinterpret_cast<PlaybackStream*>(lparam));
      return 0;
    case kHandedOverMessage:
      OnHandedOver(*TakeObject<std::u16string>(lparam));
      return 0;
    case kTaskMessage:
      (*TakeObject<UiTask>(lparam))();
      return 0;
    case WM_TIMER:
      OnTimer(wparam);
      return 0;
    case WM_PAINT:
      Paint();
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN:
      if (RunCommand(CommandOfKeyMessage(player_.Data().Values().hot_key.key_map, message, wparam))) return 0;
      break;
    case WM_HOTKEY:
      RunCommand(hot_keys_.CommandOf(wparam));
      return 0;
    case WM_APPCOMMAND:
      if (RunCommand(CommandOfAppCommand(GET_APPCOMMAND_LPARAM(lparam)))) return TRUE;
      break;
    case WM_CONTEXTMENU:
      // From the keyboard there is no point.
      ShowMenu(MenuKind::kMain,
               lparam == -1 ? std::optional<POINT>() : POINT{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)});
      return 0;
    case kTrayMessage:
      OnTray(wparam, lparam);
      return 0;
    case WM_LBUTTONDOWN:
      OnClick({GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)});
      return 0;
    case WM_MOUSEWHEEL:
      RunCommand(GET_WHEEL_DELTA_WPARAM(wparam) > 0 ? CommandId::kVolumeUp : CommandId::kVolumeDown);
      return 0;
    case WM_DROPFILES:
      OnDrop(reinterpret_cast<HDROP>(wparam));
      return 0;
    case WM_DPICHANGED:
      OnDpiChanged(HIWORD(wparam), *reinterpret_cast<const RECT*>(lparam));
      return 0;
    case WM_QUERYENDSESSION:
      player_.SaveNow(true);
      return TRUE;
    case WM_ENDSESSION:
      if (wparam) player_.SaveNow(true);
      return 0;
    case WM_DESTROY:
      OnDestroy();
      return 0;
    default:
      if (tray_ && tray_->OnTaskbarCreated(message)) return 0;
      break;
  }
  return DefWindowProcW(window_, message, wparam, lparam);
}

void MainWindow::OnDestroy() {
  closing_ = true;
  options_.Close();
  hot_keys_.Unregister();
  for (const UINT_PTR timer : {kRefreshTimer, kCloseTimer, kMessageTimer, kSaveTimer})
    KillTimer(window_, timer);
  ShowWindow(window_, SW_HIDE);
  if (!player_.Close()) MessageBoxW(nullptr, AsWide(message_.c_str()), kProductName, MB_OK | MB_ICONWARNING);
  // Last: taking the icon away may take seconds where no desktop shows it, and the music would go on.
  tray_.reset();
  exit_code_ = player_.ExitCode();
  // Objects on their way to a window that is going.
  MSG message;
  while (PeekMessageW(&message, window_, kHandedOverMessage, kTaskMessage, PM_REMOVE)) {
    if (message.message == kHandedOverMessage) TakeObject<std::u16string>(message.lParam);
    if (message.message == kTaskMessage) TakeObject<UiTask>(message.lParam);
  }
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  window_ = nullptr;
  PostQuitMessage(exit_code_);
}

void MainWindow::OnTimer(UINT_PTR timer) {
  switch (timer) {
    case kNextTrackTimer:
      player_.Control().OnNextTrackTimer();
      break;
    case kRefreshTimer:
      player_.OnTick();
      break;
    case kMessageTimer:
      KillTimer(window_, kMessageTimer);
      if (player_.Control().State() == PlayState::kPlaying) message_.clear();
      break;
    case kSaveTimer:
      KillTimer(window_, kSaveTimer);
      saves_later_ = false;
      player_.SaveNow();
      break;
    case kCloseTimer:
      KillTimer(window_, kCloseTimer);
      DestroyWindow(window_);
      return;
    default:
      return;
  }
  Refresh();
}

bool MainWindow::RunCommand(CommandId command) {
  if (command == CommandId::kNone || closing_ || !commands_.Handles(command)) return false;
  commands_.Execute(command);
  Refresh();
  return true;
}

void MainWindow::ShowMenu(MenuKind kind, std::optional<POINT> screen) {
  POINT at{};
  if (screen) {
    at = *screen;
  } else {
    RECT place;
    GetWindowRect(window_, &place);
    at = {place.left + kMenuOffset, place.top + kMenuOffset};
  }
  MenuSource source;
  source.target = &commands_;
  source.keys = player_.Data().Values().hot_key.key_map;
  RunCommand(ShowPopupMenu(window_, BuildMenu(kind, source), at));
}

void MainWindow::OnTray(WPARAM wparam, LPARAM lparam) {
  const TrayEvent event = tray_->Decode(wparam, lparam);
  POINT mouse{};
  GetCursorPos(&mouse);
  switch (event.action) {
    case TrayAction::kClick:
      ShowOrHide();
      break;
    case TrayAction::kMenu:
      ShowMenu(MenuKind::kTray, event.at.value_or(mouse));
      break;
    case TrayAction::kMiddle:
      RunCommand(CommandId::kPlayPause);
      break;
    case TrayAction::kDoubleClick:  // The click before it has shown or hidden the window.
    case TrayAction::kNone:
      break;
  }
}

void MainWindow::ApplyIcon() {
  if (tray_) tray_->SetIconFile(player_.Data().Values().general.app_icon_file_gbk);
}

void MainWindow::Minimize() {
  ShowWindow(window_, SW_MINIMIZE);
}

void MainWindow::ShowOrHide() {
  if (IsWindowVisible(window_) && !IsIconic(window_)) {
    ShowWindow(window_, SW_HIDE);
    return;
  }
  BringToFront();
}

void MainWindow::BringToFront() {
  if (!IsWindowVisible(window_) || IsIconic(window_)) ShowWindow(window_, SW_RESTORE);
  SetForegroundWindow(window_);
}

void MainWindow::OnClick(POINT point) {
  if (const auto button = view_.ButtonAt(point)) {
    switch (*button) {
      case PlayerButton::kPrevious:
        RunCommand(CommandId::kPrevious);
        break;
      case PlayerButton::kPlay:
        RunCommand(CommandId::kPlayPause);
        break;
      case PlayerButton::kStop:
        RunCommand(CommandId::kStop);
        break;
      case PlayerButton::kNext:
        RunCommand(CommandId::kNext);
        break;
    }
  } else if (view_.OnProgress(point)) {
    player_.SeekTo(
        PositionAt(point.x, view_.ProgressLeft(), view_.ProgressWidth(), player_.Control().DurationMs()));
  }
}

void MainWindow::OnDrop(HDROP drop) {
  CommandLine line;
  line.dropped = true;
  const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
  for (UINT i = 0; i < count; ++i) {
    std::wstring path(DragQueryFileW(drop, i, nullptr, 0) + 1, L'\0');
    path.resize(DragQueryFileW(drop, i, path.data(), static_cast<UINT>(path.size())));
    line.paths.emplace_back(AsChar16(path.c_str()), path.size());
  }
  DragFinish(drop);
  player_.Execute(std::move(line));
}

void MainWindow::OnDpiChanged(int dpi, const RECT& place) {
  const SIZE client = PlayerView::ClientSize(dpi);
  view_.Layout(client.cx, client.cy, dpi);
  SetWindowPos(window_, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
               SWP_NOZORDER | SWP_NOACTIVATE);
  InvalidateRect(window_, nullptr, FALSE);
}

void MainWindow::Paint() {
  const PaintScope paint(window_);
  RECT client;
  GetClientRect(window_, &client);
  if (!paint.dc() || client.right <= 0 || client.bottom <= 0) return;
  const HDC buffer = back_buffer_.Prepare(paint.dc(), client.right, client.bottom);
  if (!buffer) return;
  view_.Draw(buffer, shown_);
  const RECT& dirty = paint.Dirty();
  BitBlt(paint.dc(), dirty.left, dirty.top, dirty.right - dirty.left, dirty.bottom - dirty.top, buffer,
         dirty.left, dirty.top, SRCCOPY);
}

// ---- command lines

bool MainWindow::PostCommandLine(std::u16string text) {
  if (closing_) return false;
  return PostObject(window_, kHandedOverMessage, std::make_unique<std::u16string>(std::move(text)));
}

void MainWindow::OnHandedOver(const std::u16string& text) {
  if (closing_) return;
  CommandLine line = ParseArguments(SplitCommandLine(text, false));
  if (text.empty() || !line.paths.empty()) BringToFront();
  player_.Execute(std::move(line));
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
  MSG message;
  while (PeekMessageW(&message, window_, kStreamMessage, kStreamMessage, PM_REMOVE)) {
    if (message.lParam != reinterpret_cast<LPARAM>(stream)) others.push_back(message);
  }
  for (const MSG& other : others)
    PostMessageW(other.hwnd, other.message, other.wParam, other.lParam);
}

void MainWindow::PumpMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void MainWindow::PostTask(std::function<void()> task) {
  PostObject(window_, kTaskMessage, std::make_unique<UiTask>(std::move(task)));
}

void MainWindow::ShowMessage(const std::u16string& text) {
  message_ = text;
  if (!window_ || closing_) return;
  SetTimer(window_, kMessageTimer, kMessageMs, nullptr);
  Refresh();
}

void MainWindow::SaveLater(uint32_t delay_ms) {
  if (saves_later_) return;
  saves_later_ = SetTimer(window_, kSaveTimer, delay_ms, nullptr) != 0;
}

void MainWindow::CloseSoon() {
  SetTimer(window_, kCloseTimer, kCloseDelayMs, nullptr);
}

// ---- what is shown

PlayerPicture MainWindow::MakePicture() const {
  PlayerPicture picture;
  const PlayerControl& control = player_.Control();
  picture.has_track = control.HasTrack();
  picture.playing = control.State() == PlayState::kPlaying;
  picture.message = message_;
  picture.volume = u"音量 " +
                   ToText(static_cast<uint32_t>(std::clamp(player_.Data().Values().player.volume, 0, 100))) +
                   u"%";
  if (!picture.has_track) {
    picture.title = AsChar16(kProductName);
    const ComPtr<Playlist>& list = control.PlayingList();
    picture.subtitle =
        list && !list->IsEmpty() ? player_.Subtitle() : std::u16string(u"将音频文件拖放到此处即可播放");
    picture.details = u"空格 播放/暂停  Ctrl+←→ 换曲  ↑↓ 音量  右键 菜单";
    return picture;
  }
  picture.title = player_.Title();
  picture.subtitle = player_.Subtitle();
  picture.details = player_.Details();
  picture.duration_ms = control.DurationMs();
  picture.position_ms = control.PositionMs();
  return picture;
}

void MainWindow::ShowCaption() {
  std::u16string caption = AsChar16(kProductName);
  if (player_.Control().HasTrack()) caption = shown_.title + u" - " + caption;
  if (caption == caption_) return;
  caption_ = std::move(caption);
  SetWindowTextW(window_, AsWide(caption_.c_str()));
  if (tray_) tray_->SetTip(caption_);
}

void MainWindow::Refresh() {
  if (!window_ || closing_) return;
  const bool playing = player_.Control().State() == PlayState::kPlaying;
  if (playing != refreshes_) {
    refreshes_ = playing;
    if (playing) {
      SetTimer(window_, kRefreshTimer, kRefreshMs, nullptr);
    } else {
      KillTimer(window_, kRefreshTimer);
    }
  }
  PlayerPicture picture = MakePicture();
  PlayerPicture same_but_position = shown_;
  same_but_position.position_ms = picture.position_ms;
  if (picture == shown_) return;
  if (picture == same_but_position) {
    const RECT area = view_.ProgressArea();
    InvalidateRect(window_, &area, FALSE);
  } else {
    InvalidateRect(window_, nullptr, FALSE);
  }
  shown_ = std::move(picture);
  ShowCaption();
}

}  // namespace melorin
