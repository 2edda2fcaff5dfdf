// SPDX-License-Identifier: MIT
#include "ui/player_window_view.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "platform/text.h"
#include "skin/bitmap_draw.h"
#include "ui/time_text.h"

namespace melorin {
namespace {

constexpr uint32_t kSecond = 1000;
/// Of the sliders' keys. The wheel is the window's: it changes the volume wherever it is turned.
constexpr int32_t kSeekStep = 5000;
constexpr int32_t kSeekPage = 30000;
constexpr SliderRange kVolumeRange = {0, 100, 5, 20, 0};

struct ButtonPlan {
  SkinPlayerButton button;
  CommandId command;
  bool is_switch;
};
/// In the order of the Tab key.
constexpr ButtonPlan kButtons[] = {
    {SkinPlayerButton::kPlay, CommandId::kPlay, false},
    {SkinPlayerButton::kPause, CommandId::kPause, false},
    {SkinPlayerButton::kStop, CommandId::kStop, false},
    {SkinPlayerButton::kPrev, CommandId::kPrevious, false},
    {SkinPlayerButton::kNext, CommandId::kNext, false},
    {SkinPlayerButton::kOpen, CommandId::kOpenFile, false},
    {SkinPlayerButton::kMute, CommandId::kMute, true},
    {SkinPlayerButton::kLyric, CommandId::kShowLyric, true},
    {SkinPlayerButton::kEqualizer, CommandId::kShowEqualizer, true},
    {SkinPlayerButton::kPlaylist, CommandId::kShowPlayList, true},
    {SkinPlayerButton::kMinimode, CommandId::kMiniMode, false},
    {SkinPlayerButton::kMinimize, CommandId::kMinimize, false},
    {SkinPlayerButton::kExit, CommandId::kExit, false},
};

int32_t AsRange(uint32_t ms) {
  return static_cast<int32_t>(std::min<uint32_t>(ms, std::numeric_limits<int32_t>::max()));
}

}  // namespace

PlayerWindowView::PlayerWindowView(SkinWindow kind, WindowServices& services, PlayerActions& actions)
    : WindowView(kind), services_(services), actions_(actions), lyric_look_(LyricSettings{}) {}

// ---- the skin

LoadedSkin* PlayerWindowView::Build(SkinWardrobe& wardrobe, Frame* frame) {
  buttons_ = {};
  progress_ = volume_ = nullptr;
  led_ = nullptr;
  icon_control_ = nullptr;
  visual_ = nullptr;
  info_ = text_status_ = stereo_ = lyric_ = nullptr;
  const auto [window, skin] = wardrobe.Find(Kind() == SkinWindow::kMini ? &SkinDescription::mini_window
                                                                        : &SkinDescription::player_window);
  if (!window) return nullptr;
  *frame = {window->image, {}, false, {}};
  if (window->visual && make_visual_)
    if (std::unique_ptr<Control> visual = make_visual_())
      visual_ = Add("visual", std::move(visual), window->visual->position);
  AddTexts(*window);
  AddButtons(*window);
  AddSliders(*window);
  if (window->icon) {
    const SkinRect& place = window->icon->position;
    auto icon = std::make_unique<IconControl>(
        [this, x = place.left, y = place.bottom] { services_.ShowMenu(MenuKind::kMain, Kind(), x, y); });
    icon->SetName(PlainCommandText(FindCommand(CommandId::kMainMenu)->text));
    icon->SetTip([this] { return services_.TipOf(CommandId::kMainMenu); });
    icon->SetIcon(icon_);
    icon_control_ = Add("icon", std::move(icon), place);
  }
  ShowStatus();
  return skin;
}

void PlayerWindowView::AddButtons(const SkinPlayerWindow& window) {
  const auto& play = window.Button(SkinPlayerButton::kPlay);
  const auto& pause = window.Button(SkinPlayerButton::kPause);
  shares_place_ = play && pause && !Intersection(play->position, pause->position).IsEmpty();
  for (const ButtonPlan& plan : kButtons) {
    const auto& look = window.Button(plan.button);
    if (!look) continue;
    const bool starts = plan.button == SkinPlayerButton::kPlay || plan.button == SkinPlayerButton::kPause;
    // Where there is only one of the two, it does both.
    const CommandId command = starts && !(play && pause) ? CommandId::kPlayPause : plan.command;
    auto button = std::make_unique<ButtonControl>(services_, *look, command);
    button->SetSwitch(plan.is_switch);
    // The key is that of the command which does both.
    if (starts && shares_place_) button->SetTipCommand(CommandId::kPlayPause);
    buttons_[static_cast<size_t>(plan.button)] =
        Add(kSkinPlayerButtonNames[static_cast<size_t>(plan.button)], std::move(button), look->position);
  }
}

void PlayerWindowView::AddSliders(const SkinPlayerWindow& window) {
  // The arrow keys seek and change the volume in the whole window, so a click does not take them away.
  if (window.volume) {
    auto volume = std::make_unique<SliderControl>(*window.volume, kVolumeRange);
    volume->SetName(u"音量");
    volume->SetFocusByMouse(false);
    volume->SetValueText([](int32_t value) { return Utf16FromUtf8(std::to_string(value) + "%"); });
    volume->SetOnChange([this](int32_t value, bool) {
      status_.volume = value;
      actions_.SetVolume(value);
    });
    volume_ = Add("volume", std::move(volume), window.volume->position);
  }
  if (window.progress) {
    auto progress = std::make_unique<SliderControl>(*window.progress, SliderRange{0, 0});
    progress->SetName(u"播放进度");
    progress->SetFocusByMouse(false);
    progress->SetTellsPointer(true);
    progress->SetMovesByItself(true);
    progress->SetValueText([this](int32_t value) { return ProgressText(value); });
    progress->SetOnChange([this](int32_t value, bool final) { OnProgress(value, final); });
    progress_ = Add("progress", std::move(progress), window.progress->position);
  }
}

void PlayerWindowView::AddTexts(const SkinPlayerWindow& window) {
  if (window.info) {
    info_ = AddText("info", *window.info, window.info->position, u"曲目");
    info_->SetOnDoubleClick([this] {
      CommandTarget& commands = services_.Commands();
      if (commands.IsEnabled(CommandId::kLocateInList)) commands.Execute(CommandId::kLocateInList);
    });
  }
  if (window.status) text_status_ = AddText("status", *window.status, window.status->position, u"状态");
  if (window.stereo) stereo_ = AddText("stereo", *window.stereo, window.stereo->position, u"声道");
  if (window.lyric)
    lyric_ = AddText("lyric", LyricText(window.lyric->position), window.lyric->position, u"歌词");
  if (window.led) {
    auto led = std::make_unique<LedControl>(*window.led);
    led->SetOnClick([this] { services_.Commands().Execute(CommandId::kElapsedTime); });
    led_ = Add("led", std::move(led), window.led->position);
  }
}

TextControl* PlayerWindowView::AddText(const char* element, const SkinText& look, const SkinRect& position,
                                       std::u16string name) {
  auto text = std::make_unique<TextControl>(look);
  text->SetName(std::move(name));
  return Add(element, std::move(text), position);
}

SkinText PlayerWindowView::LyricText(const SkinRect& position) const {
  SkinText look;
  look.colour = static_cast<SkinColour>(lyric_look_.hilight_color.value);
  look.font = lyric_look_.font.FaceGbk();
  look.font_size = std::clamp(std::abs(lyric_look_.font.height), 1, std::max(position.Height() * 2 / 3, 1));
  look.align = kAlignCentre | kAlignVCentre;
  return look;
}

// ---- what the owner gives

void PlayerWindowView::SetIcon(Bitmap icon) {
  icon_ = std::move(icon);
  if (icon_control_) icon_control_->SetIcon(icon_);
}

void PlayerWindowView::SetSlideInterval(uint32_t ms) {
  slide_interval_ms_ = ms;
  ShowSlide();
}

void PlayerWindowView::SetLyricLook(const LyricLook& look) {
  lyric_look_ = look;
  if (lyric_) lyric_->SetLook(LyricText(lyric_->Place()));
}

void PlayerWindowView::SetStatus(const PlayerStatus& status) {
  // What a command can do depends on more than is shown, as on the list's entries.
  RefreshCommands();
  if (status == status_) return;
  status_ = status;
  ShowStatus();
}

void PlayerWindowView::RefreshCommands() {
  for (ButtonControl* button : buttons_)
    if (button) button->Refresh();
}

// ---- showing

void PlayerWindowView::ShowStatus() {
  ShowState();
  ShowSlide();
  ShowSwitches();
  ShowProgress();
  ShowTime();
  if (volume_) volume_->SetValue(status_.volume);
  if (info_) info_->SetText(status_.info_gbk);
  if (text_status_) text_status_->SetText(status_.status_gbk);
  if (stereo_) stereo_->SetText(status_.stereo_gbk);
  // Where nothing else says what is played, the line of lyrics does between lines.
  if (lyric_) lyric_->SetText(status_.lyric_gbk.empty() && !info_ ? status_.info_gbk : status_.lyric_gbk);
}

void PlayerWindowView::ShowState() {
  if (!shares_place_) return;
  const bool playing = status_.state == ShownState::kPlaying;
  ButtonControl* shown = Button(playing ? SkinPlayerButton::kPause : SkinPlayerButton::kPlay);
  ButtonControl* hidden = Button(playing ? SkinPlayerButton::kPlay : SkinPlayerButton::kPause);
  shown->SetVisible(true);
  hidden->SetVisible(false);
  if (Focused() == hidden) Focus(shown, true);
  RefreshHover();
}

void PlayerWindowView::ShowSlide() {
  // What nobody listens to need not wake the program. Messages do not wait for music.
  const uint32_t interval = status_.state == ShownState::kPlaying ? slide_interval_ms_ : 0;
  for (TextControl* text : {info_, stereo_, lyric_})
    if (text) text->SetSlideInterval(interval);
  if (text_status_) text_status_->SetSlideInterval(slide_interval_ms_);
}

void PlayerWindowView::ShowSwitches() {
  const std::pair<SkinPlayerButton, bool> switches[] = {
      {SkinPlayerButton::kMute, status_.mute},
      {SkinPlayerButton::kLyric, status_.lyric_shown},
      {SkinPlayerButton::kEqualizer, status_.equalizer_shown},
      {SkinPlayerButton::kPlaylist, status_.playlist_shown},
  };
  for (const auto& [button, on] : switches)
    if (Button(button)) Button(button)->SetOn(on);
}

void PlayerWindowView::ShowProgress() {
  if (!progress_) return;
  const bool can_seek = status_.state != ShownState::kStopped && status_.duration_ms > 0;
  progress_->SetRange({0, can_seek ? AsRange(status_.duration_ms) : 0, kSeekStep, kSeekPage, 0});
  progress_->SetEnabled(can_seek);
  progress_->SetValue(AsRange(status_.position_ms));
}

void PlayerWindowView::ShowTime() {
  if (!led_) return;
  const bool dragged = progress_ && progress_->IsDragging();
  const uint32_t position_ms = dragged ? static_cast<uint32_t>(progress_->Current()) : status_.position_ms;
  const uint32_t played = status_.has_track ? position_ms / kSecond : 0;
  const uint32_t all = status_.has_track ? status_.duration_ms / kSecond : 0;
  const bool left = !status_.shows_elapsed && all > 0;
  led_->SetTime(left ? all - std::min(played, all) : played, left);
  led_->SetName(left ? u"剩余时间" : u"已播放时间");
}

// ---- what the user does

void PlayerWindowView::OnProgress(int32_t position_ms, bool final) {
  if (final) {
    status_.position_ms = static_cast<uint32_t>(position_ms);
    actions_.SeekTo(static_cast<uint32_t>(position_ms));
  }
  ShowTime();
}

std::u16string PlayerWindowView::ProgressText(int32_t position_ms) const {
  if (status_.duration_ms == 0) return {};
  return TimeText(static_cast<uint32_t>(position_ms) / kSecond) + u" / " +
         TimeText(status_.duration_ms / kSecond);
}

bool PlayerWindowView::OnWindowWheel(int32_t notches) {
  actions_.StepVolume(notches);
  return true;
}

}  // namespace melorin
