// SPDX-License-Identifier: MIT
#include "ui/slider_control.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "doc/keys.h"
#include "platform/text.h"
#include "skin/skin_layout.h"

namespace melorin {
namespace {

/// How near, in 1x pixels, the thumb is drawn to the value where it snaps.
constexpr int32_t kSnapDistance = 4;

}  // namespace

SliderControl::SliderControl(const SkinSlider& look, const SliderRange& range)
    : look_(look), unused_look_(look), range_(range), value_(range.min) {
  unused_look_.fill_image.clear();
}

// ---- the value

int32_t SliderControl::Clamped(int64_t value) const {
  return static_cast<int32_t>(std::clamp<int64_t>(value, range_.min, std::max(range_.min, range_.max)));
}

double SliderControl::PartOf(int32_t value) const {
  if (range_.max <= range_.min) return 0;
  return (static_cast<double>(value) - range_.min) / (static_cast<double>(range_.max) - range_.min);
}

SkinRect SliderControl::ThumbAt(int32_t value) const {
  return SliderThumb(ScaledPosition(Place(), scale_), thumb_width_, thumb_height_, look_.vertical,
                     PartOf(value));
}

std::u16string SliderControl::TextOf(int32_t value) const {
  return value_text_ ? value_text_(value) : Utf16FromUtf8(std::to_string(value));
}

void SliderControl::Show(int32_t value) {
  const SkinRect before = ThumbAt(value_);
  value_ = value;
  // A song moves far less often by a pixel than by a millisecond.
  if (ThumbAt(value_) != before) Repaint();
}

void SliderControl::SetValue(int32_t value) {
  value = Clamped(value);
  kept_ = value;
  if (dragging_ || value == value_) return;
  Show(value);
  if (!moves_by_itself_) ValueChanged();
}

void SliderControl::SetRange(const SliderRange& range) {
  if (range == range_) return;
  BreakOff();
  const SkinRect before = ThumbAt(value_);
  range_ = range;
  value_ = Clamped(value_);
  if (ThumbAt(value_) != before) Repaint();
}

void SliderControl::ChangeTo(int64_t value) {
  const int32_t wanted = Clamped(value);
  if (dragging_ || wanted == value_) return;
  Show(wanted);
  ValueChanged();
  if (on_change_) on_change_(wanted, true);
}

// ---- painting

ControlState SliderControl::ThumbState() const {
  if (!IsEnabled()) return ControlState::kDisabled;
  if (dragging_) return ControlState::kPressed;
  return over_ ? ControlState::kHover : ControlState::kNormal;
}

void SliderControl::Paint(const PaintContext& context) {
  const double part = PartOf(value_);
  const SkinRect thumb = context.painter.SliderThumbOf(Place(), look_, part);
  scale_ = context.scale;
  thumb_width_ = thumb.Width();
  thumb_height_ = thumb.Height();
  context.painter.PaintSlider(Place(), IsEnabled() ? look_ : unused_look_, {part, ThumbState()});
}

void SliderControl::SetMouse(bool over, bool dragging) {
  const ControlState before = ThumbState();
  over_ = over;
  dragging_ = dragging;
  if (ThumbState() != before) Repaint();
}

// ---- the mouse

int32_t SliderControl::Along(int32_t x, int32_t y) const {
  return (look_.vertical ? y : x) * scale_ + scale_ / 2;
}

int32_t SliderControl::ValueAlong(int32_t along) const {
  const double part =
      SliderValueAt(ScaledPosition(Place(), scale_), thumb_width_, thumb_height_, look_.vertical, along);
  const double length = static_cast<double>(range_.max) - range_.min;
  return Clamped(static_cast<int64_t>(std::floor(range_.min + part * length + 0.5)));
}

int32_t SliderControl::ValueAt(int32_t x, int32_t y) const {
  return ValueAlong(Along(x, y));
}

void SliderControl::DragTo(int32_t along) {
  int32_t value = ValueAlong(along);
  if (snap_) {
    const SkinRect snapped = ThumbAt(*snap_);
    const int32_t middle = look_.vertical ? snapped.top + thumb_height_ / 2 : snapped.left + thumb_width_ / 2;
    if (std::abs(along - middle) <= kSnapDistance * scale_) value = Clamped(*snap_);
  }
  if (value == value_) return;
  dragged_ = true;
  Show(value);
  ValueChanged();
  if (on_change_) on_change_(value, false);
}

void SliderControl::OnPress(const Pointer& pointer) {
  kept_ = value_;
  dragged_ = false;
  SetMouse(true, true);
  const SkinRect thumb = ThumbAt(value_);
  const int32_t along = Along(pointer.x, pointer.y);
  const bool on_thumb = look_.vertical ? along >= thumb.top && along < thumb.bottom
                                       : along >= thumb.left && along < thumb.right;
  grip_ = 0;
  if (on_thumb)
    grip_ = along - (look_.vertical ? thumb.top + thumb_height_ / 2 : thumb.left + thumb_width_ / 2);
  else
    DragTo(along);
}

void SliderControl::OnDrag(const Pointer& pointer) {
  if (dragging_) DragTo(Along(pointer.x, pointer.y) - grip_);
}

void SliderControl::OnRelease(const Pointer& pointer) {
  if (!dragging_) return;
  over_ = Contains(Place(), pointer.x, pointer.y);
  if (!IsEnabled() || !dragged_) {
    OnCancel();
    return;
  }
  SetMouse(over_, false);
  if (on_change_) on_change_(value_, true);
}

void SliderControl::OnCancel() {
  if (!dragging_) return;
  SetMouse(over_, false);
  const bool changed = std::exchange(dragged_, false);
  if (kept_ != value_) Show(kept_);
  if (changed && on_change_) on_change_(value_, false);
}

void SliderControl::OnHover(const Pointer&) {
  SetMouse(true, dragging_);
}

void SliderControl::OnLeave() {
  SetMouse(false, dragging_);
}

void SliderControl::OnDoubleClick(const Pointer& pointer) {
  if (default_)
    ChangeTo(*default_);
  else
    OnPress(pointer);
}

bool SliderControl::OnWheel(const Pointer&, int32_t notches) {
  if (range_.wheel == 0) return false;
  ChangeTo(int64_t{value_} + int64_t{notches} * range_.wheel);
  return true;
}

std::u16string SliderControl::TipAt(int32_t x, int32_t y) const {
  const std::u16string text = TextOf(tells_pointer_ && IsEnabled() ? ValueAt(x, y) : value_);
  if (text.empty()) return Name();
  return tells_pointer_ || Name().empty() ? text : Name() + u": " + text;
}

// ---- the keyboard

bool SliderControl::OnKey(const KeyPress& key) {
  if (key.ctrl || key.shift || key.alt) return false;
  int64_t value = value_;
  switch (key.key) {
    case kKeyRight:
    case kKeyUp:
      value += range_.step;
      break;
    case kKeyLeft:
    case kKeyDown:
      value -= range_.step;
      break;
    case kKeyPageUp:
      value += range_.page;
      break;
    case kKeyPageDown:
      value -= range_.page;
      break;
    case kKeyHome:
      value = range_.min;
      break;
    case kKeyEnd:
      value = range_.max;
      break;
    default:
      return false;
  }
  ChangeTo(value);
  return true;
}

}  // namespace melorin
