// SPDX-License-Identifier: MIT
//
// The five windows together: which are shown, where, and how they move.
#include "app/window_group.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "app/window_places.h"
#include "app_test_windows.h"
#include "skin/bitmap_draw.h"

namespace melorin {

namespace {

using Names = std::vector<std::string>;
using enum SkinWindow;

SkinRect AsRect(const SettingsRect& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

class TestGroupHost : public WindowGroupHost {
 public:
  bool OnHotKey(const KeyPress&) override { return false; }
  bool OnMediaCommand(int) override { return false; }
  void OnFilesDropped(SkinWindow, int32_t, int32_t, std::vector<std::u16string>) override {}
  void ShowContextMenu(SkinWindow, POINT) override {}
  void OnExitWanted() override { ++exits; }
  void OnScaleChanged(int32_t wanted) override { scale = wanted; }
  void OnWindowsChanged() override {}
  void SaveSettingsLater() override { ++saves; }
  int exits = 0;
  int32_t scale = 0;
  int saves = 0;
};

class AppWindowGroup : public ::testing::Test {
 protected:
  AppWindowGroup() : settings_([](const char*) { return false; }) {
    settings_.general.fade_windows = 0;
    settings_.player.equalizer_visible = 1;
    settings_.player.player_wnd = {100, 60, 520, 228};
    wardrobe_.Wear({}, 1);
    for (size_t i = 0; i < kWindowCount; ++i) {
      views_[i] = std::make_unique<TestView>(static_cast<SkinWindow>(i));
      views_[i]->Wear(wardrobe_, nullptr);
    }
  }
  void Create() {
    WindowViews views;
    for (size_t i = 0; i < kWindowCount; ++i)
      views[i] = views_[i].get();
    group_ = std::make_unique<WindowGroup>(GetModuleHandleW(nullptr), host_, settings_, views);
    ASSERT_TRUE(group_->Create(nullptr));
  }
  void Open() {
    Create();
    group_->Open(SW_SHOWNOACTIVATE);
    PumpFor();
  }
  const SkinRect& Place(SkinWindow kind) const { return group_->Window(kind).Place(); }
  /// By a point of the caption, in steps as a mouse makes them; the way that is left is made without a step.
  void Drag(SkinWindow kind, int dx, int dy) {
    const HWND window = group_->Window(kind).Handle();
    const SkinRect start = Place(kind);
    const POINT grip = {start.Width() / 2, 12};
    const auto to = [&](UINT message, int x, int y) {
      const SkinRect now = Place(kind);
      SendMessageW(window, message, MK_LBUTTON,
                   MAKELPARAM(start.left + grip.x + x - now.left, start.top + grip.y + y - now.top));
    };
    to(WM_LBUTTONDOWN, 0, 0);
    for (int step = 1; step <= 4; ++step)
      to(WM_MOUSEMOVE, dx * step / 4, dy * step / 4);
    to(WM_LBUTTONUP, dx, dy);
  }

  Settings settings_;
  TestGroupHost host_;
  SkinWardrobe wardrobe_;
  std::array<std::unique_ptr<TestView>, kWindowCount> views_;
  std::unique_ptr<WindowGroup> group_;
};

TEST_F(AppWindowGroup, WindowsStandAsTheSkinHasThemUntilTheyAreMoved) {
  settings_.player.play_list_wnd = {900, 500, 1400, 900};
  Open();
  EXPECT_EQ(Place(kPlayer), (SkinRect{100, 60, 520, 228}));
  EXPECT_EQ(Place(kLyric), (SkinRect{520, 60, 840, 548}));
  EXPECT_EQ(Place(kEqualizer), (SkinRect{100, 548, 520, 748}));
  EXPECT_EQ(Place(kPlaylist), (SkinRect{900, 500, 1400, 900}));
  EXPECT_EQ(group_->ShownNames(), (Names{"player", "playlist", "equalizer", "lyric"}));
  wchar_t name[32] = {};
  GetClassNameW(group_->Window(kPlaylist).Handle(), name, 32);
  EXPECT_STREQ(name, L"PlayListWnd");
  EXPECT_EQ(host_.saves, 0);
  EXPECT_EQ(AsRect(settings_.player.lyric_wnd), SkinRect{});
}

TEST_F(AppWindowGroup, FirstStartAndLostScreens) {
  settings_.player.player_wnd = {};
  Open();
  const std::vector<SkinRect> areas = WorkAreas();
  ASSERT_FALSE(areas.empty());
  const SkinRect& area = areas.front();
  // All together in the middle.
  EXPECT_NEAR(Place(kPlayer).left - area.left, area.right - Place(kLyric).right, 1);
  EXPECT_EQ(Place(kPlaylist).top, Place(kPlayer).bottom);
  group_.reset();

  // Where there is no screen now: they come back as they hung together.
  settings_.player.player_wnd = {5000, 60, 5420, 228};
  settings_.player.lyric_wnd = {5420, 60, 5740, 548};
  Open();
  EXPECT_EQ(Place(kPlayer), (SkinRect{area.right - 420, 60, area.right, 228}));
  EXPECT_EQ(Place(kPlaylist).left, Place(kPlayer).left);
  EXPECT_LE(Place(kLyric).right, area.right);
  // The screen may return.
  EXPECT_EQ(settings_.player.player_wnd.left, 5000);
}

TEST_F(AppWindowGroup, DamagedPlacesAreReachedAndAreNoLargerThanTheScreens) {
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  const std::vector<SkinRect> areas = WorkAreas();
  ASSERT_FALSE(areas.empty());
  for (const SettingsRect& damaged : {SettingsRect{kMin, kMin, kMax, kMax},
                                      {kMax - 9, kMax - 9, kMax, kMax},
                                      {kMin, kMin, kMin + 9, kMin + 9},
                                      {0, 0, 100000, 100000}}) {
    PlayerSettings player;
    player.player_wnd = player.play_list_wnd = player.lyric_wnd = damaged;
    WindowViews views;
    for (size_t i = 0; i < kWindowCount; ++i)
      views[i] = views_[i].get();
    for (const SkinWindow kind : {kPlayer, kPlaylist, kLyric}) {
      const SkinRect place = WindowPlaces(player, views, areas)[static_cast<size_t>(kind)];
      SCOPED_TRACE(testing::Message() << damaged.left << " " << static_cast<int>(kind));
      const auto seen_in = [&](const SkinRect& area) { return !Intersection(place, area).IsEmpty(); };
      EXPECT_TRUE(std::any_of(areas.begin(), areas.end(), seen_in));
      EXPECT_LE(place.Width(), std::max(GetSystemMetrics(SM_CXVIRTUALSCREEN), 500));
      EXPECT_LE(place.Height(), std::max(GetSystemMetrics(SM_CYVIRTUALSCREEN), 500));
    }
  }
}

TEST_F(AppWindowGroup, PlacesOfAnotherScaleKeepTheArrangement) {
  PlayerSettings player;
  player.player_wnd = {100, 60, 520, 228};
  player.play_list_wnd = {100, 228, 520, 500};
  player.lyric_wnd = {520, 60, 840, 548};
  player.player_wnd2 = {0, 0, 1120, 80};
  player.lyric_wnd2 = {0, 80, 400, 480};
  WindowViews views;
  for (size_t i = 0; i < kWindowCount; ++i)
    views[i] = views_[i].get();
  const std::vector<SkinRect> areas = {{0, 0, 4000, 3000}};
  const auto place = [&](SkinWindow kind) {
    return WindowPlaces(player, views, areas)[static_cast<size_t>(kind)];
  };
  player.mini_mode = 1;
  EXPECT_EQ(place(kLyric), (SkinRect{0, 40, 240, 240})) << "remembered on a dense screen";
  player.mini_mode = 0;
  wardrobe_.Wear({}, 2);
  for (const auto& view : views_)
    view->Wear(wardrobe_, nullptr);
  EXPECT_EQ(place(kPlayer), (SkinRect{100, 60, 940, 396}));
  EXPECT_EQ(place(kPlaylist), (SkinRect{100, 396, 940, 940}));
  EXPECT_EQ(place(kLyric), (SkinRect{940, 60, 1580, 1036}));
  EXPECT_EQ(place(kEqualizer).left, 100) << "where the skin has it";
}

TEST_F(AppWindowGroup, SnappedWindowsMoveTogether) {
  Open();
  Drag(kPlayer, 160, 70);
  EXPECT_EQ(Place(kPlayer), (SkinRect{260, 130, 680, 298}));
  EXPECT_EQ(Place(kPlaylist), (SkinRect{260, 298, 680, 618}));
  EXPECT_EQ(Place(kEqualizer), (SkinRect{260, 618, 680, 818}));
  EXPECT_EQ(Place(kLyric), (SkinRect{680, 130, 1000, 618}));
  EXPECT_EQ(AsRect(settings_.player.lyric_wnd), Place(kLyric));
  EXPECT_GT(host_.saves, 0);
  // Another one moves alone, and snaps when it comes near.
  Drag(kLyric, 90, 60);
  EXPECT_EQ(Place(kLyric), (SkinRect{770, 190, 1090, 678}));
  EXPECT_EQ(Place(kPlayer).left, 260);
  Drag(kPlayer, -20, 0);
  EXPECT_EQ(Place(kLyric).left, 770);
  Drag(kLyric, -106, -57);
  EXPECT_EQ(Place(kLyric), (SkinRect{660, 130, 980, 618}));
  // What is hidden at the player's side comes along; what hangs on that alone does not.
  group_->Execute(CommandId::kShowPlayList);
  Drag(kLyric, 200, 0);
  Drag(kPlayer, 0, 50);
  EXPECT_EQ(Place(kPlaylist).top, 348);
  EXPECT_EQ(Place(kEqualizer).top, 618);
  // The screen's edge.
  Drag(kPlayer, -233, -175);
  EXPECT_EQ(Place(kPlayer), (SkinRect{0, 0, 420, 168}));
  // Without snapping nothing of all this.
  settings_.general.snap_windows = 0;
  Drag(kPlayer, 5, 3);
  EXPECT_EQ(Place(kPlayer), (SkinRect{5, 3, 425, 171}));
  EXPECT_EQ(Place(kPlaylist).left, 0);
}

TEST_F(AppWindowGroup, KeysGoFromWindowToWindow) {
  Open();
  SetForegroundWindow(group_->Window(kPlayer).Handle());
  const auto press = [&](WPARAM key) {
    SendMessageW(GetForegroundWindow(), WM_KEYDOWN, key, 0);
    return GetForegroundWindow();
  };
  for (const SkinWindow kind : {kPlaylist, kEqualizer, kLyric, kPlayer})
    EXPECT_EQ(press(VK_F6), group_->Window(kind).Handle()) << static_cast<int>(kind);
}

TEST_F(AppWindowGroup, CommandsShowAndHide) {
  Open();
  EXPECT_TRUE(group_->IsChecked(CommandId::kShowLyric));
  group_->Execute(CommandId::kShowLyric);
  EXPECT_FALSE(group_->IsChecked(CommandId::kShowLyric));
  EXPECT_EQ(settings_.player.lyric_visible, 0);
  SendMessageW(group_->Window(kEqualizer).Handle(), WM_CLOSE, 0, 0);
  EXPECT_EQ(group_->ShownNames(), (Names{"player", "playlist"}));
  group_->Execute(CommandId::kShowHide);
  EXPECT_EQ(group_->ShownNames(), Names{});
  EXPECT_FALSE(IsWindowVisible(group_->Window(kPlayer).Handle()));
  group_->Execute(CommandId::kShowLyric);
  EXPECT_EQ(group_->ShownNames(), Names{});
  group_->Execute(CommandId::kShowHide);
  EXPECT_EQ(group_->ShownNames(), (Names{"player", "playlist", "lyric"}));
  EXPECT_EQ(host_.exits, 0);
  SendMessageW(group_->Window(kPlayer).Handle(), WM_CLOSE, 0, 0);
  EXPECT_EQ(host_.exits, 1);
}

TEST_F(AppWindowGroup, MiniModeHasItsOwnSet) {
  settings_.player.lyric_visible2 = 1;
  settings_.player.lyric_wnd2 = {700, 700, 1000, 900};
  Open();
  group_->Execute(CommandId::kMiniMode);
  EXPECT_EQ(group_->ShownNames(), (Names{"mini", "lyric"}));
  EXPECT_EQ(group_->MainHandle(), group_->Window(kMini).Handle());
  EXPECT_EQ(Place(kMini).left, 100);
  EXPECT_EQ(Place(kLyric), (SkinRect{700, 700, 1000, 900}));
  EXPECT_FALSE(group_->IsEnabled(CommandId::kShowPlayList));
  const auto is_top_most = [&](SkinWindow kind) {
    return (GetWindowLongW(group_->Window(kind).Handle(), GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
  };
  EXPECT_TRUE(is_top_most(kMini));
  group_->Execute(CommandId::kLyricTopMost);
  EXPECT_TRUE(is_top_most(kMini));
  EXPECT_FALSE(is_top_most(kLyric));
  Drag(kMini, 40, 300);
  group_->Execute(CommandId::kMiniMode);
  EXPECT_EQ(group_->ShownNames(), (Names{"player", "playlist", "equalizer", "lyric"}));
  EXPECT_EQ(Place(kPlayer), (SkinRect{100, 60, 520, 228}));
  EXPECT_EQ(Place(kLyric), (SkinRect{520, 60, 840, 548}));
  EXPECT_FALSE(is_top_most(kPlayer));
  EXPECT_EQ(settings_.player.player_wnd2.left, 140);
  EXPECT_EQ(settings_.player.lyric_top_most2, 0);
}

TEST_F(AppWindowGroup, OpacityIsForWindowsThatAreNotInUse) {
  Open();
  const auto opacity = [&] {
    BYTE alpha = 255;
    DWORD flags = 0;
    const HWND window = group_->Window(kLyric).Handle();
    if (GetWindowLongW(window, GWL_EXSTYLE) & WS_EX_LAYERED)
      GetLayeredWindowAttributes(window, nullptr, &alpha, &flags);
    return alpha;
  };
  SendMessageW(group_->Window(kPlayer).Handle(), WM_ACTIVATEAPP, FALSE, 0);
  group_->Execute(Plus(CommandId::kOpacityFirst, 60));
  EXPECT_TRUE(group_->IsChecked(Plus(CommandId::kOpacityFirst, 60)));
  EXPECT_FALSE(group_->Handles(Plus(CommandId::kOpacityFirst, 5)));
  EXPECT_EQ(opacity(), 153);
  SendMessageW(group_->Window(kPlayer).Handle(), WM_ACTIVATEAPP, TRUE, 0);
  EXPECT_EQ(opacity(), 255);
  settings_.player.opaque_when_active = 0;
  group_->OnSettingsChanged();
  EXPECT_EQ(opacity(), 153);
}

TEST_F(AppWindowGroup, SkinOfAnotherScaleKeepsTheArrangement) {
  Open();
  Drag(kLyric, 300, 0);
  SendMessageW(group_->Window(kPlayer).Handle(), 0x02E0 /* WM_DPICHANGED */, MAKEWPARAM(192, 192), 0);
  EXPECT_EQ(host_.scale, 2);
  wardrobe_.Wear({}, 2);
  for (const auto& view : views_)
    view->Wear(wardrobe_, nullptr);
  group_->OnSkinChanged();
  EXPECT_EQ(Place(kPlayer), (SkinRect{100, 60, 940, 396}));
  EXPECT_EQ(Place(kPlaylist), (SkinRect{100, 396, 940, 1036}));
  EXPECT_EQ(Place(kLyric).left, 820);
  EXPECT_EQ(AsRect(settings_.player.play_list_wnd), SkinRect{});
}

TEST_F(AppWindowGroup, ModalDialogsShutAllWindows) {
  Open();
  EnableWindow(group_->MainHandle(), FALSE);
  for (const SkinWindow kind : {kPlaylist, kEqualizer, kLyric})
    EXPECT_FALSE(IsWindowEnabled(group_->Window(kind).Handle()));
  EnableWindow(group_->MainHandle(), TRUE);
  for (const SkinWindow kind : {kPlaylist, kEqualizer, kLyric})
    EXPECT_TRUE(IsWindowEnabled(group_->Window(kind).Handle()));
}

TEST_F(AppWindowGroup, MinimizingTakesAllAlong) {
  settings_.general.startup_minimize = 1;
  Open();
  EXPECT_EQ(group_->ShownNames(), Names{});
  EXPECT_TRUE(IsIconic(group_->MainHandle()));
  group_->BringToFront();
  PumpFor();
  EXPECT_EQ(group_->ShownNames(), (Names{"player", "playlist", "equalizer", "lyric"}));
  EXPECT_EQ(Place(kPlayer), (SkinRect{100, 60, 520, 228}));
  SendMessageW(group_->MainHandle(), WM_SYSCOMMAND, SC_MINIMIZE, 0);
  EXPECT_FALSE(IsWindowVisible(group_->Window(kLyric).Handle()));
  EXPECT_TRUE(IsIconic(group_->MainHandle()));
  group_->BringToFront();
  settings_.general.hide_minimize = 1;
  group_->Execute(CommandId::kMinimize);
  EXPECT_FALSE(IsWindowVisible(group_->MainHandle()));
  group_->BringToFront();
  EXPECT_TRUE(IsWindowVisible(group_->MainHandle()));
}

}  // namespace
}  // namespace melorin
