// SPDX-License-Identifier: MIT
#include "app/window_places.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>

#include "skin/skin_layout.h"
#include "ui/window_snap.h"

namespace melorin {
namespace {

/// Pixels; no screen is so far away, and sums of these do not overflow.
constexpr int32_t kFarthest = 1 << 20;

BOOL CALLBACK TakeMonitor(HMONITOR monitor, HDC, LPRECT, LPARAM lparam) noexcept {
  auto* areas = reinterpret_cast<std::vector<SkinRect>*>(lparam);
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  if (!GetMonitorInfoW(monitor, &info)) return TRUE;
  const SkinRect area = {info.rcWork.left, info.rcWork.top, info.rcWork.right, info.rcWork.bottom};
  try {
    areas->insert(info.dwFlags & MONITORINFOF_PRIMARY ? areas->begin() : areas->end(), area);
  } catch (...) {
    return FALSE;
  }
  return TRUE;
}

SkinRect SizeOf(const WindowView& view) {
  return {0, 0, view.Width() * view.Scale(), view.Height() * view.Scale()};
}

/// All screens with what is between them.
SkinRect AllOf(const std::vector<SkinRect>& areas) {
  if (areas.empty()) return {-kFarthest, -kFarthest, kFarthest, kFarthest};
  SkinRect all = areas.front();
  for (const SkinRect& area : areas)
    all = {std::min(all.left, area.left), std::min(all.top, area.top), std::max(all.right, area.right),
           std::max(all.bottom, area.bottom)};
  return all;
}

/// A place as a file may have it, made one that can be reckoned with, and no larger than all screens: a
/// window costs memory by its size.
SettingsRect Sane(const SettingsRect& place, const SkinRect& screens) {
  const int32_t left = std::clamp(place.left, -kFarthest, kFarthest);
  const int32_t top = std::clamp(place.top, -kFarthest, kFarthest);
  const int32_t right = std::clamp(place.right, left, kFarthest);
  const int32_t bottom = std::clamp(place.bottom, top, kFarthest);
  return {left, top, left + std::min(right - left, screens.Width()),
          top + std::min(bottom - top, screens.Height())};
}

/// A remembered place in a size that the view takes.
SkinRect InSizeOf(const WindowView& view, const SettingsRect& place) {
  const SkinRect size = SizeOf(view);
  int32_t width = size.right;
  int32_t height = size.bottom;
  if (view.IsResizable()) {
    width = std::max(view.LeastWidth() * view.Scale(), place.right - place.left);
    height = std::max(view.LeastHeight() * view.Scale(), place.bottom - place.top);
  }
  return {place.left, place.top, place.left + width, place.top + height};
}

/// Places that were remembered at another scale, which the width of their main window tells, in the scale of
/// now: the windows stand to the main one as they did.
void AdjustScale(const WindowView& main_view, SettingsRect& main,
                 std::initializer_list<SettingsRect*> others) {
  const int64_t width = int64_t{main.right} - main.left;
  const int64_t now = main_view.Scale();
  const int64_t then = now == 1 ? 2 : 1;
  if (width != main_view.Width() * then) return;
  const auto moved = [&](int64_t value, int64_t origin) {
    return static_cast<int32_t>(
        std::clamp<int64_t>(origin + (value - origin) * now / then, -kFarthest, kFarthest));
  };
  const SettingsRect origin = main;
  const auto adjust = [&](SettingsRect& place) {
    place = {moved(place.left, origin.left), moved(place.top, origin.top), moved(place.right, origin.left),
             moved(place.bottom, origin.top)};
  };
  adjust(main);
  for (SettingsRect* other : others)
    if (other->left != other->right) adjust(*other);
}

bool IsPlaced(const SettingsRect& place) {
  return place.left < place.right && place.top < place.bottom;
}

bool StandsByPlayer(SkinWindow kind, bool mini) {
  return kind == SkinWindow::kEqualizer || kind == SkinWindow::kPlaylist ||
         (kind == SkinWindow::kLyric && !mini);
}

/// Where nobody has placed it and no skin does: under the other.
SkinRect Under(const SkinRect& other, const SkinRect& size) {
  return Moved(size, other.left, other.bottom);
}

}  // namespace

std::vector<SkinRect> WorkAreas() {
  std::vector<SkinRect> areas;
  EnumDisplayMonitors(nullptr, nullptr, TakeMonitor, reinterpret_cast<LPARAM>(&areas));
  return areas;
}

SettingsRect& RememberedPlace(PlayerSettings& settings, SkinWindow kind) {
  switch (kind) {
    case SkinWindow::kMini:
      return settings.player_wnd2;
    case SkinWindow::kLyric:
      return settings.mini_mode ? settings.lyric_wnd2 : settings.lyric_wnd;
    case SkinWindow::kEqualizer:
      return settings.equalizer_wnd;
    case SkinWindow::kPlaylist:
      return settings.play_list_wnd;
    case SkinWindow::kPlayer:
      break;
  }
  return settings.player_wnd;
}

SkinRect SkinPlace(const WindowView& view) {
  if (view.SkinPosition().IsEmpty()) return {};
  const SkinRect wanted = ScaledPosition(view.SkinPosition(), view.Scale());
  return InSizeOf(view, {wanted.left, wanted.top, wanted.right, wanted.bottom});
}

WindowRects WindowPlaces(const PlayerSettings& settings, const WindowViews& views,
                         const std::vector<SkinRect>& areas) {
  PlayerSettings remembered = settings;
  const bool mini = settings.mini_mode != 0;
  const auto view = [&](SkinWindow kind) -> const WindowView& { return *views[IndexOf(kind)]; };
  AdjustScale(view(SkinWindow::kPlayer), remembered.player_wnd,
              {&remembered.lyric_wnd, &remembered.equalizer_wnd, &remembered.play_list_wnd});
  AdjustScale(view(SkinWindow::kMini), remembered.player_wnd2, {&remembered.lyric_wnd2});
  const SkinRect screens = AllOf(areas);
  // Whether it was placed at all is seen from what the settings hold.
  const auto is_placed = [&](SkinWindow kind) { return IsPlaced(RememberedPlace(remembered, kind)); };
  const auto place_of = [&](SkinWindow kind) { return Sane(RememberedPlace(remembered, kind), screens); };
  WindowRects places;

  SkinRect& player = places[IndexOf(SkinWindow::kPlayer)];
  if (is_placed(SkinWindow::kPlayer)) {
    player = InSizeOf(view(SkinWindow::kPlayer), place_of(SkinWindow::kPlayer));
  } else {
    std::vector<SkinRect> wanted = {SizeOf(view(SkinWindow::kPlayer))};
    for (const SkinWindow kind : {SkinWindow::kPlaylist, SkinWindow::kEqualizer, SkinWindow::kLyric})
      wanted.push_back(SkinPlace(view(kind)));
    player = DefaultPlaces(wanted, areas.empty() ? SkinRect{} : areas.front()).front();
  }

  // The mini player takes the player window's place when it is first used.
  SkinRect& mini_player = places[IndexOf(SkinWindow::kMini)];
  mini_player = is_placed(SkinWindow::kMini)
                    ? InSizeOf(view(SkinWindow::kMini), place_of(SkinWindow::kMini))
                    : Moved(SizeOf(view(SkinWindow::kMini)), player.left, player.top);

  for (const SkinWindow kind : {SkinWindow::kPlaylist, SkinWindow::kEqualizer, SkinWindow::kLyric}) {
    SkinRect& place = places[IndexOf(kind)];
    if (is_placed(kind)) {
      place = InSizeOf(view(kind), place_of(kind));
    } else if (!StandsByPlayer(kind, mini)) {
      place = Under(mini_player, SizeOf(view(kind)));
    } else if (const SkinRect wanted = SkinPlace(view(kind)); !wanted.IsEmpty()) {
      place = Moved(wanted, player.left, player.top);
    } else {
      place = Under(player, SizeOf(view(kind)));
    }
  }

  const SkinWindow main = mini ? SkinWindow::kMini : SkinWindow::kPlayer;
  const int32_t scale = view(main).Scale();
  WindowRects together = places;
  together[IndexOf(mini ? SkinWindow::kPlayer : SkinWindow::kMini)] = {};
  const std::vector<bool> attached = AttachedTo(together, IndexOf(main), scale);
  const SkinRect& before = together[IndexOf(main)];
  const SkinRect after = BroughtOntoScreens(before, areas, scale);
  for (size_t i = 0; i < kWindowCount; ++i) {
    if (attached[i]) places[i] = Moved(places[i], after.left - before.left, after.top - before.top);
    places[i] = BroughtOntoScreens(places[i], areas, scale);
  }
  return places;
}

}  // namespace melorin
