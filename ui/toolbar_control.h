// SPDX-License-Identifier: MIT
//
// ToolbarControl: the playlist window's seven buttons, each of which opens a menu.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ui/control.h"
#include "ui/window_services.h"

namespace melorin {

class ToolbarControl final : public Control {
 public:
  /// The services must outlive the control.
  ToolbarControl(WindowServices& services, const SkinToolbar& look);

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer& pointer) override;
  void OnDrag(const Pointer& pointer) override;
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override;
  void OnHover(const Pointer& pointer) override;
  void OnLeave() override;
  void OnDoubleClick(const Pointer& pointer) override { OnPress(pointer); }
  std::u16string TipAt(int32_t x, int32_t y) const override;
  /// Left and right go through the buttons; space, return and down open the menu.
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }
  bool OnKey(const KeyPress& key) override;
  ControlRole Role() const override { return ControlRole::kToolbar; }
  size_t PartCount() const override;
  std::u16string PartName(size_t part) const override;
  SkinRect PartPlace(size_t part) const override;
  bool IsPartSelected(size_t part) const override { return IsFocused() && part == focus_; }
  void DoPart(size_t part) override;

 private:
  std::optional<size_t> ButtonAt(int32_t x, int32_t y) const;
  void Hold(std::optional<size_t>& held, std::optional<size_t> button);
  void StepFocus(size_t button);
  /// Afterwards this may be gone: the menu can bring another skin.
  void OpenMenu(size_t button);

  WindowServices& services_;
  const SkinToolbar look_;
  std::optional<size_t> hovered_;
  std::optional<size_t> pressed_;  ///< Where the button of the mouse went down.
  std::optional<size_t> down_;     ///< It is still over it.
  std::optional<size_t> open_;     ///< Its menu is shown.
  size_t focus_ = 0;
  std::shared_ptr<bool> life_ = std::make_shared<bool>(true);
};

}  // namespace melorin
