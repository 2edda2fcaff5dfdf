// SPDX-License-Identifier: MIT
//
// ScrollBarControl: an upright scroll bar: buttons, a thumb that is dragged, and pages beside it. It scrolls
// nothing itself, it asks for it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "skin/skin_layout.h"
#include "ui/control.h"

namespace melorin {

/// In 1x pixels of what is scrolled.
struct ScrollRange {
  int32_t position = 0;  ///< 0 to `largest`.
  int32_t largest = 0;   ///< 0: everything is in view.
  int32_t page = 0;      ///< How much is in view.
  int32_t line = 1;      ///< What a button scrolls.
  bool operator==(const ScrollRange&) const = default;
};

class ScrollBarControl final : public Control {
 public:
  /// `scroll_to` is asked for a position and answers by SetRange.
  ScrollBarControl(const SkinScrollBar& look, std::function<void(int32_t)> scroll_to);

  void SetRange(const ScrollRange& range);

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer& pointer) override;
  void OnDrag(const Pointer& pointer) override;
  void OnRelease(const Pointer&) override { Stop(); }
  void OnCancel() override { Stop(); }
  void OnHover(const Pointer& pointer) override;
  void OnLeave() override;
  void OnDoubleClick(const Pointer& pointer) override { OnPress(pointer); }
  std::u16string TipAt(int32_t, int32_t) const override { return {}; }
  ControlRole Role() const override { return ControlRole::kScrollBar; }
  std::u16string Value() const override;  ///< "37%"
  uint32_t TickMs() const override;
  void OnTick(uint32_t now_ms) override;

 private:
  enum class Part { kNone, kUp, kDown, kPageUp, kPageDown, kThumb };

  ScrollBarLook Look() const;
  ControlState StateOf(Part part) const;
  Part PartAt(const Pointer& pointer) const;
  void Step();
  void ScrollTo(int64_t position);
  void Stop();

  const SkinScrollBar look_;
  std::function<void(int32_t)> scroll_to_;
  ScrollRange range_;
  ScrollBarParts parts_;  ///< As they were painted, in the target's pixels.
  int32_t scale_ = 1;
  Part hovered_ = Part::kNone;
  Part pressed_ = Part::kNone;
  Pointer pointer_;
  int32_t grip_ = 0;  ///< Of a dragged thumb: from its top to the mouse, the target's pixels.
  std::pair<int32_t, int32_t> caught_;  ///< The mouse and the position when it was caught.
  std::optional<uint32_t> began_;       ///< When it began to be held, or was repeated last.
  bool repeats_ = false;
};

}  // namespace melorin
