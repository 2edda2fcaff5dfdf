// SPDX-License-Identifier: MIT
#include "ui/scroll_bar_control.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/text.h"

namespace melorin {
namespace {

/// Held so long, a press is repeated; then that often.
constexpr uint32_t kFirstRepeatMs = 300;
constexpr uint32_t kRepeatMs = 50;
constexpr uint32_t kTickMs = 25;

}  // namespace

ScrollBarControl::ScrollBarControl(const SkinScrollBar& look, std::function<void(int32_t)> scroll_to)
    : look_(look), scroll_to_(std::move(scroll_to)) {
  SetName(u"滚动条");
}

void ScrollBarControl::SetRange(const ScrollRange& range) {
  if (range == range_) return;
  range_ = range;
  SetEnabled(range_.largest > 0);
  Repaint();
  ValueChanged();
}

// ---- painting

ControlState ScrollBarControl::StateOf(Part part) const {
  if (!IsEnabled()) return ControlState::kDisabled;
  if (pressed_ == part) return ControlState::kPressed;
  return pressed_ == Part::kNone && hovered_ == part ? ControlState::kHover : ControlState::kNormal;
}

ScrollBarLook ScrollBarControl::Look() const {
  ScrollBarLook look;
  if (range_.largest > 0) {
    const double page = std::max(range_.page, 0);
    look.position = static_cast<double>(range_.position) / range_.largest;
    look.page = page / (page + range_.largest);
  }
  look.up = StateOf(Part::kUp);
  look.down = StateOf(Part::kDown);
  look.thumb = StateOf(Part::kThumb);
  return look;
}

void ScrollBarControl::Paint(const PaintContext& context) {
  scale_ = context.scale;
  const ScrollBarLook look = Look();
  parts_ = context.painter.ScrollBarPartsOf(Place(), look_, look);
  context.painter.PaintScrollBar(Place(), look_, look);
}

// ---- the mouse

ScrollBarControl::Part ScrollBarControl::PartAt(const Pointer& pointer) const {
  if (!Contains(Place(), pointer.x, pointer.y)) return Part::kNone;
  const int32_t y = pointer.y * scale_;
  if (y < parts_.up.bottom) return Part::kUp;
  if (y >= parts_.down.top) return Part::kDown;
  if (parts_.thumb.IsEmpty()) return Part::kNone;
  if (y < parts_.thumb.top) return Part::kPageUp;
  return y < parts_.thumb.bottom ? Part::kThumb : Part::kPageDown;
}

void ScrollBarControl::OnPress(const Pointer& pointer) {
  pointer_ = pointer;
  pressed_ = PartAt(pointer);
  grip_ = pointer.y * scale_ - parts_.thumb.top;
  caught_ = {pointer.y, range_.position};
  began_.reset();
  repeats_ = false;
  Step();
  Repaint();
  TickChanged();
}

void ScrollBarControl::OnDrag(const Pointer& pointer) {
  pointer_ = pointer;
  if (pressed_ != Part::kThumb) return;
  // The thumb stands on whole pixels: where it was caught is the position that it was caught at.
  if (pointer.y == caught_.first) return ScrollTo(caught_.second);
  const double part = ScrollAt(parts_, pointer.y * scale_ - grip_);
  ScrollTo(static_cast<int64_t>(part * range_.largest + 0.5));
}

void ScrollBarControl::OnHover(const Pointer& pointer) {
  const Part part = PartAt(pointer);
  if (part == hovered_) return;
  hovered_ = part;
  Repaint();
}

void ScrollBarControl::OnLeave() {
  hovered_ = Part::kNone;
  Repaint();
}

void ScrollBarControl::ScrollTo(int64_t position) {
  const auto wanted = static_cast<int32_t>(std::clamp<int64_t>(position, 0, range_.largest));
  if (wanted != range_.position && scroll_to_) scroll_to_(wanted);
}

void ScrollBarControl::Step() {
  const int64_t page = std::max(range_.page - range_.line, range_.line);
  switch (pressed_) {
    case Part::kUp:
      return ScrollTo(int64_t{range_.position} - range_.line);
    case Part::kDown:
      return ScrollTo(int64_t{range_.position} + range_.line);
    case Part::kPageUp:
      return ScrollTo(range_.position - page);
    case Part::kPageDown:
      return ScrollTo(range_.position + page);
    default:
      return;
  }
}

void ScrollBarControl::Stop() {
  pressed_ = Part::kNone;
  Repaint();
  TickChanged();
}

// ---- held

uint32_t ScrollBarControl::TickMs() const {
  return pressed_ == Part::kNone || pressed_ == Part::kThumb ? 0 : kTickMs;
}

void ScrollBarControl::OnTick(uint32_t now_ms) {
  if (TickMs() == 0) return;
  if (!began_) began_ = now_ms;
  if (now_ms - *began_ < (repeats_ ? kRepeatMs : kFirstRepeatMs)) return;
  repeats_ = true;
  began_ = now_ms;
  // It rests while the mouse is elsewhere, and where the thumb has come to the mouse.
  if (PartAt(pointer_) == pressed_) Step();
}

// ---- screen readers

std::u16string ScrollBarControl::Value() const {
  const int64_t percent = range_.largest > 0 ? int64_t{range_.position} * 100 / range_.largest : 0;
  return Utf16FromUtf8(std::to_string(percent)) + u'%';
}

}  // namespace melorin
