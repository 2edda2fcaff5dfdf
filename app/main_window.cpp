// SPDX-License-Identifier: MIT
#include "app/main_window.h"

#include <windowsx.h>

#include <imm.h>

#include <cstdio>
#include <memory>

#include "app/demo_tune.h"
#include "app/player_text.h"
#include "app/resource.h"

namespace melorin {
namespace {

constexpr UINT kHandedOverMessage = WM_APP + 1;
constexpr UINT kExpandedMessage = WM_APP + 2;

constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT_PTR kCloseTimer = 2;
constexpr UINT_PTR kMessageTimer = 3;
constexpr UINT kRefreshMs = 250;
// What the device has taken is still on its way through the mixer when the track has ended.
constexpr UINT kCloseDelayMs = 500;
constexpr UINT kMessageMs = 8000;
constexpr int kVolumeStep = 5;

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

using Paths = std::vector<std::u16string>;

const char* StateName(PlayState state) {
  switch (state) {
    case PlayState::kPlaying:
      return "playing";
    case PlayState::kPaused:
      return "paused";
    case PlayState::kStopped:
      break;
  }
  return "stopped";
}

}  // namespace

MainWindow::MainWindow(HINSTANCE instance, const SoundLibrary& library)
    : instance_(instance), library_(library), player_(library, *this, PlaybackSettings{}) {}

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
  shown_ = MakePicture();
  ShowWindow(window_, show);
  UpdateWindow(window_);
  return true;
}

int MainWindow::Run() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return static_cast<int>(message.wParam);
}

LRESULT CALLBACK MainWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
    self->window_ = window;
    self->player_.SetWindow(window);
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
      player_.OnStreamMessage(wparam, lparam);
      return 0;
    case kHandedOverMessage:
      OnHandedOver(*TakeObject<std::u16string>(lparam));
      return 0;
    case kExpandedMessage:
      FinishJob(std::move(*TakeObject<Paths>(lparam)));
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
      if (OnKey(wparam)) return 0;
      break;
    case WM_APPCOMMAND:
      if (OnAppCommand(GET_APPCOMMAND_LPARAM(lparam))) return TRUE;
      break;
    case WM_LBUTTONDOWN:
      OnClick({GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)});
      return 0;
    case WM_MOUSEWHEEL:
      ChangeVolume(GET_WHEEL_DELTA_WPARAM(wparam) > 0 ? kVolumeStep : -kVolumeStep);
      return 0;
    case WM_DROPFILES:
      OnDrop(reinterpret_cast<HDROP>(wparam));
      return 0;
    case WM_DPICHANGED:
      OnDpiChanged(HIWORD(wparam), *reinterpret_cast<const RECT*>(lparam));
      return 0;
    case WM_DESTROY:
      OnDestroy();
      return 0;
    default:
      break;
  }
  return DefWindowProcW(window_, message, wparam, lparam);
}

void MainWindow::OnDestroy() {
  expander_.Stop();
  ShowWindow(window_, SW_HIDE);
  player_.Close();
  log_.Write(LogEntry("closed"));
  // Objects on their way to a window that is going.
  MSG message;
  while (PeekMessageW(&message, window_, kHandedOverMessage, kExpandedMessage, PM_REMOVE)) {
    if (message.message == kHandedOverMessage) TakeObject<std::u16string>(message.lParam);
    if (message.message == kExpandedMessage) TakeObject<Paths>(message.lParam);
  }
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  window_ = nullptr;
  PostQuitMessage(exit_code_);
}

void MainWindow::OnTimer(UINT_PTR timer) {
  switch (timer) {
    case TrackPlayer::kNextTrackTimer:
      player_.OnNextTrackTimer();
      break;
    case kRefreshTimer: {
      const uint32_t second = player_.PositionMs() / 1000;
      if (second != logged_second_) {
        logged_second_ = second;
        log_.Write(LogEntry("position").Add("ms", player_.PositionMs()));
      }
      break;
    }
    case kMessageTimer:
      KillTimer(window_, kMessageTimer);
      if (player_.State() == PlayState::kPlaying) message_.clear();
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

bool MainWindow::OnKey(WPARAM key) {
  const auto step = static_cast<int32_t>(PositionStepMs(player_.Track().duration_ms));
  switch (key) {
    case VK_SPACE:
    case 'C':
      player_.TogglePause();
      break;
    case 'S':
      player_.Stop();
      break;
    case 'N':
      player_.Next();
      break;
    case 'P':
      player_.Previous();
      break;
    case VK_LEFT:
      SeekTo(StepPosition(player_.PositionMs(), -step, player_.Track().duration_ms));
      break;
    case VK_RIGHT:
      SeekTo(StepPosition(player_.PositionMs(), step, player_.Track().duration_ms));
      break;
    case VK_UP:
      ChangeVolume(kVolumeStep);
      break;
    case VK_DOWN:
      ChangeVolume(-kVolumeStep);
      break;
    default:
      return false;
  }
  Refresh();
  return true;
}

bool MainWindow::OnAppCommand(int command) {
  switch (command) {
    case APPCOMMAND_MEDIA_PLAY_PAUSE:
      player_.TogglePause();
      return true;
    case APPCOMMAND_MEDIA_PLAY:
      player_.Play();
      return true;
    case APPCOMMAND_MEDIA_PAUSE:
      player_.Pause();
      return true;
    case APPCOMMAND_MEDIA_STOP:
      player_.Stop();
      return true;
    case APPCOMMAND_MEDIA_NEXTTRACK:
      player_.Next();
      return true;
    case APPCOMMAND_MEDIA_PREVIOUSTRACK:
      player_.Previous();
      return true;
    default:
      return false;
  }
}

void MainWindow::OnClick(POINT point) {
  if (const auto button = view_.ButtonAt(point)) {
    switch (*button) {
      case PlayerButton::kPrevious:
        player_.Previous();
        break;
      case PlayerButton::kPlay:
        player_.TogglePause();
        break;
      case PlayerButton::kStop:
        player_.Stop();
        break;
      case PlayerButton::kNext:
        player_.Next();
        break;
    }
  } else if (view_.OnProgress(point)) {
    SeekTo(PositionAt(point.x, view_.ProgressLeft(), view_.ProgressWidth(), player_.Track().duration_ms));
  }
  Refresh();
}

void MainWindow::OnDrop(HDROP drop) {
  CommandLine line;
  const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
  for (UINT i = 0; i < count; ++i) {
    std::wstring path(DragQueryFileW(drop, i, nullptr, 0) + 1, L'\0');
    path.resize(DragQueryFileW(drop, i, path.data(), static_cast<UINT>(path.size())));
    line.paths.emplace_back(AsChar16(path.c_str()), path.size());
  }
  DragFinish(drop);
  Execute(std::move(line));
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

bool MainWindow::PostCommandLine(HWND window, std::u16string text) {
  return PostObject(window, kHandedOverMessage, std::make_unique<std::u16string>(std::move(text)));
}

void MainWindow::OnHandedOver(const std::u16string& text) {
  CommandLine line = ParseArguments(SplitCommandLine(text, false));
  if (text.empty() || !line.paths.empty()) {
    if (IsIconic(window_)) ShowWindow(window_, SW_RESTORE);
    SetForegroundWindow(window_);
  }
  Execute(std::move(line));
}

void MainWindow::Execute(CommandLine line) {
  jobs_.push_back(std::move(line));
  if (jobs_.size() == 1) StartNextJob();
}

void MainWindow::StartNextJob() {
  const CommandLine& job = jobs_.front();
  if (job.paths.empty()) {
    FinishJob({});
    return;
  }
  expander_.Start(
      job.paths, [this](std::u16string_view path) { return library_.CanPlay(path); },
      [window = window_](Paths files) {
        PostObject(window, kExpandedMessage, std::make_unique<Paths>(std::move(files)));
      });
}

void MainWindow::FinishJob(Paths files) {
  if (jobs_.empty()) return;
  const CommandLine line = std::move(jobs_.front());
  auto_close_ = auto_close_ || line.auto_close;
  for (const std::u16string& problem : line.problems)
    ReportProblem(problem);
  if (line.demo) {
    std::u16string path = WriteDemoTune(instance_);
    if (path.empty()) {
      ReportProblem(u"无法写出示例乐曲");
    } else {
      files.push_back(std::move(path));
    }
  }
  if (line.device) {
    const auto kind = static_cast<unsigned long>(
        *line.device == CommandLine::Device::kWaveOut ? DeviceKind::kWaveOut : DeviceKind::kDirectSound);
    player_.Settings().device_type = {kind << 16, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
  }
  if (line.volume) player_.SetVolume(*line.volume);
  if (line.stop) player_.Stop();
  Load(line, std::move(files));
  if (line.next) player_.Next();
  if (line.previous) player_.Previous();
  if (line.play) player_.Play();
  if (line.seek_ms) SeekTo(*line.seek_ms);
  if (line.pause) player_.TogglePause();
  if (line.exit || (auto_close_ && player_.List().Size() == 0)) CloseSoon();
  Refresh();
  jobs_.pop_front();
  if (!jobs_.empty()) StartNextJob();
}

void MainWindow::Load(const CommandLine& line, Paths files) {
  if (files.empty()) return;
  if (line.add) {
    player_.List().Append(std::move(files));
    return;
  }
  player_.List().Replace(std::move(files));
  player_.PlayEntry(0);
}

// ---- what the user does

void MainWindow::SeekTo(uint32_t position_ms) {
  if (player_.State() == PlayState::kStopped) return;
  player_.Seek(position_ms);
  log_.Write(LogEntry("seek").Add("ms", position_ms));
  Refresh();
}

void MainWindow::ChangeVolume(int change) {
  player_.SetVolume(player_.Settings().volume + change);
  Refresh();
}

void MainWindow::ShowMessage(const std::u16string& text) {
  message_ = text;
  SetTimer(window_, kMessageTimer, kMessageMs, nullptr);
  Refresh();
}

void MainWindow::ReportProblem(const std::u16string& text) {
  log_.Write(LogEntry("error").Add("text", text));
  ShowMessage(text);
}

void MainWindow::CloseSoon() {
  SetTimer(window_, kCloseTimer, kCloseDelayMs, nullptr);
}

// ---- what the player tells

void MainWindow::OnOpened(const TrackInfo& track) {
  logged_second_ = 0;
  log_.Write(LogEntry("opened")
                 .Add("file", track.path)
                 .Add("title", track.title)
                 .Add("artist", track.artist)
                 .Add("codec", track.codec)
                 .Add("duration_ms", track.duration_ms)
                 .Add("sample_rate", track.sample_rate)
                 .Add("channels", track.channels)
                 .Add("bits", track.bits)
                 .Add("device", track.device));
  const std::u16string caption = track.title + u" - " + AsChar16(kProductName);
  SetWindowTextW(window_, AsWide(caption.c_str()));
  Refresh();
}

void MainWindow::OnState(PlayState state) {
  if (state == PlayState::kPlaying) {
    SetTimer(window_, kRefreshTimer, kRefreshMs, nullptr);
  } else {
    KillTimer(window_, kRefreshTimer);
  }
  log_.Write(LogEntry(StateName(state)).Add("ms", player_.PositionMs()));
  Refresh();
}

void MainWindow::OnFailed(const std::u16string& path, const std::u16string& text, HRESULT result) {
  char code[16];
  std::snprintf(code, sizeof(code), "0x%08lX", static_cast<unsigned long>(result));
  log_.Write(
      LogEntry("error").Add("file", path).Add("text", text).Add("code", std::u16string(code, code + 10)));
  if (auto_close_) exit_code_ = 2;
  if (!player_.HasTrack()) SetWindowTextW(window_, kProductName);
  ShowMessage(std::u16string(FileNameOf(path)) + u"：" + text);
}

void MainWindow::OnEnded() {
  log_.Write(LogEntry("ended"));
}

void MainWindow::OnFinished() {
  if (auto_close_) CloseSoon();
}

PlayerPicture MainWindow::MakePicture() const {
  PlayerPicture picture;
  const TrackInfo& track = player_.Track();
  picture.has_track = player_.HasTrack();
  picture.playing = player_.State() == PlayState::kPlaying;
  picture.message = message_;
  picture.volume = u"音量 " + ToText(static_cast<uint32_t>(player_.Settings().volume)) + u"%";
  if (!picture.has_track) {
    picture.title = AsChar16(kProductName);
    picture.subtitle = u"将音频文件拖放到此处即可播放";
    picture.details = u"空格 播放/暂停   S 停止   ←→ 快退/快进   ↑↓ 音量   P/N 上一首/下一首";
    return picture;
  }
  picture.title = track.title;
  picture.subtitle = track.artist;
  if (!track.album.empty()) picture.subtitle += (track.artist.empty() ? u"" : u" · ") + track.album;
  picture.details = track.codec;
  if (track.bitrate >= 1000) picture.details += u"   " + ToText((track.bitrate + 500) / 1000) + u" kbps";
  picture.details += u"   " + ToText(track.sample_rate) + u" Hz   ";
  picture.details += track.channels == 1   ? u"单声道"
                     : track.channels == 2 ? u"立体声"
                                           : ToText(track.channels) + u" 声道";
  picture.duration_ms = track.duration_ms;
  picture.position_ms = player_.PositionMs();
  if (player_.State() == PlayState::kPaused) picture.details += u"   已暂停";
  return picture;
}

void MainWindow::Refresh() {
  if (!window_) return;
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
}

}  // namespace melorin
