// SPDX-License-Identifier: MIT
//
// SliderControl: a slider of a skin over a range of whole numbers. Horizontal ones grow to the right,
// vertical ones upwards.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "ui/control.h"

namespace melorin {

struct SliderRange {
  int32_t min = 0;
  int32_t max = 100;
  int32_t step = 1;   ///< Of the arrow keys.
  int32_t page = 10;  ///< Of Page Up and Page Down.
  int32_t wheel = 1;  ///< Of a notch; 0: the wheel is the window's.
  bool operator==(const SliderRange&) const = default;
};

/// Thread: the UI thread.
class SliderControl final : public Control {
 public:
  /// While the thumb is dragged with `final` false, each value once; when it is let go, and for keys and the
  /// wheel, with `final` true. A drag that is broken off ends with the value from before and `final` false;
  /// IsDragging() is false then.
  using Change = std::function<void(int32_t value, bool final)>;
  using Text = std::function<std::u16string(int32_t value)>;

  explicit SliderControl(const SkinSlider& look, const SliderRange& range = {});

  const SliderRange& Range() const { return range_; }
  /// Breaks a drag off.
  void SetRange(const SliderRange& range);
  int32_t Current() const { return value_; }
  /// Kept for later while the user drags. Does not call back.
  void SetValue(int32_t value);
  bool IsDragging() const { return dragging_; }
  /// The value goes back to where it was last set.
  void BreakOff() { OnCancel(); }

  void SetOnChange(Change on_change) { on_change_ = std::move(on_change); }
  /// What the value is called, for tips and screen readers; the number itself unless given.
  void SetValueText(Text text) { value_text_ = std::move(text); }
  /// A double click brings it.
  void SetDefault(int32_t value) { default_ = value; }
  /// The thumb sticks to it when it is dragged near.
  void SetSnap(int32_t value) { snap_ = value; }
  /// The tip tells what a click would set instead of what is set.
  void SetTellsPointer(bool tells) { tells_pointer_ = tells; }
  /// Its value changes by itself all the time: screen readers are not told of it.
  void SetMovesByItself(bool moves) { moves_by_itself_ = moves; }
  /// A click gives it the keyboard; not where the arrow keys have a better use in the window.
  void SetFocusByMouse(bool focus) { focus_by_mouse_ = focus; }

  /// What a click at a point of the window sets.
  int32_t ValueAt(int32_t x, int32_t y) const;

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer& pointer) override;
  void OnDrag(const Pointer& pointer) override;
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override;
  void OnHover(const Pointer& pointer) override;
  void OnLeave() override;
  void OnDoubleClick(const Pointer& pointer) override;
  bool OnWheel(const Pointer& pointer, int32_t notches) override;
  std::u16string TipAt(int32_t x, int32_t y) const override;
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return focus_by_mouse_; }
  bool OnKey(const KeyPress& key) override;
  ControlRole Role() const override { return ControlRole::kSlider; }
  std::u16string Value() const override { return TextOf(value_); }

 private:
  int32_t Clamped(int64_t value) const;
  double PartOf(int32_t value) const;  ///< 0 to 1 of the way.
  SkinRect ThumbAt(int32_t value) const;
  int32_t Along(int32_t x, int32_t y) const;
  int32_t ValueAlong(int32_t along) const;
  std::u16string TextOf(int32_t value) const;
  ControlState ThumbState() const;
  void Show(int32_t value);  ///< Takes it, and repaints if anything moves.
  void DragTo(int32_t along);
  void ChangeTo(int64_t value);  ///< Of keys and the wheel.
  void SetMouse(bool over, bool dragging);

  const SkinSlider look_;
  SkinSlider unused_look_;  ///< While it is disabled: nothing is filled.
  SliderRange range_;
  Change on_change_;
  Text value_text_;
  std::optional<int32_t> default_;
  std::optional<int32_t> snap_;
  bool tells_pointer_ = false;
  bool moves_by_itself_ = false;
  bool focus_by_mouse_ = true;

  int32_t value_ = 0;
  int32_t kept_ = 0;  ///< While dragging: the value that SetValue gave last.
  bool over_ = false;
  bool dragging_ = false;
  bool dragged_ = false;  ///< Since the press the value was another.
  int32_t grip_ = 0;      ///< Pixels of the screen, from the thumb's middle to where it was caught.

  // Known from the last painting; the thumb's size in pixels of the screen.
  int32_t scale_ = 1;
  int32_t thumb_width_ = 0;
  int32_t thumb_height_ = 0;
};

}  // namespace melorin
