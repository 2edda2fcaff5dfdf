// SPDX-License-Identifier: MIT
//
// LedControl: the digits of a skin, as a clock. "02:37", "1:02:37", "-04:29".
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "ui/control.h"

namespace melorin {

/// Digits of a time in at most `most` characters: "mm:ss", from an hour on "h:mm:ss" where that finds place,
/// else all in minutes, "062:37". With a minus for what is left.
std::string LedTime(uint32_t seconds, bool left, int32_t most);

/// Thread: the UI thread.
class LedControl final : public Control {
 public:
  explicit LedControl(const SkinLed& look) : look_(look) {}

  void SetTime(uint32_t seconds, bool left);
  /// What a click does; without it the digits are a part of the window's background.
  void SetOnClick(std::function<void()> click) { click_ = std::move(click); }

  void Paint(const PaintContext& context) override;
  bool TakesPointAt(int32_t x, int32_t y) const override;
  void OnPress(const Pointer&) override { held_ = true; }
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override { held_ = false; }
  void OnDoubleClick(const Pointer& pointer) override { OnPress(pointer); }
  ControlRole Role() const override { return ControlRole::kText; }
  std::u16string Value() const override;
  void DoDefault() override;

 private:
  SkinLed look_;
  uint32_t seconds_ = 0;
  bool left_ = false;
  bool held_ = false;
  std::function<void()> click_;
};

}  // namespace melorin
