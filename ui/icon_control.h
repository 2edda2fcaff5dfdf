// SPDX-License-Identifier: MIT
//
// IconControl: the program's icon in a window of a skin, a button without an image of its own.
#pragma once

#include <functional>

#include "skin/bitmap.h"
#include "ui/control.h"

namespace melorin {

/// Thread: the UI thread.
class IconControl final : public Control {
 public:
  /// `press` may make the window's controls anew.
  explicit IconControl(std::function<void()> press) : press_(std::move(press)) {}

  /// In pixels of the screen; a larger one is made smaller. Empty: the program's own.
  void SetIcon(Bitmap icon);
  /// Asked each time: the key in it may be another by then.
  void SetTip(std::function<std::u16string()> tip) { tip_ = std::move(tip); }

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer&) override { held_ = true; }
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override { held_ = false; }
  std::u16string TipAt(int32_t, int32_t) const override { return tip_ ? tip_() : Name(); }
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }
  bool OnKey(const KeyPress& key) override;
  ControlRole Role() const override { return ControlRole::kButton; }
  void DoDefault() override;

 private:
  void OnPlaced() override { fitting_ = {}; }

  std::function<void()> press_;
  std::function<std::u16string()> tip_;
  Bitmap icon_;
  Bitmap fitting_;  ///< As it is painted.
  bool held_ = false;
};

}  // namespace melorin
