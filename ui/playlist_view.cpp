// SPDX-License-Identifier: MIT
#include "ui/playlist_view.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include "doc/keys.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr int32_t kMargin = 6;
constexpr int32_t kMarkWidth = 12;  ///< Of the mark of what plays.
constexpr int32_t kLeastNumberWidth = 26;
constexpr int32_t kLeastDurationWidth = 32;
/// Narrower than this a row shows its title only.
constexpr int32_t kLeastTitleWidth = 60;
/// How far the mouse moves before a press becomes a drag.
constexpr int32_t kDragDistance = 4;
constexpr int32_t kRowsOfANotch = 3;
constexpr uint32_t kTickMs = 15;
/// The time in which a glide comes to within a third of its end.
constexpr double kGlideMs = 45;
/// A tick that comes later than this counts as this: the program was busy.
constexpr uint32_t kLongestTickMs = 100;
/// Pixels a second for each pixel that the mouse is beyond the edge.
constexpr int32_t kAutoScrollSpeed = 12;
constexpr int32_t kFastestAutoScroll = 1600;
/// As near to an edge files that are held over the rows scroll them; 1x pixels.
constexpr int32_t kHeldEdge = 20;

size_t DigitsOf(size_t number) {
  size_t digits = 1;
  for (; number >= 10; number /= 10)
    ++digits;
  return digits;
}

}  // namespace

void PlaylistView::SetLook(const ListLook& look) {
  look_ = look;
  measured_digits_ = 0;
  ListChanged();
}

void PlaylistView::SetEmptyHint(std::string text_gbk) {
  empty_hint_gbk_ = std::move(text_gbk);
  Repaint();
}

// ---- what has changed

void PlaylistView::ListChanged() {
  cache_.clear();
  glide_to_.reset();
  duration_width_ = 0;
  measured_duration_ = 0;
  shown_first_ = shown_end_ = 0;
  if (drag_ == Drag::kEntries) EndDrag();
  drag_ = Drag::kNone;
  Selection().SetCount(source_.Count());
  SetScroll(Scroll());
  Scrolled();
  ValueChanged();
}

void PlaylistView::EntriesChanged() {
  cache_.clear();
  Repaint();
}

void PlaylistView::SelectionChanged() {
  Repaint();
  ValueChanged();
}

// ---- scrolling

int32_t PlaylistView::ContentHeight() const {
  const auto height = static_cast<int64_t>(source_.Count()) * look_.row_height;
  return static_cast<int32_t>(std::min<int64_t>(height, INT32_MAX / 4));
}

int32_t PlaylistView::LargestScroll() const {
  return std::max(ContentHeight() - Place().Height(), 0);
}

void PlaylistView::SetScroll(int32_t scroll) {
  source_.Place().scroll = std::clamp(scroll, 0, LargestScroll());
}

void PlaylistView::Scrolled() {
  Repaint();
  if (on_scroll_) on_scroll_();
  const size_t first = FirstRow();
  const size_t end = EndRow();
  if (first == shown_first_ && end == shown_end_) return;
  shown_first_ = first;
  shown_end_ = end;
  actions_.RowsShown(first, end);
}

void PlaylistView::ScrollTo(int32_t scroll) {
  glide_to_.reset();
  const int32_t before = Scroll();
  SetScroll(scroll);
  if (Scroll() != before) Scrolled();
}

void PlaylistView::ScrollBy(int32_t pixels) {
  const int32_t from = glide_to_.value_or(Scroll());
  const int32_t to = std::clamp(from + pixels, 0, LargestScroll());
  if (to == Scroll()) return;
  glide_to_ = to;
  TickChanged();
}

void PlaylistView::Reveal(size_t index) {
  if (index >= source_.Count()) return;
  const SkinRect row = RowPlace(index);
  const SkinRect& place = Place();
  if (row.top >= place.top && row.bottom <= place.bottom) return;
  const int32_t top = row.top - place.top + Scroll();
  if (row.bottom <= place.top - look_.row_height || row.top >= place.bottom + look_.row_height) {
    ScrollTo(top - (place.Height() - look_.row_height) / 2);
  } else {
    ScrollTo(row.top < place.top ? top : top + look_.row_height - place.Height());
  }
}

size_t PlaylistView::FirstRow() const {
  return std::min(static_cast<size_t>(Scroll() / look_.row_height), source_.Count());
}

size_t PlaylistView::EndRow() const {
  const int32_t bottom = Scroll() + std::max(Place().Height(), 0) + look_.row_height - 1;
  return std::min(static_cast<size_t>(bottom / look_.row_height), source_.Count());
}

void PlaylistView::OnPlaced() {
  glide_to_.reset();
  SetScroll(Scroll());
  Scrolled();
}

// ---- places

SkinRect PlaylistView::RowPlace(size_t index) const {
  const int64_t top = static_cast<int64_t>(index) * look_.row_height - Scroll() + Place().top;
  const auto at = static_cast<int32_t>(std::clamp<int64_t>(top, INT32_MIN / 4, INT32_MAX / 4));
  return {Place().left, at, Place().right, at + look_.row_height};
}

std::optional<size_t> PlaylistView::RowAt(int32_t x, int32_t y) const {
  if (!Contains(Place(), x, y)) return std::nullopt;
  const auto row = static_cast<size_t>((y - Place().top + Scroll()) / look_.row_height);
  return row < source_.Count() ? std::optional(row) : std::nullopt;
}

size_t PlaylistView::InsertIndexAt(int32_t y) const {
  const int32_t inside = std::clamp(y, Place().top, Place().bottom) - Place().top + Scroll();
  return std::min(static_cast<size_t>((inside + look_.row_height / 2) / look_.row_height), source_.Count());
}

// ---- painting

void PlaylistView::KeepCacheOfView() {
  const size_t first = FirstRow();
  const size_t count = EndRow() - first;
  if (first == cache_first_ && count == cache_.size()) return;
  std::vector<Row> rows(count);
  for (size_t i = 0; i < count; ++i) {
    const size_t index = first + i;
    if (index >= cache_first_ && index - cache_first_ < cache_.size())
      rows[i] = std::move(cache_[index - cache_first_]);
  }
  cache_ = std::move(rows);
  cache_first_ = first;
}

PlaylistView::Row& PlaylistView::RowOf(size_t index) {
  Row& row = cache_[index - cache_first_];
  if (!row.known) row = {true, source_.TitleGbk(index), source_.DurationGbk(index), {}, {}};
  return row;
}

void PlaylistView::MeasureColumns(const PaintContext& context) {
  const size_t digits = DigitsOf(source_.Count());
  if (digits != measured_digits_) {
    measured_digits_ = digits;
    const std::string widest = std::string(digits, '8') + ".";
    number_width_ =
        std::max(kLeastNumberWidth, ListTextWidth(context.text, context.scale, widest, look_) + kMargin);
  }
  size_t longest = 0;
  for (size_t i = FirstRow(); i < EndRow(); ++i)
    longest = std::max(longest, RowOf(i).duration_gbk.size());
  if (longest <= measured_duration_) return;
  // All digits are equally wide, so the number of characters says it.
  measured_duration_ = longest;
  duration_width_ = std::max(kLeastDurationWidth,
                             ListTextWidth(context.text, context.scale, std::string(longest, '8'), look_));
}

void PlaylistView::Paint(const PaintContext& context) {
  const SkinRect& place = Place();
  KeepCacheOfView();
  if (source_.Count() == 0) {
    FillList(context, place, look_.background);
    DrawListText(context, {place.left + kMargin, place.top, place.right - kMargin, place.bottom},
                 empty_hint_gbk_, look_, look_.Pale(look_.text), kAlignCentre | kAlignVCentre);
  }
  MeasureColumns(context);
  for (size_t i = FirstRow(); i < EndRow(); ++i)
    PaintRow(context, i);
  const int32_t bottom = RowPlace(EndRow()).top;
  if (source_.Count() > 0)
    FillList(context, {place.left, bottom, place.right, place.bottom}, place, look_.background);
  PaintDropLine(context);
}

PlaylistView::RowLook PlaylistView::LookOf(size_t index) const {
  RowLook look;
  look.selected = Selection().IsSelected(index);
  look.list_focused = IsFocused();
  look.has_focus = IsFocused() && Selection().Focus() == index;
  look.playing = source_.Playing() == index;
  look.failed = !look.playing && source_.IsFailed(index);
  look.number_width = source_.ShowsNumbers() ? number_width_ : 0;
  look.duration_width = duration_width_;
  return look;
}

void PlaylistView::PaintRow(const PaintContext& context, size_t index) {
  Row& row = RowOf(index);
  const SkinRect place = ScaledPosition(RowPlace(index), context.scale);
  const RowLook look = LookOf(index);
  if (row.picture.width != place.Width() || row.picture.height != place.Height() || look != row.look) {
    if (row.picture.width != place.Width() || row.picture.height != place.Height())
      row.picture = Bitmap(place.Width(), place.Height());
    row.look = look;
    DrawRow({context.painter, context.text, row.picture, context.scale}, index, row);
  }
  DrawCell(context.target, ScaledPosition(Place(), context.scale), place.left, place.top, row.picture,
           BitmapBounds(row.picture), Combine::kReplace);
}

void PlaylistView::DrawRow(const PaintContext& context, size_t index, const Row& row) const {
  const RowLook& look = row.look;
  const SkinRect all = {0, 0, Place().Width(), look_.row_height};
  const SkinColour ground = index % 2 == 0 ? look_.background : look_.background2;
  FillList(context, all, look.selected ? look_.Selected(ground, look.list_focused) : ground);
  const auto ink = [&](SkinColour usual) {
    return look.playing ? look_.hilight : look.failed ? look_.Pale(usual) : usual;
  };
  int32_t left = 0;
  int32_t right = all.right - kMargin;
  const bool has_room = all.right - look.number_width - look.duration_width - 3 * kMargin >= kLeastTitleWidth;
  if (look.number_width > 0 && has_room) {
    left = look.number_width;
    if (look.playing) {
      DrawPlayMark(context, {left - kMarkWidth, 0, left, all.bottom}, all, look_.hilight);
    } else {
      DrawListText(context, {0, 0, left, all.bottom}, std::to_string(index + 1) + ".", look_,
                   ink(look_.number), kAlignRight | kAlignVCentre);
    }
  }
  left += kMargin;
  if (look.duration_width > 0 && has_room) {
    DrawListText(context, {right - look.duration_width, 0, right, all.bottom}, row.duration_gbk, look_,
                 ink(look_.duration), kAlignRight | kAlignVCentre);
    right -= look.duration_width + kMargin;
  }
  DrawListText(context, {left, 0, right, all.bottom}, row.title_gbk, look_, ink(look_.text),
               kAlignLeft | kAlignVCentre);
  if (look.has_focus) OutlineList(context, all, all, MixColours(look_.background, look_.hilight, 150));
}

void PlaylistView::PaintDropLine(const PaintContext& context) const {
  if (!drop_line_) return;
  const SkinRect& place = Place();
  const int32_t y =
      std::clamp(RowPlace(*drop_line_).top - 1, place.top, std::max(place.bottom - 2, place.top));
  FillList(context, {place.left, y, place.right, y + 2}, place, look_.hilight);
  // Small ends, so that the line is not taken for a border.
  FillList(context, {place.left, y - 2, place.left + 2, y + 4}, place, look_.hilight);
  FillList(context, {place.right - 2, y - 2, place.right, y + 4}, place, look_.hilight);
}

// ---- the mouse

void PlaylistView::OnPress(const Pointer& pointer) {
  pressed_at_ = last_pointer_ = pointer;
  click_on_release_ = false;
  const std::optional<size_t> row = RowAt(pointer.x, pointer.y);
  if (!row) {
    if (!pointer.ctrl && !pointer.shift) Selection().SelectNone();
    drag_ = Drag::kNone;
  } else {
    drag_ = Drag::kPressed;
    click_on_release_ = Selection().IsSelected(*row) && !pointer.shift;
    if (!click_on_release_) Selection().Click(*row, {pointer.ctrl, pointer.shift});
  }
  SelectionChanged();
  actions_.SelectionChanged();
}

void PlaylistView::OnDrag(const Pointer& pointer) {
  last_pointer_ = pointer;
  if (drag_ == Drag::kPressed && source_.AllowsDrag() &&
      std::max(std::abs(pointer.x - pressed_at_.x), std::abs(pointer.y - pressed_at_.y)) >= kDragDistance &&
      Selection().SelectedCount() > 0) {
    drag_ = Drag::kEntries;
    click_on_release_ = false;
    ticking_ = false;
    TickChanged();
  }
  if (drag_ == Drag::kEntries) DragTo(pointer);
}

void PlaylistView::DragTo(const Pointer& pointer) {
  const bool over_target = drop_target_ && drop_target_->DragEntriesOver(pointer.x, pointer.y);
  const bool over_rows = !over_target && pointer.x >= Place().left && pointer.x < Place().right;
  ShowDropLine(over_rows ? std::optional(InsertIndexAt(pointer.y)) : std::nullopt);
}

void PlaylistView::HoldFiles(std::optional<Pointer> at) {
  const bool held = at.has_value();
  if (at) last_pointer_ = *at;
  if (held != holds_files_) {
    holds_files_ = held;
    ticking_ = false;
  }
  ShowDropLine(at ? std::optional(InsertIndexAt(at->y)) : std::nullopt);
  TickChanged();
}

void PlaylistView::ShowDropLine(std::optional<size_t> before) {
  if (before == drop_line_) return;
  drop_line_ = before;
  Repaint();
}

void PlaylistView::EndDrag() {
  drag_ = Drag::kNone;
  click_on_release_ = false;
  ShowDropLine(std::nullopt);
  if (drop_target_) drop_target_->EndEntryDrag();
  TickChanged();
}

void PlaylistView::OnRelease(const Pointer& pointer) {
  if (drag_ == Drag::kEntries) {
    const std::optional<size_t> line = drop_line_;
    const std::optional<size_t> tab = drop_target_ ? drop_target_->TabAt(pointer.x, pointer.y) : std::nullopt;
    EndDrag();
    if (tab) {
      actions_.MoveSelectedToList(*tab, pointer.ctrl);
    } else if (line) {
      actions_.MoveSelected(*line, pointer.ctrl);
    }
    return;
  }
  drag_ = Drag::kNone;
  if (!std::exchange(click_on_release_, false)) return;
  if (const auto row = RowAt(pointer.x, pointer.y)) {
    Selection().Click(*row, {pointer.ctrl, false});
    SelectionChanged();
    actions_.SelectionChanged();
  }
}

void PlaylistView::OnCancel() {
  if (drag_ != Drag::kNone) EndDrag();
}

void PlaylistView::OnDoubleClick(const Pointer& pointer) {
  drag_ = Drag::kNone;
  const auto row = RowAt(pointer.x, pointer.y);
  if (!row) return;
  Selection().SelectOnly(*row);
  SelectionChanged();
  actions_.SelectionChanged();
  actions_.PlayEntry(*row);
}

bool PlaylistView::OnWheel(const Pointer&, int32_t notches) {
  ScrollBy(-notches * kRowsOfANotch * look_.row_height);
  return true;
}

bool PlaylistView::OnContextMenu(const Pointer& pointer) {
  if (const auto row = RowAt(pointer.x, pointer.y)) {
    if (!Selection().IsSelected(*row)) Selection().SelectOnly(*row);
  } else {
    Selection().SelectNone();
  }
  SelectionChanged();
  actions_.SelectionChanged();
  actions_.ShowEntryMenu(pointer.x, pointer.y);
  return true;
}

std::u16string PlaylistView::TipAt(int32_t x, int32_t y) const {
  const auto row = drag_ == Drag::kNone ? RowAt(x, y) : std::nullopt;
  return row ? source_.Tip(*row) : std::u16string();
}

// ---- the keyboard

void PlaylistView::SelectionMoved(size_t focus) {
  Reveal(focus);
  SelectionChanged();
  actions_.SelectionChanged();
}

void PlaylistView::StepFocus(const KeyPress& key, int64_t target) {
  const auto count = static_cast<int64_t>(source_.Count());
  if (count == 0) return;
  const auto index = static_cast<size_t>(std::clamp<int64_t>(target, 0, count - 1));
  Selection().MoveTo(index, {key.ctrl, key.shift});
  SelectionMoved(index);
}

bool PlaylistView::OnKey(const KeyPress& key) {
  if (drag_ == Drag::kEntries && key.key == kKeyEscape) {
    EndDrag();
    return true;
  }
  if (key.alt) return false;
  const std::optional<size_t> focus = Selection().Focus();
  const int64_t at = focus ? static_cast<int64_t>(*focus) : -1;
  const int64_t page = std::max(Place().Height() / look_.row_height - 1, 1);
  switch (key.key) {
    case kKeyUp:
      StepFocus(key, focus ? at - 1 : static_cast<int64_t>(source_.Count()) - 1);
      return true;
    case kKeyDown:
      StepFocus(key, at + 1);
      return true;
    case kKeyPageUp:
      StepFocus(key, at - page);
      return true;
    case kKeyPageDown:
      StepFocus(key, at + page);
      return true;
    case kKeyHome:
      StepFocus(key, 0);
      return true;
    case kKeyEnd:
      StepFocus(key, static_cast<int64_t>(source_.Count()) - 1);
      return true;
    case kKeySpace:
      if (!key.ctrl || !focus) return false;
      Selection().ToggleFocused();
      SelectionMoved(*focus);
      return true;
    case kKeyReturn:
      if (key.ctrl || key.shift || !focus) return false;
      actions_.PlayEntry(*focus);
      return true;
    case kKeyDelete:
      if (key.ctrl || key.shift || Selection().SelectedCount() == 0) return false;
      actions_.RemoveSelected();
      return true;
    case kKeyApps:
    case kKeyF10: {
      if (key.key == kKeyF10 && !key.shift) return false;
      if (focus) Reveal(*focus);
      const SkinRect row = RowPlace(focus.value_or(FirstRow()));
      const int32_t y = std::clamp(row.bottom, Place().top, std::max(Place().bottom - 1, Place().top));
      actions_.ShowEntryMenu(row.left + look_.row_height, y);
      return true;
    }
    default:
      return false;
  }
}

// ---- screen readers

std::u16string PlaylistView::Value() const {
  return Utf16FromUtf8(std::to_string(source_.Count())) + u" 首";
}

std::u16string PlaylistView::PartName(size_t part) const {
  const size_t index = FirstRow() + part;
  if (index >= EndRow()) return {};
  std::u16string name =
      Utf16FromUtf8(std::to_string(index + 1) + ". ") + Utf16FromGbk(source_.TitleGbk(index));
  const std::string duration = source_.DurationGbk(index);
  if (!duration.empty()) name += u", " + Utf16FromGbk(duration);
  if (source_.Playing() == index) name += u", 正在播放";
  return name;
}

SkinRect PlaylistView::PartPlace(size_t part) const {
  const size_t index = FirstRow() + part;
  return index < EndRow() ? Intersection(RowPlace(index), Place()) : SkinRect{};
}

bool PlaylistView::IsPartSelected(size_t part) const {
  return Selection().IsSelected(FirstRow() + part);
}

void PlaylistView::DoPart(size_t part) {
  const size_t index = FirstRow() + part;
  if (index < EndRow()) actions_.PlayEntry(index);
}

// ---- motion

int32_t PlaylistView::BeyondEdge() const {
  // Only while the button is held here is the mouse followed beyond the rows.
  const int32_t edge = holds_files_ ? std::min(kHeldEdge, Place().Height() / 3) : 0;
  const int32_t top = Place().top + edge;
  const int32_t bottom = Place().bottom - edge;
  if (last_pointer_.y < top) return last_pointer_.y - top;
  if (last_pointer_.y >= bottom) return last_pointer_.y - bottom + 1;
  return 0;
}

uint32_t PlaylistView::TickMs() const {
  const bool held_at_edge = holds_files_ && BeyondEdge() != 0;
  return glide_to_ || drag_ == Drag::kEntries || held_at_edge ? kTickMs : 0;
}

void PlaylistView::AutoScroll(uint32_t elapsed_ms) {
  // Over a tab the entries are to be dropped there.
  const int32_t beyond = drop_line_ ? BeyondEdge() : 0;
  if (beyond == 0) {
    auto_scroll_rest_ = 0;
    return;
  }
  const int32_t speed = std::clamp(beyond * kAutoScrollSpeed, -kFastestAutoScroll, kFastestAutoScroll);
  auto_scroll_rest_ += speed * static_cast<int32_t>(elapsed_ms);
  const int32_t pixels = auto_scroll_rest_ / 1000;
  auto_scroll_rest_ %= 1000;
  const int32_t before = Scroll();
  SetScroll(before + pixels);
  if (Scroll() == before) return;
  Scrolled();
  ShowDropLine(InsertIndexAt(last_pointer_.y));
}

void PlaylistView::OnTick(uint32_t now_ms) {
  const uint32_t elapsed = ticking_ ? std::min(now_ms - ticked_ms_, kLongestTickMs) : kTickMs;
  ticked_ms_ = now_ms;
  ticking_ = true;
  if (drag_ == Drag::kEntries || holds_files_) AutoScroll(elapsed);
  if (glide_to_) {
    const int32_t left = *glide_to_ - Scroll();
    const double part = 1 - std::exp(-static_cast<double>(elapsed) / kGlideMs);
    const auto whole = static_cast<int32_t>(std::ceil(std::abs(left) * part));
    SetScroll(Scroll() + (left < 0 ? -whole : whole));
    if (Scroll() == *glide_to_ || whole == 0) glide_to_.reset();
    Scrolled();
  }
  if (TickMs() == 0) {
    ticking_ = false;
    TickChanged();
  }
}

}  // namespace melorin
