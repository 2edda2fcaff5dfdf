// SPDX-License-Identifier: MIT
#include "ui/window_view.h"

#include <algorithm>

#include "doc/keys.h"
#include "skin/bitmap_draw.h"
#include "skin/skin_layout.h"

namespace melorin {
namespace {

/// How near to an edge, in 1x pixels, the mouse resizes the window.
constexpr int32_t kResizeEdge = 5;
constexpr int32_t kResizeCorner = 14;
/// Windows that are larger than any sane one are cut.
constexpr int32_t kLargestWindow = 8192;
constexpr uint32_t kFocusPixel = 0xFF3C7FB1;
constexpr uint32_t kSeenAlpha = 128;

void OutlineArea(Bitmap& target, const SkinRect& area, int32_t line) {
  FillArea(target, {area.left, area.top, area.right, area.top + line}, kFocusPixel);
  FillArea(target, {area.left, area.bottom - line, area.right, area.bottom}, kFocusPixel);
  FillArea(target, {area.left, area.top, area.left + line, area.bottom}, kFocusPixel);
  FillArea(target, {area.right - line, area.top, area.right, area.bottom}, kFocusPixel);
}

bool ShowsFocusItself(ControlRole role) {
  return role == ControlRole::kList || role == ControlRole::kTabs || role == ControlRole::kToolbar;
}

}  // namespace

// ---- the skin and the size

void WindowView::Wear(SkinWardrobe& wardrobe, TextPainter* text) {
  pressed_ = hovered_ = focused_ = nullptr;
  placed_.clear();
  background_ = {};
  canvas_ = {};
  text_ = text;
  frame_ = {};
  skin_ = Build(wardrobe, &frame_);
  scale_ = wardrobe.Scale();
  const Bitmap* image = skin_ ? skin_->Images().Get(frame_.image_gbk) : nullptr;
  image_width_ = image ? image->width / scale_ : std::clamp(frame_.position.Width(), 40, kLargestWindow);
  image_height_ = image ? image->height / scale_ : std::clamp(frame_.position.Height(), 24, kLargestWindow);
  if (!IsResizable() || width_ == 0) {
    width_ = IsResizable() ? frame_.position.Width() : image_width_;
    height_ = IsResizable() ? frame_.position.Height() : image_height_;
  }
  width_ = std::clamp(width_, image_width_, std::max(image_width_, kLargestWindow));
  height_ = std::clamp(height_, image_height_, std::max(image_height_, kLargestWindow));
  PlaceControls();
  RepaintAll();
  TickChanged();
}

void WindowView::Resize(int32_t width, int32_t height) {
  if (!IsResizable()) return;
  width = std::clamp(width, image_width_, std::max(image_width_, kLargestWindow));
  height = std::clamp(height, image_height_, std::max(image_height_, kLargestWindow));
  if (width == width_ && height == height_) return;
  width_ = width;
  height_ = height;
  background_ = {};
  PlaceControls();
  RepaintAll();
}

void WindowView::AddControl(std::string_view element, std::unique_ptr<Control> control,
                            const SkinRect& position, int32_t align) {
  control->Attach(this);
  placed_.push_back({std::string(element), std::move(control), position, align, true});
}

void WindowView::PlaceControls() {
  for (Placed& placed : placed_)
    placed.control->SetPlace(
        AlignedPosition(placed.position, placed.align, image_width_, image_height_, width_, height_));
  Arrange();
}

Control* WindowView::FindControl(std::string_view element) const {
  for (const Placed& placed : placed_)
    if (placed.element == element) return placed.control.get();
  return nullptr;
}

// ---- painting

void WindowView::PrepareBackground() {
  if (!background_.IsEmpty()) return;
  background_ = Bitmap(width_ * scale_, height_ * scale_);
  if (skin_) {
    SkinPainter painter(skin_->Images(), text_, background_);
    painter.PaintWindow(frame_.image_gbk, frame_.resize_rect, frame_.tile);
  }
  all_dirty_ = true;
}

const Bitmap& WindowView::Compose() {
  PrepareBackground();
  if (all_dirty_) {
    canvas_ = background_;
    for (Placed& placed : placed_)
      placed.dirty = true;
  } else {
    for (const Placed& placed : placed_) {
      const SkinRect area = DirtyPixelsOf(placed);
      if (!area.IsEmpty()) DrawCell(canvas_, area, area.left, area.top, background_, area, Combine::kReplace);
    }
  }
  for (Placed& placed : placed_) {
    const SkinRect clip = DirtyPixelsOf(placed);
    if (placed.dirty || !clip.IsEmpty()) PaintControl(*placed.control, clip);
    placed.dirty = false;
    placed.dirty_part = {};
  }
  all_dirty_ = false;
  return canvas_;
}

SkinRect WindowView::PixelsOf(const Control& control) const {
  return Intersection(ScaledPosition(control.Place(), scale_), {0, 0, width_ * scale_, height_ * scale_});
}

SkinRect WindowView::DirtyPixelsOf(const Placed& placed) const {
  const SkinRect pixels = PixelsOf(*placed.control);
  return placed.dirty ? pixels : Intersection(placed.dirty_part, pixels);
}

void WindowView::PaintControl(Control& control, const SkinRect& clip) {
  if (!control.IsVisible() || !skin_) return;
  SkinPainter painter(skin_->Images(), text_, canvas_);
  control.Paint({painter, text_, canvas_, scale_, clip});
  if (&control == focused_ && control.IsFocused() && shows_focus_ && !ShowsFocusItself(control.Role()))
    OutlineArea(canvas_, ScaledPosition(control.Place(), scale_), scale_);
}

bool WindowView::IsInShape(int32_t x_pixels, int32_t y_pixels) {
  PrepareBackground();
  if (x_pixels < 0 || y_pixels < 0 || x_pixels >= background_.width || y_pixels >= background_.height)
    return false;
  return background_.Row(y_pixels)[x_pixels] >> 24 >= kSeenAlpha;
}

int32_t WindowView::ShapeRunEnd(int32_t x_pixels, int32_t y_pixels) {
  const bool inside = IsInShape(x_pixels, y_pixels);
  const uint32_t* row = background_.Row(y_pixels);
  int32_t x = x_pixels + 1;
  while (x < background_.width && (row[x] >> 24 >= kSeenAlpha) == inside)
    ++x;
  return x;
}

void WindowView::RepaintAll() {
  all_dirty_ = true;
  if (host_) host_->RepaintArea({0, 0, width_ * scale_, height_ * scale_});
}

void WindowView::FreeBitmaps() {
  background_ = {};
  canvas_ = {};
  all_dirty_ = true;
}

void WindowView::Repaint(Control& control) {
  for (Placed& placed : placed_) {
    if (placed.control.get() != &control) continue;
    placed.dirty = true;
    // What shares the place lies above or below it, as play and pause do.
    for (Placed& other : placed_)
      if (!Intersection(other.control->Place(), control.Place()).IsEmpty()) other.dirty = true;
    if (host_) host_->RepaintArea(ScaledPosition(control.Place(), scale_));
    return;
  }
}

void WindowView::RepaintPart(Control& control, const SkinRect& pixels) {
  const SkinRect area = Intersection(pixels, PixelsOf(control));
  if (area.IsEmpty()) return;
  Placed* found = nullptr;
  for (Placed& placed : placed_) {
    if (placed.control.get() == &control) {
      found = &placed;
    } else if (!Intersection(placed.control->Place(), control.Place()).IsEmpty()) {
      // The other one is painted whole, and with it all that it lies over.
      Repaint(control);
      return;
    }
  }
  if (!found) return;
  found->dirty_part = Union(found->dirty_part, area);
  if (host_) host_->RepaintArea(area);
}

// ---- the mouse

Control* WindowView::At(int32_t x, int32_t y) const {
  for (size_t i = placed_.size(); i-- > 0;) {
    Control& control = *placed_[i].control;
    if (control.IsVisible() && control.TakesPointAt(x, y)) return &control;
  }
  return nullptr;
}

WindowPart WindowView::PartAt(int32_t x, int32_t y) const {
  if (IsResizable()) {
    const bool left = x < kResizeEdge;
    const bool right = x >= width_ - kResizeEdge;
    const bool top = y < kResizeEdge;
    const bool bottom = y >= height_ - kResizeEdge;
    if (left || right || top || bottom) {
      const bool near_left = x < kResizeCorner;
      const bool near_right = x >= width_ - kResizeCorner;
      const bool near_top = y < kResizeCorner;
      const bool near_bottom = y >= height_ - kResizeCorner;
      if (near_top && near_left) return WindowPart::kTopLeft;
      if (near_top && near_right) return WindowPart::kTopRight;
      if (near_bottom && near_left) return WindowPart::kBottomLeft;
      if (near_bottom && near_right) return WindowPart::kBottomRight;
      if (left) return WindowPart::kLeft;
      if (right) return WindowPart::kRight;
      return top ? WindowPart::kTop : WindowPart::kBottom;
    }
  }
  return At(x, y) ? WindowPart::kControl : WindowPart::kCaption;
}

void WindowView::OnPress(const Pointer& pointer) {
  pressed_ = At(pointer.x, pointer.y);
  if (!pressed_ || !pressed_->IsEnabled()) {
    pressed_ = nullptr;
    return;
  }
  if (pressed_->TakesFocus() && pressed_->TakesFocusByMouse()) Focus(pressed_, false);
  pressed_->OnPress(pointer);
}

void WindowView::OnDoubleClick(const Pointer& pointer) {
  Control* control = At(pointer.x, pointer.y);
  if (!control || !control->IsEnabled()) return;
  pressed_ = control;
  control->OnDoubleClick(pointer);
}

void WindowView::OnMove(const Pointer& pointer) {
  pointer_ = pointer;
  if (pressed_) {
    pressed_->OnDrag(pointer);
    return;
  }
  Control* control = At(pointer.x, pointer.y);
  if (control && !control->IsEnabled()) control = nullptr;
  if (hovered_ && hovered_ != control) hovered_->OnLeave();
  hovered_ = control;
  if (hovered_) hovered_->OnHover(pointer);
}

void WindowView::RefreshHover() {
  if (hovered_ && !hovered_->IsVisible() && !pressed_) OnMove(pointer_);
}

void WindowView::OnRelease(const Pointer& pointer) {
  pointer_ = pointer;
  // What the click does may make the controls anew, and with them this one.
  if (Control* pressed = std::exchange(pressed_, nullptr)) pressed->OnRelease(pointer);
}

void WindowView::OnCancel() {
  if (Control* pressed = std::exchange(pressed_, nullptr)) pressed->OnCancel();
}

void WindowView::OnLeave() {
  if (Control* hovered = std::exchange(hovered_, nullptr)) hovered->OnLeave();
}

bool WindowView::OnWheel(const Pointer& pointer, int32_t notches) {
  Control* control = At(pointer.x, pointer.y);
  if (control && control->IsEnabled() && control->OnWheel(pointer, notches)) return true;
  return OnWindowWheel(notches);
}

bool WindowView::OnMiddleClick(const Pointer& pointer) {
  Control* control = At(pointer.x, pointer.y);
  return control && control->IsEnabled() && control->OnMiddleClick(pointer);
}

bool WindowView::OnContextMenu(const Pointer& pointer) {
  Control* control = At(pointer.x, pointer.y);
  return control && control->IsEnabled() && control->OnContextMenu(pointer);
}

std::pair<std::u16string, const Control*> WindowView::TipAt(int32_t x, int32_t y) const {
  const Control* control = At(x, y);
  if (!control) return {};
  return {control->TipAt(x, y), control};
}

// ---- the keyboard

bool WindowView::OnKey(const KeyPress& key) {
  if (key.key == kKeyTab && !key.ctrl && !key.alt) {
    MoveFocus(key.shift ? -1 : 1);
    return true;
  }
  if (focused_ && focused_->IsVisible() && focused_->IsEnabled() && focused_->OnKey(key)) return true;
  return OnWindowKey(key);
}

bool WindowView::OnCharacter(char16_t character) {
  return focused_ && focused_->IsVisible() && focused_->OnCharacter(character);
}

void WindowView::Focus(Control* control, bool by_keyboard) {
  shows_focus_ = by_keyboard;
  if (control == focused_) return;
  if (focused_) focused_->SetFocused(false);
  focused_ = control;
  if (!focused_ || !active_) return;
  focused_->SetFocused(true);
  if (host_) host_->ControlFocused(IndexOf(*focused_));
}

void WindowView::SetActive(bool active) {
  if (active == active_) return;
  active_ = active;
  if (!focused_) return;
  focused_->SetFocused(active);
  if (active && host_) host_->ControlFocused(IndexOf(*focused_));
}

void WindowView::MoveFocus(int direction) {
  const auto count = static_cast<int>(placed_.size());
  int index = focused_ ? static_cast<int>(IndexOf(*focused_)) : (direction > 0 ? -1 : count);
  for (int tried = 0; tried < count; ++tried) {
    index = (index + direction + count) % count;
    Control& control = *placed_[static_cast<size_t>(index)].control;
    if (!control.IsVisible() || !control.IsEnabled() || !control.TakesFocus()) continue;
    Focus(&control, true);
    return;
  }
}

// ---- screen readers and motion

size_t WindowView::IndexOf(const Control& control) const {
  const auto found = std::find_if(placed_.begin(), placed_.end(),
                                  [&](const Placed& placed) { return placed.control.get() == &control; });
  return static_cast<size_t>(found - placed_.begin());
}

void WindowView::TickChanged() {
  if (host_) host_->ViewTickChanged();
}

void WindowView::ValueChanged(Control& control) {
  const size_t index = IndexOf(control);
  if (host_ && index < placed_.size()) host_->ControlChanged(index);
}

uint32_t WindowView::TickMs() const {
  uint32_t soonest = 0;
  for (const Placed& placed : placed_) {
    const uint32_t tick = placed.control->IsVisible() ? placed.control->TickMs() : 0;
    if (tick != 0 && (soonest == 0 || tick < soonest)) soonest = tick;
  }
  return soonest;
}

void WindowView::OnTick(uint32_t now_ms) {
  for (const Placed& placed : placed_)
    if (placed.control->IsVisible() && placed.control->TickMs() != 0) placed.control->OnTick(now_ms);
}

}  // namespace melorin
