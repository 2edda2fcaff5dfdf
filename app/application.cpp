// SPDX-License-Identifier: MIT
#include "app/application.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "app/win_handle.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// A sender waits a second longer.
constexpr DWORD kAnswerMs = 4000;
/// Keys and icon wait until the windows stand and the music plays.
constexpr uint32_t kFinishStartMs = 400;
constexpr int kVolumeStep = 5;
/// A menu that the keyboard asked for, from the window's corner; 1x pixels.
constexpr int32_t kMenuOffset = 32;

/// Where the listener waits for an answer of the UI thread.
struct Answer {
  WinHandle done{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::string text;
};

/// Ends the wait also when the task never runs.
class AnswerScope {
 public:
  explicit AnswerScope(std::shared_ptr<Answer> answer) : answer_(std::move(answer)) {}
  ~AnswerScope() { SetEvent(answer_->done.get()); }
  AnswerScope(const AnswerScope&) = delete;
  AnswerScope& operator=(const AnswerScope&) = delete;
  void Set(std::string text) { answer_->text = std::move(text); }

 private:
  const std::shared_ptr<Answer> answer_;
};

}  // namespace

Application::Application(HINSTANCE instance, const SoundLibrary& library, std::string data_folder_gbk)
    : window_(*this),
      player_(library, window_, std::move(data_folder_gbk)),
      status_(player_, [this] { window_.Refresh(); }),
      menus_(commands_, player_.Values(),
             [this] {
               window_.Refresh();
               options_.Refresh();
             }),
      playback_commands_(library, player_, *this),
      options_(library, player_, window_, hot_keys_, *this),
      list_dialogs_([this] { return DialogOwner(); }, library, player_.Values()),
      list_desk_(player_, menus_, list_dialogs_, *this),
      lyric_desk_(player_, menus_, *this),
      equalizer_desk_(player_, menus_, *this),
      visuals_(player_, [this] { ApplyVisuals(); }),
      player_view_(SkinWindow::kPlayer, menus_, *this),
      mini_view_(SkinWindow::kMini, menus_, *this),
      windows_(
          instance, player_, menus_, *this,
          {&player_view_, &mini_view_, &lyric_desk_.View(), &equalizer_desk_.View(), &list_desk_.View()}),
      skin_desk_(player_, [this] { window_.PostTask([this] { WearSkin(); }); }),
      find_edit_(list_desk_),
      finish_start_([this] { FinishStart(); }) {
  for (CommandHandler* handler :
       std::initializer_list<CommandHandler*>{&playback_commands_, &options_, &windows_.Group(), &list_desk_,
                                              &lyric_desk_, &equalizer_desk_, &visuals_, &skin_desk_})
    commands_.Add(*handler);
  menus_.AddFill([this](MenuSource& source) {
    list_desk_.FillMenu(source);
    equalizer_desk_.FillMenu(source);
    skin_desk_.FillMenu(source);
  });
  for (PlayerWindowView* view : {&player_view_, &mini_view_})
    view->SetVisual([this, kind = view->Kind()] { return MakeVisual(kind); });
}

Application::~Application() = default;

bool Application::Start(CommandLine line) {
  if (!window_.Create(GetModuleHandleW(nullptr))) return false;
  player_.Start(std::move(line));
  skin_desk_.ReadSkins();
  return true;
}

bool Application::Open(int show) {
  ApplySettings();
  if (!windows_.Create(window_.Handle())) return false;
  RefreshWindows();
  windows_.Group().Open(show);
  return true;
}

int Application::Run() {
  finish_start_.Start(kFinishStartMs);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (options_.TakesMessage(message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return static_cast<int>(message.wParam);
}

void Application::FinishStart() {
  options_.RegisterKeys();
  tray_.emplace(window_.Handle(), MainWindow::kTrayMessage);
  tray_->SetIconFile(player_.Values().general.app_icon_file_gbk);
  tray_->SetTip(caption_);
  tray_->Show();
  windows_.StartDrops();
}

int Application::OnClose() {
  options_.Close();
  hot_keys_.Unregister();
  finish_start_.Cancel();
  windows_.StopDrops();
  windows_.Group().Close();
  list_desk_.Close();
  lyric_desk_.Close();
  skin_desk_.Close();
  if (!player_.Close())
    MessageBoxW(nullptr, AsWide(status_.LastMessage().c_str()), kProductName, MB_OK | MB_ICONWARNING);
  // Last: taking the icon away may take seconds where no desktop shows it, and the music would go on.
  tray_.reset();
  return player_.ExitCode();
}

// ---- what plays, shown

void Application::RefreshWindows() {
  const PlayerControl& control = player_.Control();
  window_.SetTicking(control.State() == PlayState::kPlaying);
  const ItemRef track = control.HasTrack() ? control.Item() : ItemRef();
  const bool another = track.get() != track_.get();
  if (another || control.State() != state_) {
    track_ = track;
    state_ = control.State();
    if (another) TellTrack();
    lyric_desk_.OnTrackChanged();
  }
  const PlayerStatus status = status_.Status(windows_.Group(), lyric_desk_.LineGbk());
  player_view_.SetStatus(status);
  mini_view_.SetStatus(status);
  // What their buttons do depends on the mode that the windows are in.
  for (ToolWindowView* view : std::initializer_list<ToolWindowView*>{
           &lyric_desk_.View(), &equalizer_desk_.View(), &list_desk_.View()})
    view->RefreshCommands();
  ApplyVisuals();
  ShowCaption();
}

std::unique_ptr<Control> Application::MakeVisual(SkinWindow window) {
  auto visual = std::make_unique<VisualControl>(visuals_, menus_, window);
  Apply(*visual);
  return visual;
}

void Application::Apply(VisualControl& visual) const {
  visual.SetSettings(player_.Data().Values().visual);
  visual.SetActive(player_.Control().State() == PlayState::kPlaying);
}

void Application::ApplyVisuals() {
  for (const PlayerWindowView* view : {&player_view_, &mini_view_})
    if (Control* visual = view->Visual()) Apply(*static_cast<VisualControl*>(visual));
}

void Application::TellTrack() {
  const WindowGroup& group = windows_.Group();
  const bool seen = group.IsShown(SkinWindow::kPlayer) || group.IsShown(SkinWindow::kMini);
  if (!track_ || seen || !tray_ || !player_.Values().general.tips_on_open) return;
  tray_->ShowBalloon(u"正在播放", player_.Title());
}

void Application::ShowCaption() {
  std::u16string caption = status_.Caption();
  if (caption == caption_) return;
  caption_ = std::move(caption);
  windows_.Group().SetCaption(caption_);
  if (tray_) tray_->SetTip(caption_);
}

void Application::OnTick() {
  player_.OnTick();
  lyric_desk_.OnTick();
}

void Application::OnStreamEvent(WPARAM event, PlaybackStream* stream) {
  player_.Control().OnStreamEvent(static_cast<uint32_t>(event), stream);
}

// ---- settings

void Application::ApplySettings() {
  const Settings& settings = player_.Values();
  list_desk_.SettingsChanged();
  lyric_desk_.SettingsChanged();
  equalizer_desk_.SettingsChanged();
  ApplyVisuals();
  for (PlayerWindowView* view : {&player_view_, &mini_view_}) {
    view->SetSlideInterval(static_cast<uint32_t>(std::max(settings.general.title_slide_interval, 0)));
    view->SetLyricLook(settings.lyric);
  }
  find_edit_.Follow();
}

void Application::WearSkin() {
  windows_.WearSkin();
  find_edit_.Follow();
}

void Application::SettingsChanged(SettingsPart part) {
  switch (part) {
    case SettingsPart::kHistory:
      return;
    case SettingsPart::kSkin:
      WearSkin();
      // It may have come since they were read.
      skin_desk_.ReadSkins();
      return;
    case SettingsPart::kGeneral:
      if (tray_) tray_->SetIconFile(player_.Values().general.app_icon_file_gbk);
      break;
    default:
      break;
  }
  ApplySettings();
  windows_.Group().OnSettingsChanged();
}

// ---- what the user does

void Application::OnTrayMessage(WPARAM wparam, LPARAM lparam) {
  if (!tray_) return;
  const TrayEvent event = tray_->Decode(wparam, lparam);
  POINT mouse{};
  GetCursorPos(&mouse);
  switch (event.action) {
    case TrayAction::kClick:
      menus_.Run(CommandId::kShowHide);
      break;
    case TrayAction::kMenu:
      menus_.ShowMenuAt(MenuKind::kTray, window_.Handle(), event.at.value_or(mouse));
      break;
    case TrayAction::kMiddle:
      menus_.Run(CommandId::kPlayPause);
      break;
    case TrayAction::kNone:
      break;
  }
}

void Application::ExitPlayer() {
  // A lyric that is being edited may not be lost.
  if (lyric_desk_.MayClose([this] { ExitPlayer(); })) window_.Close();
}

void Application::ShowMainMenu() {
  menus_.ShowMenu(MenuKind::kMain, windows_.Group().IsMini() ? SkinWindow::kMini : SkinWindow::kPlayer,
                  kMenuOffset, kMenuOffset);
}

void Application::DropFiles(SkinWindow window, int32_t x, int32_t y, std::vector<std::u16string> paths) {
  if (window == SkinWindow::kPlaylist) {
    list_desk_.DropFiles(x, y, std::move(paths));
    return;
  }
  CommandLine line;
  line.dropped = true;
  line.paths = std::move(paths);
  player_.Execute(std::move(line));
}

void Application::BringListForward() {
  WindowGroup& group = windows_.Group();
  group.SetShown(SkinWindow::kPlaylist, true);
  if (group.IsShown(SkinWindow::kPlaylist)) SetForegroundWindow(group.Window(SkinWindow::kPlaylist).Handle());
}

void Application::FindBarChanged() {
  find_edit_.Update(windows_.Group().Window(SkinWindow::kPlaylist).Handle());
}

void Application::SetLyricWidth(int32_t width) {
  SkinnedWindow& window = windows_.Group().Window(SkinWindow::kLyric);
  SkinRect place = window.Place();
  place.right = place.left + width * window.View().Scale();
  window.SetPlace(place);
}

void Application::SeekTo(uint32_t position_ms) {
  player_.SeekTo(position_ms);
  lyric_desk_.OnTick();
}

void Application::SetVolume(int32_t volume) {
  player_.ChangeVolume(volume - player_.Values().player.volume);
}

void Application::StepVolume(int32_t steps) {
  player_.ChangeVolume(steps * kVolumeStep);
}

// ---- command lines

std::optional<std::string> Application::TakeCommandLine(std::u16string text) {
  if (window_.IsClosing()) return std::nullopt;
  if (!ParseArguments(SplitCommandLine(text, false)).status) {
    window_.PostTask([this, text = std::move(text)] { ExecuteCommandLine(text); });
    return std::string();
  }
  const auto answer = std::make_shared<Answer>();
  window_.PostTask([this, text = std::move(text), scope = std::make_shared<AnswerScope>(answer)] {
    ExecuteCommandLine(text);
    scope->Set(StatusText());
  });
  if (WaitForSingleObject(answer->done.get(), kAnswerMs) != WAIT_OBJECT_0) return std::string();
  return answer->text;
}

void Application::ExecuteCommandLine(const std::u16string& text) {
  if (window_.IsClosing()) return;
  CommandLine line = ParseArguments(SplitCommandLine(text, false));
  if (text.empty() || !line.paths.empty()) windows_.Group().BringToFront();
  player_.Execute(std::move(line));
}

std::string Application::StatusText() const {
  return FormatStatus(status_.Report(windows_.Group(), lyric_desk_.LineGbk()));
}

}  // namespace melorin
