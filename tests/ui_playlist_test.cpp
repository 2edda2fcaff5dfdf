// SPDX-License-Identifier: MIT
//
// The playlist window without a window: selection, rows, tabs, and where dragged entries go.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "doc/keys.h"
#include "playlist/list_edit.h"
#include "ui_playlist_fakes.h"
#include "ui_recorded_services.h"

namespace melorin {
namespace {

// ---- selection

/// Steps as "5" (click), "c5" (Ctrl), "s5" (Shift), "cs5", "k5" (key), "kc5" …; "all", "none", "inv", "turn".
std::string After(const std::string& steps, size_t count = 10) {
  ListSelection selection;
  selection.SetCount(count);
  std::string step;
  for (size_t at = 0; at <= steps.size(); ++at) {
    if (at < steps.size() && steps[at] != ' ') {
      step += steps[at];
      continue;
    }
    const size_t digit = step.find_first_of("0123456789");
    if (step == "all")
      selection.SelectAll();
    else if (step == "none")
      selection.SelectNone();
    else if (step == "inv")
      selection.SelectInverse();
    else if (step == "turn")
      selection.ToggleFocused();
    else if (digit != std::string::npos) {
      const std::string how = step.substr(0, digit);
      const ListSelection::Modifiers modifiers = {how.find('c') != std::string::npos,
                                                  how.find('s') != std::string::npos};
      const size_t index = std::stoul(step.substr(digit));
      if (how.find('k') == std::string::npos)
        selection.Click(index, modifiers);
      else
        selection.MoveTo(index, modifiers);
    }
    step.clear();
  }
  std::string result;
  for (const size_t index : selection.Selected())
    result += std::to_string(index) + " ";
  EXPECT_EQ(selection.SelectedCount(), selection.Selected().size());
  return result + "f" + (selection.Focus() ? std::to_string(*selection.Focus()) : "-");
}

TEST(UiListSelection, ClicksAndKeys) {
  const struct {
    const char* steps;
    const char* result;
  } cases[] = {
      {"", "f-"},
      {"3", "3 f3"},
      {"3 5", "5 f5"},
      {"3 c5 c7", "3 5 7 f7"},
      {"3 c5 c3", "5 f3"},
      {"3 s6", "3 4 5 6 f6"},
      {"3 s6 s1", "1 2 3 f1"},
      {"s4", "4 f4"},
      {"2 c5 cs7", "2 5 6 7 f7"},
      {"1 c5 s7", "5 6 7 f7"},
      {"3 k4", "4 f4"},
      {"3 ks5 ks4", "3 4 f4"},
      {"3 kc5 turn", "3 5 f5"},
      {"3 kc5", "3 f5"},
      {"3 kc5 ks6", "3 4 5 6 f6"},
      {"3 c4 inv", "0 1 2 5 6 7 8 9 f4"},
      {"all", "0 1 2 3 4 5 6 7 8 9 f-"},
      {"all 4", "4 f4"},
      {"3 none", "f3"},
      {"42 s99 c10", "f-"},
  };
  for (const auto& test : cases)
    EXPECT_EQ(After(test.steps), test.result) << test.steps;
}

TEST(UiListSelection, GoesWithItsEntries) {
  const auto list = Playlist::Create();
  for (size_t i = 0; i < 6; ++i)
    list->Append(ItemCache::Obtain("C:\\" + std::to_string(i) + ".mp3", {}, kUnknownDuration, 0));
  ListSelection selection;
  selection.SetCount(6);
  selection.Select({1, 4});
  selection.Apply(MoveEntries(*list, std::vector<size_t>{1, 4}, 0));
  EXPECT_EQ(selection.Selected(), (std::vector<size_t>{0, 1}));
  EXPECT_EQ(selection.Focus(), 0u);
  selection.Apply(RemoveEntries(*list, std::vector<size_t>{3}));
  EXPECT_EQ(selection.Selected(), (std::vector<size_t>{0, 1}));
  selection.Apply(RemoveEntries(*list, std::vector<size_t>{0, 1}));
  EXPECT_EQ(selection.Selected(), (std::vector<size_t>{0})) << "what followed takes their place";
  selection.SelectOnly(2);
  selection.Apply(RemoveEntries(*list, std::vector<size_t>{2}));
  EXPECT_EQ(selection.Selected(), (std::vector<size_t>{1})) << "at the end the last one";
  selection.Apply(RemoveEntries(*list, std::vector<size_t>{0, 1}));
  EXPECT_EQ(selection.SelectedCount(), 0u);
  EXPECT_FALSE(selection.Focus());
}

// ---- the window

class UiPlaylist : public ::testing::Test {
 protected:
  UiPlaylist() {
    wardrobe_.Wear("", 1);
    view_.Wear(wardrobe_, nullptr);
    view_.Resize(420, 320);
    view_.Focus(view_.Rows(), false);
  }

  Pointer RowPoint(size_t row, bool ctrl = false, bool shift = false) {
    const SkinRect place = view_.Rows()->RowPlace(row);
    return {place.left + 60, place.top + 5, ctrl, shift};
  }
  void Click(Pointer at) {
    view_.OnPress(at);
    view_.OnRelease(at);
  }
  void Drag(Pointer from, Pointer to) {
    view_.OnPress(from);
    view_.OnMove({to.x, to.y - 1, to.ctrl, to.shift});
    view_.OnMove(to);
    view_.OnRelease(to);
  }
  bool Press(uint16_t key, bool ctrl = false, bool shift = false) {
    return view_.OnKey({key, ctrl, shift, false});
  }
  std::vector<size_t> Selected() { return lists_.place.selection.Selected(); }
  uint32_t PixelAt(int32_t x, int32_t y) { return view_.Compose().Row(y)[x]; }

  FakeLists lists_;
  RecordedServices services_;
  SkinWardrobe wardrobe_;
  PlaylistWindowView view_{{lists_, lists_, lists_, lists_, services_}};
};

TEST_F(UiPlaylist, ClicksSelectAndDoubleClicksPlay) {
  Click(RowPoint(2));
  Click(RowPoint(4, false, true));
  EXPECT_EQ(Selected(), (std::vector<size_t>{2, 3, 4}));
  // A selected row that is pressed keeps the others until it is clear that it is not dragged.
  view_.OnPress(RowPoint(3));
  EXPECT_EQ(Selected().size(), 3u);
  view_.OnRelease(RowPoint(3));
  EXPECT_EQ(Selected(), (std::vector<size_t>{3}));
  view_.OnDoubleClick(RowPoint(1));
  view_.OnRelease(RowPoint(1));
  EXPECT_EQ(lists_.Asked(), "play 1");
  EXPECT_TRUE(view_.OnContextMenu(RowPoint(5)));
  EXPECT_EQ(Selected(), (std::vector<size_t>{5}));
  EXPECT_EQ(lists_.Asked(), "menu");
}

TEST_F(UiPlaylist, KeysMoveTheFocusAndScroll) {
  const auto in_view = [this](size_t row) {
    const SkinRect place = view_.Rows()->RowPlace(row);
    return place.top >= view_.Rows()->Place().top && place.bottom <= view_.Rows()->Place().bottom;
  };
  EXPECT_TRUE(Press(kKeyDown));
  EXPECT_EQ(Selected(), (std::vector<size_t>{0}));
  Press(kKeyEnd);
  EXPECT_EQ(Selected(), (std::vector<size_t>{99}));
  EXPECT_TRUE(in_view(99));
  Press(kKeyPageUp, false, true);
  EXPECT_GT(Selected().size(), 5u);
  EXPECT_TRUE(in_view(Selected().front()));
  Press(kKeyHome);
  EXPECT_EQ(view_.Rows()->Scroll(), 0);
  Press(kKeyDown, true);
  EXPECT_EQ(Selected(), (std::vector<size_t>{0}));
  Press(kKeySpace, true);
  EXPECT_EQ(Selected(), (std::vector<size_t>{0, 1}));
  Press(kKeyReturn);
  Press(kKeyDelete);
  Press(kKeyApps);
  EXPECT_EQ(lists_.Asked(), "play 1; remove; menu");
  EXPECT_FALSE(Press('A')) << "letters are hot keys";
  EXPECT_FALSE(Press(kKeySpace));
}

TEST_F(UiPlaylist, EntriesAreDraggedBetweenRowsAndOntoTabs) {
  Click(RowPoint(1));
  Drag(RowPoint(1), RowPoint(4));
  EXPECT_EQ(lists_.Asked(), "move before 4");
  Pointer to = RowPoint(4);
  to.y += 10;
  to.ctrl = true;
  Drag(RowPoint(1), to);
  EXPECT_EQ(lists_.Asked(), "copy before 5");
  const SkinRect tab = view_.Tabs()->TabPlace(2);
  Drag(RowPoint(1), {tab.left + 5, tab.top + 5});
  EXPECT_EQ(lists_.Asked(), "move to tab 2");

  // Escape, another window that takes the mouse, and the setting.
  view_.OnPress(RowPoint(1));
  view_.OnMove(RowPoint(3));
  EXPECT_TRUE(view_.Rows()->DropLine());
  Press(kKeyEscape);
  view_.OnRelease(RowPoint(3));
  view_.OnPress(RowPoint(1));
  view_.OnMove(RowPoint(3));
  view_.OnCancel();
  lists_.allows_drag = false;
  Drag(RowPoint(1), RowPoint(4));
  EXPECT_EQ(lists_.Asked(), "");
  EXPECT_FALSE(view_.Rows()->DropLine());
}

TEST_F(UiPlaylist, DraggingBeyondTheEdgeScrolls) {
  view_.OnPress(RowPoint(1));
  const SkinRect place = view_.Rows()->Place();
  view_.OnMove({place.left + 60, place.bottom + 20});
  ASSERT_NE(view_.TickMs(), 0u);
  for (uint32_t now = 1000; now < 2000; now += 15)
    view_.OnTick(now);
  // 12 pixels a second for each of the 21 pixels.
  EXPECT_NEAR(view_.Rows()->Scroll(), 21 * 12, 10);
  EXPECT_EQ(view_.Rows()->DropLine(), view_.Rows()->InsertIndexAt(place.bottom));
  view_.OnCancel();
  EXPECT_EQ(view_.TickMs(), 0u);
}

TEST_F(UiPlaylist, TheWheelGlides) {
  EXPECT_TRUE(view_.OnWheel(RowPoint(1), -1));
  view_.OnWheel(RowPoint(1), -1);
  ASSERT_NE(view_.TickMs(), 0u);
  int32_t before = 0;
  int ticks = 0;
  for (uint32_t now = 500; view_.TickMs() != 0 && ticks < 100; now += 15, ++ticks) {
    view_.OnTick(now);
    EXPECT_GT(view_.Rows()->Scroll(), before);
    before = view_.Rows()->Scroll();
  }
  EXPECT_EQ(before, 6 * view_.Rows()->RowHeight());
  EXPECT_GT(ticks, 4);
  EXPECT_LT(ticks, 30);
}

TEST_F(UiPlaylist, WhatIsPainted) {
  lists_.playing = 2;
  lists_.place.selection.SelectOnly(1);
  lists_.place.selection.MoveTo(5, {.ctrl = true});
  view_.ListChanged();
  const ListLook& look = view_.Look();
  const auto ground = [&](size_t row) {
    // Between the title and the duration, where no text is without fonts anyway.
    const SkinRect place = view_.Rows()->RowPlace(row);
    return PixelAt(place.left + 100, place.top + 10);
  };
  EXPECT_EQ(ground(0), PixelOf(look.background));
  EXPECT_EQ(ground(3), PixelOf(look.background2));
  EXPECT_EQ(ground(1), PixelOf(look.Selected(look.background2, true)));
  const SkinRect focus = view_.Rows()->RowPlace(5);
  EXPECT_NE(PixelAt(focus.left + 100, focus.top), ground(5));
  // The mark of what plays.
  const SkinRect playing = view_.Rows()->RowPlace(2);
  const auto has_mark = [&] {
    for (int32_t x = playing.left; x < playing.left + 30; ++x)
      if (PixelAt(x, playing.top + 10) == PixelOf(look.hilight)) return true;
    return false;
  };
  EXPECT_TRUE(has_mark());
  lists_.playing.reset();
  view_.Rows()->SelectionChanged();
  EXPECT_FALSE(has_mark()) << "a row that looks different is painted anew";

  // The last row ends the list; below it is the plain ground.
  lists_.count = 3;
  view_.ListChanged();
  EXPECT_EQ(ground(4), PixelOf(look.background));
}

TEST_F(UiPlaylist, OnlyRowsInViewAreAskedFor) {
  lists_.count = 100000;
  view_.ListChanged();
  PlaylistView& rows = *view_.Rows();
  const size_t in_view = rows.EndRow() - rows.FirstRow();
  view_.Compose();
  EXPECT_EQ(lists_.titles_asked, in_view);
  rows.ScrollTo(rows.RowHeight() * 50000);
  view_.Compose();
  EXPECT_LE(lists_.titles_asked, 2 * in_view + 2);
  const size_t before = lists_.titles_asked;
  for (int32_t i = 1; i <= 100; ++i) {
    rows.ScrollTo(rows.RowHeight() * 50000 + i * 2);
    view_.Compose();
    EXPECT_LE(rows.CachedRows(), in_view + 2);
  }
  EXPECT_EQ(lists_.titles_asked - before, 10u) << "one for each row that came into view";
  EXPECT_EQ(lists_.shown, (std::pair{rows.FirstRow(), rows.EndRow()}));
  EXPECT_EQ(rows.PartCount(), rows.EndRow() - rows.FirstRow());
  EXPECT_EQ(rows.PartName(0).substr(0, 6), Utf16FromUtf8(std::to_string(rows.FirstRow() + 1) + "."));
  rows.ScrollTo(INT32_MAX);
  EXPECT_EQ(rows.EndRow(), 100000u);
  EXPECT_TRUE(rows.RowAt(rows.Place().left, rows.Place().bottom - 1));
  rows.Reveal(500);
  EXPECT_NEAR(static_cast<double>(rows.RowPlace(500).top), (rows.Place().top + rows.Place().bottom) / 2.0,
              20);
}

TEST_F(UiPlaylist, TheSizeArrangesTheParts) {
  const auto meets = [this] {
    const SkinRect rows = view_.Rows()->Place();
    EXPECT_EQ(view_.Tabs()->Place().bottom, rows.top);
    return rows.Height();
  };
  const int32_t usual = meets();
  EXPECT_TRUE(view_.FindBarPlace().IsEmpty());
  view_.SetFindOpen(true);
  EXPECT_LT(meets(), usual);
  const SkinRect edit = view_.FindBarPlace();
  EXPECT_GT(edit.Width(), 100);
  EXPECT_GE(edit.top, view_.Rows()->Place().bottom);
  view_.SetFindOpen(false);
  EXPECT_EQ(meets(), usual);
  view_.Resize(1, 1);
  EXPECT_GT(meets(), 2 * view_.Rows()->RowHeight());
  EXPECT_FALSE(view_.FindControl("info")->IsVisible());
}

TEST_F(UiPlaylist, TheScrollBarStandsBesideRowsThatDoNotFit) {
  Control& bar = *view_.FindControl("scrollbar");
  PlaylistView& rows = *view_.Rows();
  const SkinRect tabs = view_.Tabs()->Place();
  ASSERT_TRUE(bar.IsVisible());
  EXPECT_EQ(rows.Place().right, bar.Place().left);
  EXPECT_EQ(bar.Place().right, tabs.right);
  EXPECT_EQ(rows.Place().Height(), bar.Place().Height());
  view_.Compose();
  // The end of the track is below the thumb: a page.
  Click({bar.Place().left + 3, bar.Place().bottom - 20});
  EXPECT_EQ(rows.Scroll(), rows.Place().Height() - rows.RowHeight());
  rows.ScrollTo(INT32_MAX);
  EXPECT_EQ(bar.Value(), u"100%");
  EXPECT_TRUE(view_.OnWheel({bar.Place().left + 3, bar.Place().top + 30}, 1)) << "the wheel is the rows'";

  lists_.count = 3;
  view_.ListChanged();
  EXPECT_FALSE(bar.IsVisible());
  EXPECT_EQ(rows.Place().right, tabs.right);
  EXPECT_EQ(rows.Scroll(), 0);
  lists_.count = 14;
  view_.ListChanged();
  const bool fits = rows.ContentHeight() <= rows.Place().Height();
  EXPECT_EQ(bar.IsVisible(), !fits);
  view_.Resize(420, fits ? 200 : 600);
  EXPECT_EQ(bar.IsVisible(), fits);
}

TEST_F(UiPlaylist, ToolbarCaptionAndKeys) {
  const SkinRect tools = view_.FindControl("toolbar")->Place();
  Click({tools.left + 5, tools.top + 5});
  EXPECT_EQ(services_.Asked(), "menu " + std::to_string(static_cast<int>(MenuKind::kListAdd)) + " at " +
                                   std::to_string(tools.left) + "," + std::to_string(tools.bottom) + " ");
  EXPECT_TRUE(Press(kKeyDown));
  EXPECT_EQ(Selected(), (std::vector<size_t>{0})) << "the rows keep the keyboard";
  const SkinRect close = view_.FindControl("close")->Place();
  EXPECT_EQ(close.right, 420 - 4) << "it goes with the right edge";
  Click({close.left + 5, close.top + 5});
  EXPECT_EQ(services_.Asked(), "1012 ");
  services_.on_menu = [this] { view_.Wear(wardrobe_, nullptr); };
  Click({tools.left + 5, tools.top + 5});
  EXPECT_NE(services_.Asked(), "");
}

// ---- tabs

TEST_F(UiPlaylist, TabsShowRenameDeleteAndMove) {
  ListTabs& tabs = *view_.Tabs();
  const auto point = [&](size_t tab) {
    const SkinRect place = tabs.TabPlace(tab);
    return Pointer{(place.left + place.right) / 2, place.top + 8};
  };
  Click(point(1));
  EXPECT_EQ(lists_.Asked(), "show tab 1");
  Click(point(0));
  EXPECT_EQ(lists_.Asked(), "") << "it is shown already";
  view_.OnDoubleClick(point(2));
  view_.OnMiddleClick(point(1));
  view_.OnContextMenu(point(1));
  EXPECT_EQ(lists_.Asked(), "rename tab 2; delete tab 1; tab menu 1");
  const SkinRect plus = tabs.NewButtonPlace();
  Click({plus.left + 5, plus.top + 5});
  EXPECT_EQ(lists_.Asked(), "new tab");

  const SkinRect last = tabs.TabPlace(2);
  Drag(point(0), {last.right - 2, last.top + 5});
  EXPECT_EQ(lists_.Asked(), "tab 0 to 2");
  Drag(point(2), {tabs.Place().left + 2, last.top + 5});
  EXPECT_EQ(lists_.Asked(), "show tab 2; tab 2 to 0");
  Drag(point(0), {point(0).x + 8, point(0).y});
  EXPECT_EQ(lists_.Asked(), "") << "it stays where it is";

  view_.Focus(&tabs, true);
  lists_.shown_tab = 1;
  Press(kKeyRight);
  Press(kKeyLeft, true);
  Press(kKeyF2);
  Press(kKeyDelete);
  EXPECT_EQ(lists_.Asked(), "show tab 2; tab 1 to 0; rename tab 1; delete tab 1");
}

TEST_F(UiPlaylist, ManyTabsScroll) {
  lists_.tabs.assign(30, "a list");
  lists_.shown_tab = 29;
  ListTabs& tabs = *view_.Tabs();
  view_.TabsChanged();
  view_.Compose();
  EXPECT_FALSE(tabs.TabPlace(29).IsEmpty()) << "the shown one is in view";
  EXPECT_TRUE(tabs.TabPlace(0).IsEmpty());
  const SkinRect plus = tabs.NewButtonPlace();
  EXPECT_EQ(plus.right, tabs.Place().right);
  EXPECT_TRUE(Intersection(plus, tabs.TabPlace(29)).IsEmpty());
  for (int i = 0; i < 60; ++i)
    view_.OnWheel({tabs.Place().left + 5, tabs.Place().top + 5}, 1);
  EXPECT_FALSE(tabs.TabPlace(0).IsEmpty());
  EXPECT_TRUE(tabs.TabPlace(29).IsEmpty());
}

}  // namespace
}  // namespace melorin
