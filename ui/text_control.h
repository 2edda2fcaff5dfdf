// SPDX-License-Identifier: MIT
//
// TextControl: a text field of a skin. What is too long for it slides from one end to the other and back, or
// ends in "…".
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "ui/control.h"

namespace melorin {

/// Thread: the UI thread.
class TextControl final : public Control {
 public:
  /// It rests this long at both ends.
  static constexpr uint32_t kRestMs = 2000;
  /// 1x pixels.
  static constexpr int32_t kSlideStep = 4;

  explicit TextControl(const SkinText& look) : look_(look) {}

  void SetLook(const SkinText& look);
  /// A text that slides begins again with another one.
  void SetText(std::string text_gbk);
  const std::string& TextGbk() const { return text_gbk_; }
  /// ms from step to step; 0: it does not slide.
  void SetSlideInterval(uint32_t ms);
  /// Without it the text is a part of the window's background.
  void SetOnDoubleClick(std::function<void()> act) { double_click_ = std::move(act); }

  void Paint(const PaintContext& context) override;
  bool TakesPointAt(int32_t x, int32_t y) const override;
  void OnDoubleClick(const Pointer&) override { DoDefault(); }
  std::u16string TipAt(int32_t x, int32_t y) const override;
  ControlRole Role() const override { return ControlRole::kText; }
  std::u16string Value() const override;
  void DoDefault() override;
  uint32_t TickMs() const override;
  void OnTick(uint32_t now_ms) override;

 private:
  void OnPlaced() override { Restart(); }
  void Restart();
  void Measure(const PaintContext& context);

  SkinText look_;
  std::string text_gbk_;
  std::function<void()> double_click_;
  uint32_t interval_ms_ = 0;

  // Known from painting.
  bool measured_ = false;
  int32_t beyond_ = 0;  ///< 1x pixels that find no place.

  int32_t shift_ = 0;
  int32_t step_ = kSlideStep;  ///< Backwards: negative.
  bool rests_ = true;
  bool timed_ = false;  ///< `last_ms_` is the time of the last step, or of the rest's beginning.
  uint32_t last_ms_ = 0;
};

}  // namespace melorin
