// SPDX-License-Identifier: MIT
#include "ui/list_tabs.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "doc/keys.h"
#include "platform/text.h"
#include "skin/skin_layout.h"

namespace melorin {
namespace {

constexpr int32_t kTabPadding = 10;
constexpr int32_t kMarkWidth = 10;  ///< Of the mark of the list that plays.
constexpr int32_t kLeastTab = 44;
constexpr int32_t kWidestTab = 140;
constexpr int32_t kNewButton = 24;
constexpr int32_t kArrow = 16;
constexpr int32_t kDragDistance = 5;
constexpr int32_t kWheelStep = 60;
constexpr int32_t kUnderline = 2;

}  // namespace

void ListTabs::SetLook(const ListLook& look) {
  look_ = look;
  TabsChanged();
}

void ListTabs::TabsChanged() {
  measured_ = false;
  reveal_ = true;
  hovered_ = pressed_ = {};
  drop_before_.reset();
  entry_target_.reset();
  Measure(nullptr, 1);
  Repaint();
  ValueChanged();
}

void ListTabs::OnPlaced() {
  reveal_ = true;
  SetScroll(scroll_);
}

void ListTabs::Measure(TextPainter* text, int32_t scale) {
  edges_.clear();
  int32_t edge = 0;
  for (size_t tab = 0; tab < source_.TabCount(); ++tab) {
    const int32_t name = ListTextWidth(text, scale, source_.TabNameGbk(tab), look_);
    const int32_t mark = source_.PlayingTab() == tab ? kMarkWidth : 0;
    edge += std::clamp(name + mark + 2 * kTabPadding, kLeastTab, kWidestTab);
    edges_.push_back(edge);
  }
  measured_ = text != nullptr;
  SetScroll(scroll_);
}

// ---- places

bool ListTabs::Overflows() const {
  return ContentWidth() + kNewButton > Place().Width();
}

SkinRect ListTabs::Strip() const {
  SkinRect strip = Place();
  if (Overflows()) strip.right = std::max(strip.right - kNewButton - 2 * kArrow, strip.left);
  return strip;
}

SkinRect ListTabs::ArrowPlace(bool forward) const {
  if (!Overflows()) return {};
  const int32_t left = Strip().right + (forward ? kArrow : 0);
  return {left, Place().top, left + kArrow, Place().bottom};
}

SkinRect ListTabs::NewButtonPlace() const {
  const int32_t left = Overflows() ? Place().right - kNewButton : Place().left + ContentWidth();
  return {left, Place().top, left + kNewButton, Place().bottom};
}

SkinRect ListTabs::TabPlace(size_t tab) const {
  if (tab >= edges_.size()) return {};
  const int32_t origin = Strip().left - scroll_;
  const int32_t left = origin + (tab == 0 ? 0 : edges_[tab - 1]);
  return Intersection({left, Place().top, origin + edges_[tab], Place().bottom}, Strip());
}

void ListTabs::SetScroll(int32_t scroll) {
  const int32_t most = Overflows() ? std::max(ContentWidth() - Strip().Width(), 0) : 0;
  scroll_ = std::clamp(scroll, 0, most);
}

void ListTabs::RevealShown() {
  const size_t shown = source_.ShownTab();
  if (!std::exchange(reveal_, false) || shown >= edges_.size()) return;
  const int32_t left = shown == 0 ? 0 : edges_[shown - 1];
  if (left < scroll_)
    SetScroll(left);
  else if (edges_[shown] > scroll_ + Strip().Width())
    SetScroll(edges_[shown] - Strip().Width());
}

std::optional<size_t> ListTabs::TabAt(int32_t x, int32_t y) const {
  for (size_t tab = 0; tab < edges_.size(); ++tab)
    if (Contains(TabPlace(tab), x, y)) return tab;
  return std::nullopt;
}

ListTabs::Spot ListTabs::SpotAt(int32_t x, int32_t y) const {
  if (Contains(NewButtonPlace(), x, y)) return {Hot::kNew, 0};
  if (Contains(ArrowPlace(false), x, y)) return {Hot::kBack, 0};
  if (Contains(ArrowPlace(true), x, y)) return {Hot::kForward, 0};
  if (const auto tab = TabAt(x, y)) return {Hot::kTab, *tab};
  return {};
}

size_t ListTabs::DropPlace(int32_t x) const {
  const int32_t inside = x - Strip().left + scroll_;
  size_t before = 0;
  for (; before < edges_.size(); ++before) {
    const int32_t left = before == 0 ? 0 : edges_[before - 1];
    if (inside < (left + edges_[before]) / 2) break;
  }
  return before;
}

// ---- painting

void ListTabs::Paint(const PaintContext& context) {
  if (!measured_) Measure(context.text, context.scale);
  RevealShown();
  const SkinRect& place = Place();
  FillList(context, place, look_.Panel());
  FillList(context, {place.left, place.bottom - 1, place.right, place.bottom}, place, look_.Line());
  for (size_t tab = 0; tab < edges_.size(); ++tab)
    PaintTab(context, tab);
  if (Overflows()) {
    PaintArrow(context, false);
    PaintArrow(context, true);
  }
  PaintNewButton(context);
  if (drop_before_) {
    const int32_t x = Strip().left - scroll_ + (*drop_before_ == 0 ? 0 : edges_[*drop_before_ - 1]);
    const int32_t left = std::clamp(x - 1, Strip().left, std::max(Strip().right - 2, Strip().left));
    FillList(context, {left, place.top + 2, left + 2, place.bottom - 2}, place, look_.hilight);
  }
}

void ListTabs::PaintTab(const PaintContext& context, size_t tab) {
  const SkinRect clip = TabPlace(tab);
  if (clip.IsEmpty()) return;
  const int32_t origin = Strip().left - scroll_;
  const SkinRect whole = {origin + (tab == 0 ? 0 : edges_[tab - 1]), clip.top, origin + edges_[tab],
                          clip.bottom};
  const bool shown = tab == source_.ShownTab();
  const bool hot = hovered_ == Spot{Hot::kTab, tab};
  if (shown) {
    FillList(context, whole, clip, look_.background);
    FillList(context, {whole.left, whole.top, whole.right, whole.top + kUnderline}, clip, look_.hilight);
    FillList(context, {whole.left, whole.top, whole.left + 1, whole.bottom}, clip, look_.Line());
    FillList(context, {whole.right - 1, whole.top, whole.right, whole.bottom}, clip, look_.Line());
  } else if (hot) {
    FillList(context, {whole.left, whole.top, whole.right, whole.bottom - 1}, clip,
             MixColours(look_.Panel(), look_.background, 150));
  }
  if (entry_target_ == tab) {
    FillList(context, whole, clip, look_.Selected(look_.background, true));
    OutlineList(context, whole, clip, look_.hilight);
  }
  const bool playing = source_.PlayingTab() == tab;
  SkinRect text = {whole.left + kTabPadding, whole.top + 1, whole.right - kTabPadding, whole.bottom};
  const SkinColour ink = playing ? look_.hilight : shown ? look_.text : look_.number;
  if (playing) {
    DrawPlayMark(context, {text.left - 2, whole.top, text.left - 2 + kMarkWidth, whole.bottom}, clip,
                 look_.hilight);
    text.left += kMarkWidth;
  }
  DrawListText(context, text, clip, source_.TabNameGbk(tab), look_, ink, kAlignCentre | kAlignVCentre);
  if (shown && IsFocused())
    OutlineList(context, {whole.left + 3, whole.top + 4, whole.right - 3, whole.bottom - 3}, clip,
                MixColours(look_.background, look_.hilight, 110));
}

void ListTabs::PaintArrow(const PaintContext& context, bool forward) {
  const SkinRect place = ArrowPlace(forward);
  const bool can = forward ? scroll_ < ContentWidth() - Strip().Width() : scroll_ > 0;
  const bool hot = can && hovered_.hot == (forward ? Hot::kForward : Hot::kBack);
  const uint32_t pixel = PixelOf(!can ? look_.Line() : hot ? look_.hilight : look_.number);
  const SkinRect pixels = ScaledPosition(place, context.scale);
  const int32_t size = 3 * context.scale;
  const int32_t middle_x = (pixels.left + pixels.right) / 2;
  const int32_t middle_y = (pixels.top + pixels.bottom) / 2;
  for (int32_t i = 0; i <= size; ++i) {
    const int32_t x = forward ? middle_x + size / 2 - i : middle_x - size / 2 + i;
    for (const int32_t y : {middle_y - i, middle_y + i})
      FillArea(context.target, Intersection({x - context.scale / 2, y, x + context.scale, y + 1}, pixels),
               pixel);
  }
}

void ListTabs::PaintNewButton(const PaintContext& context) {
  const SkinRect place = Intersection(NewButtonPlace(), Place());
  if (place.IsEmpty()) return;
  const bool hot = hovered_.hot == Hot::kNew;
  const int32_t x = (place.left + place.right) / 2;
  const int32_t y = (place.top + place.bottom) / 2;
  const SkinColour ink = hot ? look_.hilight : look_.number;
  FillList(context, {x - 4, y, x + 5, y + 1}, place, ink);
  FillList(context, {x, y - 4, x + 1, y + 5}, place, ink);
}

// ---- the mouse

void ListTabs::SetHovered(Spot spot) {
  if (spot == hovered_) return;
  hovered_ = spot;
  Repaint();
}

void ListTabs::OnHover(const Pointer& pointer) {
  SetHovered(SpotAt(pointer.x, pointer.y));
}

void ListTabs::OnLeave() {
  SetHovered({});
}

void ListTabs::OnPress(const Pointer& pointer) {
  const Spot spot = SpotAt(pointer.x, pointer.y);
  pressed_ = spot;
  pressed_x_ = pointer.x;
  switch (spot.hot) {
    case Hot::kBack:
    case Hot::kForward:
      SetScroll(scroll_ + (spot.hot == Hot::kForward ? kWheelStep : -kWheelStep));
      Repaint();
      break;
    case Hot::kTab:
      if (spot.tab == source_.ShownTab()) break;
      actions_.ShowTab(spot.tab);
      // The tabs may have been measured anew; the press goes on.
      pressed_ = spot;
      reveal_ = false;
      break;
    case Hot::kNew:
    case Hot::kNone:
      break;
  }
}

void ListTabs::OnDrag(const Pointer& pointer) {
  if (pressed_.hot != Hot::kTab || source_.TabCount() < 2) return;
  if (!drop_before_ && std::abs(pointer.x - pressed_x_) < kDragDistance) return;
  const SkinRect& place = Place();
  // Far above or below, the user has thought better of it.
  const bool beside = pointer.y < place.top - place.Height() || pointer.y >= place.bottom + place.Height();
  if (pointer.x < Strip().left) SetScroll(scroll_ - kArrow);
  if (pointer.x >= Strip().right) SetScroll(scroll_ + kArrow);
  drop_before_ = beside ? std::nullopt : std::optional(DropPlace(pointer.x));
  if (beside) pressed_ = {};
  Repaint();
}

void ListTabs::OnRelease(const Pointer& pointer) {
  const Spot pressed = std::exchange(pressed_, {});
  if (const auto before = std::exchange(drop_before_, std::nullopt)) {
    const size_t to = *before > pressed.tab ? *before - 1 : *before;
    Repaint();
    if (to != pressed.tab) actions_.MoveTab(pressed.tab, to);
  } else if (pressed.hot == Hot::kNew && SpotAt(pointer.x, pointer.y) == pressed) {
    actions_.NewTab();
  }
}

void ListTabs::OnCancel() {
  pressed_ = {};
  drop_before_.reset();
  Repaint();
}

void ListTabs::OnDoubleClick(const Pointer& pointer) {
  const Spot spot = SpotAt(pointer.x, pointer.y);
  if (spot.hot == Hot::kTab) {
    actions_.RenameTab(spot.tab);
  } else if (spot.hot == Hot::kNone) {
    actions_.NewTab();
  } else {
    OnPress(pointer);
  }
}

bool ListTabs::OnMiddleClick(const Pointer& pointer) {
  const auto tab = TabAt(pointer.x, pointer.y);
  if (tab) actions_.DeleteTab(*tab);
  return tab.has_value();
}

bool ListTabs::OnWheel(const Pointer&, int32_t notches) {
  if (!Overflows()) return false;
  SetScroll(scroll_ - notches * kWheelStep);
  Repaint();
  return true;
}

bool ListTabs::OnContextMenu(const Pointer& pointer) {
  actions_.ShowTabMenu(TabAt(pointer.x, pointer.y).value_or(source_.ShownTab()), pointer.x, pointer.y);
  return true;
}

std::u16string ListTabs::TipAt(int32_t x, int32_t y) const {
  const Spot spot = SpotAt(x, y);
  if (spot.hot == Hot::kNew) return u"新建播放列表";
  return spot.hot == Hot::kTab ? source_.TabTip(spot.tab) : std::u16string();
}

// ---- entries that are dragged

bool ListTabs::DragEntriesOver(int32_t x, int32_t y) {
  std::optional<size_t> tab = TabAt(x, y);
  if (tab == source_.ShownTab()) tab.reset();
  if (tab != entry_target_) {
    entry_target_ = tab;
    Repaint();
  }
  return Contains(Place(), x, y);
}

void ListTabs::EndEntryDrag() {
  if (!std::exchange(entry_target_, std::nullopt)) return;
  Repaint();
}

// ---- the keyboard and screen readers

bool ListTabs::OnKey(const KeyPress& key) {
  if (key.alt || key.shift) return false;
  const size_t shown = source_.ShownTab();
  const size_t count = source_.TabCount();
  const auto go = [&](size_t tab) {
    if (key.ctrl && tab != shown) {
      actions_.MoveTab(shown, tab);
    } else if (tab != shown) {
      actions_.ShowTab(tab);
    }
    return true;
  };
  switch (key.key) {
    case kKeyLeft:
      return go(shown > 0 ? shown - 1 : 0);
    case kKeyRight:
      return go(std::min(shown + 1, count > 0 ? count - 1 : 0));
    case kKeyHome:
      return go(0);
    case kKeyEnd:
      return go(count > 0 ? count - 1 : 0);
    case kKeyF2:
      actions_.RenameTab(shown);
      return true;
    case kKeyDelete:
      actions_.DeleteTab(shown);
      return true;
    case kKeyApps: {
      const SkinRect tab = TabPlace(shown);
      actions_.ShowTabMenu(shown, tab.left, tab.bottom);
      return true;
    }
    default:
      return false;
  }
}

std::u16string ListTabs::Value() const {
  return source_.ShownTab() < source_.TabCount() ? Utf16FromGbk(source_.TabNameGbk(source_.ShownTab()))
                                                 : std::u16string();
}

std::u16string ListTabs::PartName(size_t part) const {
  if (part >= source_.TabCount()) return {};
  std::u16string name = Utf16FromGbk(source_.TabNameGbk(part));
  if (source_.PlayingTab() == part) name += u", 正在播放";
  return name;
}

}  // namespace melorin
