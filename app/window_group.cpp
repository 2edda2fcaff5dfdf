// SPDX-License-Identifier: MIT
#include "app/window_group.h"

#include <algorithm>
#include <cstdlib>

#include "doc/keys.h"
#include "ui/window_snap.h"

namespace melorin {
namespace {

using Activation = SkinnedWindow::Activation;

constexpr SkinWindow kAllKinds[] = {SkinWindow::kPlayer, SkinWindow::kMini, SkinWindow::kPlaylist,
                                    SkinWindow::kEqualizer, SkinWindow::kLyric};

/// Less could not be found any more.
constexpr int32_t kLeastOpacity = 10;

SkinnedWindow::Traits TraitsOf(SkinWindow kind) {
  switch (kind) {
    case SkinWindow::kMini:
      return {L"MelorinMiniWnd", L"Melorin", true};
    case SkinWindow::kLyric:
      return {L"LyricWnd", L"歌词", false};
    case SkinWindow::kEqualizer:
      return {L"EqualizerWnd", L"均衡器", false};
    case SkinWindow::kPlaylist:
      return {L"PlayListWnd", L"播放列表", false};
    case SkinWindow::kPlayer:
      break;
  }
  return {L"MelorinPlayerWnd", L"Melorin", true};
}

const char* NameOf(SkinWindow kind) {
  switch (kind) {
    case SkinWindow::kMini:
      return "mini";
    case SkinWindow::kLyric:
      return "lyric";
    case SkinWindow::kEqualizer:
      return "equalizer";
    case SkinWindow::kPlaylist:
      return "playlist";
    case SkinWindow::kPlayer:
      break;
  }
  return "player";
}

/// The window that a command shows and hides; kPlayer: none.
SkinWindow WindowOf(CommandId command) {
  switch (command) {
    case CommandId::kShowPlayList:
      return SkinWindow::kPlaylist;
    case CommandId::kShowLyric:
      return SkinWindow::kLyric;
    case CommandId::kShowEqualizer:
      return SkinWindow::kEqualizer;
    default:
      return SkinWindow::kPlayer;
  }
}

int32_t OpacityOf(CommandId command) {
  const int32_t percent = OffsetFrom(command, CommandId::kOpacityFirst, 101);
  return percent >= kLeastOpacity ? percent : -1;
}

/// For a scope.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) : flag_(flag), before_(flag) { flag_ = true; }
  ~FlagScope() { flag_ = before_; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool& flag_;
  const bool before_;
};

}  // namespace

int ScreenDpi() {
  const HDC dc = GetDC(nullptr);
  const int dpi = dc ? GetDeviceCaps(dc, LOGPIXELSY) : 0;
  if (dc) ReleaseDC(nullptr, dc);
  return dpi > 0 ? dpi : 96;
}

WindowGroup::WindowGroup(HINSTANCE instance, WindowGroupHost& host, Settings& settings,
                         const WindowViews& views)
    : instance_(instance), host_(host), settings_(settings), views_(views) {
  SkinnedWindowHost& self = *this;
  for (size_t i = 0; i < kWindowCount; ++i)
    windows_[i] = std::make_unique<SkinnedWindow>(*views_[i], self);
}

bool WindowGroup::Create(HWND owner) {
  const FlagScope arranging(arranging_);
  for (const SkinWindow kind : kAllKinds) {
    if (!Window(kind).Create(instance_, owner, TraitsOf(kind))) return false;
    skin_places_[IndexOf(kind)] = SkinPlace(*views_[IndexOf(kind)]);
  }
  RestorePlaces();
  return true;
}

void WindowGroup::Open(int show) {
  ApplyAlpha();
  ApplyTopMost();
  hidden_ = show == SW_HIDE;
  if (hidden_) return;
  if (settings_.general.startup_minimize || show == SW_SHOWMINIMIZED || show == SW_MINIMIZE ||
      show == SW_SHOWMINNOACTIVE) {
    Minimize();
    return;
  }
  const bool leave = show == SW_SHOWNOACTIVATE || show == SW_SHOWNA;
  ShowWanted(false, leave ? Activation::kLeave : Activation::kActivate);
  for (const SkinWindow kind : kAllKinds)
    if (IsShown(kind)) UpdateWindow(Window(kind).Handle());
}

void WindowGroup::Close() {
  hidden_ = true;
  const FlagScope arranging(arranging_);
  for (const auto& window : windows_)
    window->Hide(false);
}

// ---- which are shown

int32_t* WindowGroup::WantedFlag(SkinWindow kind) const {
  PlayerSettings& player = settings_.player;
  switch (kind) {
    case SkinWindow::kLyric:
      return IsMini() ? &player.lyric_visible2 : &player.lyric_visible;
    case SkinWindow::kEqualizer:
      return IsMini() ? nullptr : &player.equalizer_visible;
    case SkinWindow::kPlaylist:
      return IsMini() ? nullptr : &player.play_list_visible;
    case SkinWindow::kPlayer:
    case SkinWindow::kMini:
      break;
  }
  return nullptr;
}

bool WindowGroup::IsWanted(SkinWindow kind) const {
  const int32_t* flag = WantedFlag(kind);
  return flag ? *flag != 0 : kind == MainKind();
}

void WindowGroup::ShowWanted(bool fade, Activation activation) {
  const SkinWindow main = MainKind();
  const auto wanted = [&](SkinWindow kind) { return !hidden_ && !minimized_ && IsWanted(kind); };
  for (const SkinWindow kind : kAllKinds)
    if (kind != main && wanted(kind) && !Window(kind).IsShown()) Window(kind).Show(fade, Activation::kLeave);
  // Last, so that it is in front, and before others go, so that the system activates nobody else's window.
  if (wanted(main) && (!Window(main).IsShown() || activation == Activation::kActivate))
    Window(main).Show(fade, activation);
  for (const SkinWindow kind : kAllKinds)
    if (!wanted(kind) && Window(kind).IsShown() && !(minimized_ && !hidden_ && kind == main))
      Window(kind).Hide(fade && !minimized_);
  host_.OnWindowsChanged();
}

void WindowGroup::SetShown(SkinWindow kind, bool shown) {
  int32_t* flag = WantedFlag(kind);
  if (!flag || (*flag != 0) == shown) return;
  *flag = shown;
  const bool was_active = GetForegroundWindow() == Window(kind).Handle();
  ShowWanted(Fades(), Activation::kLeave);
  if (!shown && was_active && !hidden_ && !minimized_) SetForegroundWindow(MainHandle());
  host_.SaveSettingsLater();
}

void WindowGroup::SetHidden(bool hidden) {
  hidden_ = hidden;
  if (!hidden && minimized_) {
    // Shown again, it is what restores the rest.
    Window(MainKind()).Show(false, Activation::kActivate);
    return;
  }
  ShowWanted(Fades(), Activation::kActivate);
}

void WindowGroup::SetMini(bool mini) {
  if (mini == IsMini()) return;
  const bool was_minimized = minimized_;
  const SkinWindow before = MainKind();
  settings_.player.mini_mode = mini;
  minimized_ = false;
  if (was_minimized) Window(before).Hide(false);
  // The lyrics have a place of their own in either mode, so they go from one to the other at once.
  Window(SkinWindow::kLyric).Hide(false);
  RestorePlaces();
  ApplyTopMost();
  ShowWanted(Fades(), Activation::kActivate);
  host_.SaveSettingsLater();
}

void WindowGroup::Minimize() {
  if (settings_.general.hide_minimize) {
    SetHidden(true);
  } else if (!hidden_) {
    Window(MainKind()).Minimize();
  }
}

void WindowGroup::BringToFront() {
  if (hidden_ || minimized_) {
    SetHidden(false);
  } else {
    SetForegroundWindow(MainHandle());
  }
}

std::vector<std::string> WindowGroup::ShownNames() const {
  std::vector<std::string> names;
  for (const SkinWindow kind : kAllKinds)
    if (IsShown(kind)) names.emplace_back(NameOf(kind));
  return names;
}

void WindowGroup::SetCaption(const std::u16string& caption) {
  Window(SkinWindow::kPlayer).SetCaption(caption);
  Window(SkinWindow::kMini).SetCaption(caption);
}

// ---- what the system and the user do to a window

void WindowGroup::OnCloseWanted(SkinWindow kind) {
  if (kind == MainKind()) {
    host_.OnExitWanted();
  } else {
    SetShown(kind, false);
  }
}

void WindowGroup::OnMinimizeWanted(SkinWindow) {
  Minimize();
}

void WindowGroup::OnMinimized(SkinWindow kind, bool minimized) {
  if (kind != MainKind() || hidden_ || minimized == minimized_) return;
  minimized_ = minimized;
  ShowWanted(false, Activation::kLeave);
}

bool WindowGroup::OnHotKey(const KeyPress& key) {
  if (host_.OnHotKey(key)) return true;
  if (key.key != kKeyF6 || key.ctrl || key.alt) return false;
  std::vector<SkinWindow> shown;
  for (const SkinWindow kind : kAllKinds)
    if (IsShown(kind)) shown.push_back(kind);
  const auto active = std::find_if(shown.begin(), shown.end(), [this](SkinWindow kind) {
    return Window(kind).Handle() == GetForegroundWindow();
  });
  if (active == shown.end()) return false;
  const size_t step = key.shift ? shown.size() - 1 : 1;
  SkinnedWindow& next = Window(shown[(static_cast<size_t>(active - shown.begin()) + step) % shown.size()]);
  // Windows look alike with and without the keyboard, so the mark tells.
  WindowView& view = next.View();
  if (view.Focused()) {
    view.Focus(view.Focused(), true);
  } else {
    // The first control of the others is what closes them.
    const bool last = next.Kind() != MainKind();
    view.OnKey({kKeyTab, false, last, false});
  }
  SetForegroundWindow(next.Handle());
  return true;
}

void WindowGroup::OnActivated(SkinWindow kind) {
  const SkinnedWindow& front = Window(kind);
  for (const SkinWindow other : kAllKinds) {
    if (other == kind || !IsShown(other)) continue;
    // Behind a top-most window an ordinary one would become top-most as well.
    const HWND after = front.IsTopMost() == Window(other).IsTopMost() ? front.Handle() : HWND_TOP;
    SetWindowPos(Window(other).Handle(), after, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  }
}

void WindowGroup::OnProgramActivated(bool active) {
  // Every window tells it.
  if (active == active_) return;
  active_ = active;
  ApplyAlpha();
}

void WindowGroup::OnDpiChanged(SkinWindow kind, int dpi) {
  const int32_t scale = ScaleOfDpi(dpi);
  if (kind == MainKind() && scale != views_[IndexOf(kind)]->Scale()) host_.OnScaleChanged(scale);
}

void WindowGroup::OnScreensChanged(SkinWindow kind) {
  if (kind == SkinWindow::kPlayer) RestorePlaces();
}

void WindowGroup::OnEnabled(SkinWindow kind, bool enabled) {
  // The system does so to a dialog's owner only.
  if (enabling_) return;
  const FlagScope enabling(enabling_);
  for (const SkinWindow other : kAllKinds)
    if (other != kind && Window(other).Handle()) EnableWindow(Window(other).Handle(), enabled);
}

void WindowGroup::OnSettingsChanged() {
  ApplyAlpha();
  ApplyTopMost();
  if (!hidden_) ShowWanted(false, Activation::kLeave);
}

// ---- lying above others, and letting through

bool WindowGroup::IsOnTop(SkinWindow kind) const {
  const PlayerSettings& player = settings_.player;
  if (kind == SkinWindow::kLyric) return (IsMini() ? player.lyric_top_most2 : player.lyric_top_most) != 0;
  return (IsMini() ? player.top_most2 : player.top_most) != 0;
}

void WindowGroup::ApplyTopMost() {
  bool lowered = false;
  for (const SkinWindow kind : kAllKinds) {
    if (IsOnTop(kind) || !Window(kind).IsTopMost()) continue;
    Window(kind).SetTopMost(false);
    lowered = true;
  }
  // Lowering one window lowers others of its owner.
  for (const SkinWindow kind : kAllKinds)
    if (IsOnTop(kind) && (lowered || !Window(kind).IsTopMost())) Window(kind).SetTopMost(true);
}

void WindowGroup::ApplyAlpha() {
  const PlayerSettings& player = settings_.player;
  const int32_t percent =
      active_ && player.opaque_when_active ? 100 : std::clamp(player.alpha_percent, kLeastOpacity, 100);
  for (const auto& window : windows_)
    window->SetAlpha(percent * 255 / 100);
}

// ---- where they are

void WindowGroup::RestorePlaces() {
  const FlagScope arranging(arranging_);
  const WindowRects places = WindowPlaces(settings_.player, views_, WorkAreas());
  for (const SkinWindow kind : kAllKinds)
    Window(kind).SetPlace(places[IndexOf(kind)]);
}

void WindowGroup::Remember(SkinWindow kind) {
  const SkinRect& place = Window(kind).Place();
  RememberedPlace(settings_.player, kind) = {place.left, place.top, place.right, place.bottom};
}

void WindowGroup::OnPlaced(SkinWindow kind) {
  if (arranging_) return;
  Remember(kind);
  if (!dragging_) host_.SaveSettingsLater();
}

void WindowGroup::OnSkinChanged() {
  const SkinRect player = Window(SkinWindow::kPlayer).Place();
  const WindowRects wanted_before = skin_places_;
  WindowRects before;
  for (const SkinWindow kind : kAllKinds)
    before[IndexOf(kind)] = Moved(Window(kind).Place(), -player.left, -player.top);
  const FlagScope arranging(arranging_);
  for (const SkinWindow kind : kAllKinds) {
    const size_t i = IndexOf(kind);
    Window(kind).OnSkinChanged();
    skin_places_[i] = SkinPlace(*views_[i]);
    const SkinRect wanted = Moved(skin_places_[i], player.left, player.top);
    if (before[i] == wanted_before[i]) {
      if (!wanted.IsEmpty()) Window(kind).SetPlace(wanted);
    } else if (before[i].left == wanted_before[i].left && before[i].top == wanted_before[i].top) {
      // In a size of the user's own.
      if (!wanted.IsEmpty()) Window(kind).MoveTo(wanted.left, wanted.top);
    }
    // Who was placed nowhere is placed nowhere still.
    if (const SettingsRect& place = RememberedPlace(settings_.player, kind); place.left != place.right)
      Remember(kind);
  }
  RestorePlaces();
  host_.SaveSettingsLater();
}

// ---- moved by the mouse

std::vector<bool> WindowGroup::MovedWith(SkinWindow kind) const {
  std::vector<bool> moved(kWindowCount);
  moved[IndexOf(kind)] = true;
  if (kind != MainKind() || !Snaps()) return moved;
  const int32_t slack = views_[IndexOf(kind)]->Scale();
  WindowRects places{};
  for (const SkinWindow other : kAllKinds)
    if (IsShown(other)) places[IndexOf(other)] = Window(other).Place();
  moved = AttachedTo(places, IndexOf(kind), slack);
  // Hidden windows at the side of these come along, so as to be there when they are shown.
  for (const SkinWindow other : kAllKinds) {
    const size_t i = IndexOf(other);
    if (IsShown(other)) {
      if (!moved[i]) places[i] = {};
    } else if (WantedFlag(other)) {
      places[i] = Window(other).Place();
    }
  }
  return AttachedTo(places, IndexOf(kind), slack);
}

void WindowGroup::OnDragStart(SkinWindow kind, WindowPart part) {
  dragging_ = true;
  moving_ = part == WindowPart::kCaption ? MovedWith(kind) : std::vector<bool>(kWindowCount);
  moving_[IndexOf(kind)] = true;
  areas_ = WorkAreas();
  others_.clear();
  for (const SkinWindow other : kAllKinds) {
    drag_places_[IndexOf(other)] = Window(other).Place();
    if (!moving_[IndexOf(other)] && IsShown(other)) others_.push_back(Window(other).Place());
  }
}

void WindowGroup::OnDragTo(SkinWindow kind, WindowPart part, const SkinRect& wanted) {
  const int32_t reach = Snaps() ? kSnapReach * views_[IndexOf(kind)]->Scale() : -1;
  if (part != WindowPart::kCaption) {
    Window(kind).SetPlace(reach > 0 ? SnapResize(wanted, part, others_, areas_, reach) : wanted, part);
    return;
  }
  int32_t dx = wanted.left - drag_places_[IndexOf(kind)].left;
  int32_t dy = wanted.top - drag_places_[IndexOf(kind)].top;
  if (reach > 0) {
    std::vector<SkinRect> moved;
    for (const SkinWindow other : kAllKinds)
      if (moving_[IndexOf(other)] && IsShown(other))
        moved.push_back(Moved(drag_places_[IndexOf(other)], dx, dy));
    const WindowOffset snap = SnapMove(moved, others_, areas_, reach);
    dx += snap.dx;
    dy += snap.dy;
  }
  MoveWindows(dx, dy);
}

void WindowGroup::MoveWindows(int32_t dx, int32_t dy) {
  // All at once, so that no gap is seen between them.
  HDWP moves = BeginDeferWindowPos(static_cast<int>(kWindowCount));
  for (const SkinWindow kind : kAllKinds) {
    const size_t i = IndexOf(kind);
    if (!moving_[i] || !moves) continue;
    moves = DeferWindowPos(moves, Window(kind).Handle(), nullptr, drag_places_[i].left + dx,
                           drag_places_[i].top + dy, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
  if (moves) EndDeferWindowPos(moves);
}

void WindowGroup::OnDragEnd(SkinWindow kind) {
  // A title that is out of view could not be taken again.
  const SkinRect place = Window(kind).Place();
  const SkinRect reachable = BroughtOntoScreens(place, areas_, views_[IndexOf(kind)]->Scale());
  if (place != reachable) {
    for (const SkinWindow other : kAllKinds)
      drag_places_[IndexOf(other)] = Window(other).Place();
    MoveWindows(reachable.left - place.left, reachable.top - place.top);
  }
  dragging_ = false;
  host_.SaveSettingsLater();
}

// ---- commands

bool WindowGroup::Handles(CommandId command) const {
  switch (command) {
    case CommandId::kShowPlayList:
    case CommandId::kShowLyric:
    case CommandId::kShowEqualizer:
    case CommandId::kMiniMode:
    case CommandId::kMinimize:
    case CommandId::kShowHide:
    case CommandId::kTopMost:
    case CommandId::kLyricTopMost:
      return true;
    default:
      return OpacityOf(command) > 0;
  }
}

bool WindowGroup::IsEnabled(CommandId command) const {
  const SkinWindow shown = WindowOf(command);
  return shown == SkinWindow::kPlayer || WantedFlag(shown) != nullptr;
}

bool WindowGroup::IsChecked(CommandId command) const {
  switch (command) {
    case CommandId::kMiniMode:
      return IsMini();
    case CommandId::kTopMost:
      return IsOnTop(MainKind());
    case CommandId::kLyricTopMost:
      return IsOnTop(SkinWindow::kLyric);
    default:
      break;
  }
  if (const int32_t percent = OpacityOf(command); percent > 0)
    return percent == settings_.player.alpha_percent;
  const SkinWindow shown = WindowOf(command);
  return shown != SkinWindow::kPlayer && IsWanted(shown);
}

void WindowGroup::Execute(CommandId command) {
  PlayerSettings& player = settings_.player;
  switch (command) {
    case CommandId::kMiniMode:
      SetMini(!IsMini());
      return;
    case CommandId::kMinimize:
      Minimize();
      return;
    case CommandId::kShowHide:
      SetHidden(!hidden_ && !minimized_);
      return;
    case CommandId::kTopMost: {
      int32_t& flag = IsMini() ? player.top_most2 : player.top_most;
      flag = !flag;
      break;
    }
    case CommandId::kLyricTopMost: {
      int32_t& flag = IsMini() ? player.lyric_top_most2 : player.lyric_top_most;
      flag = !flag;
      break;
    }
    default:
      if (const int32_t percent = OpacityOf(command); percent > 0) {
        player.alpha_percent = percent;
        break;
      }
      if (const SkinWindow shown = WindowOf(command); shown != SkinWindow::kPlayer)
        SetShown(shown, !IsWanted(shown));
      return;
  }
  ApplyTopMost();
  ApplyAlpha();
  host_.SaveSettingsLater();
}

}  // namespace melorin
