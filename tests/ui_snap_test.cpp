// SPDX-License-Identifier: MIT
//
// Windows that snap to one another and to the screens, and come back when a screen goes.
#include <gtest/gtest.h>

#include <ostream>

#include "ui/window_snap.h"

namespace melorin {

void PrintTo(const SkinRect& rect, std::ostream* out) {
  *out << rect.left << ',' << rect.top << ',' << rect.right << ',' << rect.bottom;
}

namespace {

constexpr SkinRect kArea = {0, 0, 1600, 960};
constexpr SkinRect kPlayer = {100, 60, 520, 228};

TEST(UiSnap, MovedWindowsMeetEdgesThatAreNear) {
  struct Case {
    const char* what;
    SkinRect moving;
    WindowOffset offset;
  };
  const Case cases[] = {
      {"beside it, tops in line", {524, 63, 700, 300}, {-4, -3}},
      {"overlapping a little", {515, 57, 700, 300}, {5, 3}},
      {"under it, left edges in line", {93, 238, 400, 500}, {7, -10}},
      {"eleven pixels away", {531, 120, 700, 400}, {0, 0}},
      {"level with it, but far away", {900, 63, 1000, 300}, {0, 0}},
      {"the corner of the screen", {-6, 955 - 200, 300, 955}, {6, 5}},
      {"the nearer of screen and window wins", {4, 236, 96, 400}, {4, -8}},
      {"nothing is there", {}, {0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(SnapMove({&c.moving, 1}, {&kPlayer, 1}, {&kArea, 1}, kSnapReach), c.offset);
  }
  // Of windows that move together any may meet something.
  const SkinRect both[] = {{700, 300, 800, 400}, {800, 300, 1594, 400}};
  EXPECT_EQ(SnapMove(both, {&kPlayer, 1}, {&kArea, 1}, kSnapReach), (WindowOffset{6, 0}));
  // A screen to the left of the main one: its right edge is no wall for a window within the other.
  const SkinRect screens[] = {kArea, {-1280, 200, 0, 900}};
  const SkinRect near_seam = {-296, 210, 4, 400};
  EXPECT_EQ(SnapMove({&near_seam, 1}, {}, screens, kSnapReach), (WindowOffset{-4, -10}));
}

TEST(UiSnap, ResizedEdgesMeetOthersAndTheRestStays) {
  const SkinRect list = {100, 228, 520, 500};
  const auto resized = [&](SkinRect place, WindowPart part) {
    return SnapResize(place, part, {&kPlayer, 1}, {&kArea, 1}, kSnapReach);
  };
  EXPECT_EQ(resized({100, 228, 527, 500}, WindowPart::kRight), list);
  EXPECT_EQ(resized({107, 221, 520, 500}, WindowPart::kTopLeft), list);
  EXPECT_EQ(resized({100, 228, 527, 953}, WindowPart::kBottomRight), (SkinRect{100, 228, 520, 960}));
  // An edge that the mouse does not hold stays off the line.
  EXPECT_EQ(resized({104, 228, 540, 500}, WindowPart::kRight), (SkinRect{104, 228, 540, 500}));
}

TEST(UiSnap, WindowsHangTogetherByWayOfOthers) {
  const SkinRect places[] = {
      kPlayer,
      {100, 228, 520, 548},  // below
      {520, 548, 900, 700},  // only its corner meets the one below
      {300, 548, 500, 600},  // under the one below
      {521, 60, 700, 300},   // a pixel away
      {523, 310, 700, 400},  // too far
      {},                    // hidden
  };
  EXPECT_EQ(AttachedTo(places, 0, 1), (std::vector<bool>{true, true, false, true, true, false, false}));
  EXPECT_EQ(AttachedTo(places, 6, 1), std::vector<bool>(7));
  // Lying across another is no hanging together.
  EXPECT_FALSE(AreTouching(kPlayer, {200, 100, 700, 500}, 1));
}

TEST(UiSnap, PlacesComeBackOntoTheScreens) {
  const SkinRect two[] = {kArea, {1600, 0, 2880, 1024}};
  struct Case {
    const char* what;
    SkinRect place;
    SkinRect on_one;
    SkinRect on_two;
  };
  const Case cases[] = {
      {"in view", {100, 60, 520, 228}, {100, 60, 520, 228}, {100, 60, 520, 228}},
      {"half out to the left, title in reach",
       {-300, 60, 120, 228},
       {-300, 60, 120, 228},
       {-300, 60, 120, 228}},
      {"lower part under the screen", {100, 930, 520, 1100}, {100, 930, 520, 1100}, {100, 930, 520, 1100}},
      {"title under the task bar", {100, 950, 520, 1118}, {100, 792, 520, 960}, {100, 792, 520, 960}},
      {"title above the screen", {100, -30, 520, 138}, {100, 0, 520, 168}, {100, 0, 520, 168}},
      {"on the second screen", {2000, 300, 2420, 468}, {1180, 300, 1600, 468}, {2000, 300, 2420, 468}},
      {"far off", {-32000, -32000, -31580, -31832}, {0, 0, 420, 168}, {0, 0, 420, 168}},
      {"larger than the screen", {-900, 0, 2000, 1500}, {-900, 0, 2000, 1500}, {-900, 0, 2000, 1500}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(BroughtOntoScreens(c.place, {&kArea, 1}, 1), c.on_one);
    EXPECT_EQ(BroughtOntoScreens(c.place, two, 1), c.on_two);
    EXPECT_EQ(BroughtOntoScreens(c.place, {}, 1), c.place);
  }
}

TEST(UiSnap, WindowsThatNobodyPlacedStandInTheMiddle) {
  const SkinRect wanted[] = {{0, 0, 420, 168}, {}, {420, 0, 740, 488}, {0, 488, 420, 688}};
  const std::vector<SkinRect> places = DefaultPlaces(wanted, kArea);
  EXPECT_EQ(places,
            (std::vector<SkinRect>{{430, 136, 850, 304}, {}, {850, 136, 1170, 624}, {430, 624, 850, 824}}));
  // A small screen shows the upper left of it all.
  EXPECT_EQ(DefaultPlaces(wanted, {10, 20, 650, 500})[0], (SkinRect{10, 20, 430, 188}));
}

}  // namespace
}  // namespace melorin
