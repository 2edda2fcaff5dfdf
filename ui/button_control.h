// SPDX-License-Identifier: MIT
//
// ButtonControl: a button or a switch of a skin. It carries out a command, or calls a function where there is
// more to do than a command can say, as with menus.
#pragma once

#include <functional>
#include <string>

#include "ui/control.h"
#include "ui/window_services.h"

namespace melorin {

/// Thread: the UI thread.
class ButtonControl final : public Control {
 public:
  /// Named after the command. `services` must outlive the control.
  ButtonControl(WindowServices& services, const SkinButton& look, CommandId command);
  /// `press` may make the window's controls anew. Its name and tip are the owner's to give.
  ButtonControl(const SkinButton& look, std::function<void()> press);

  /// A switch shows whether its command is checked, unless SetOn tells it.
  void SetSwitch(bool is_switch);
  void SetOn(bool on);
  bool IsOn() const { return on_; }
  /// Asks again whether the command can be used, and for a switch whether it is checked.
  void Refresh();
  /// Instead of the command's tip.
  void SetTip(std::u16string tip) { tip_ = std::move(tip); }
  /// The tip, with its key, of another command that does the same.
  void SetTipCommand(CommandId command) { tip_command_ = command; }

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer& pointer) override;
  void OnDrag(const Pointer& pointer) override;
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override;
  void OnHover(const Pointer& pointer) override;
  void OnLeave() override;
  void OnDoubleClick(const Pointer& pointer) override { OnPress(pointer); }
  std::u16string TipAt(int32_t x, int32_t y) const override;
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }
  bool OnKey(const KeyPress& key) override;
  ControlRole Role() const override { return is_switch_ ? ControlRole::kSwitch : ControlRole::kButton; }
  bool IsPressed() const override { return is_switch_ && on_; }
  void DoDefault() override;

 private:
  void ShowOn(bool on);
  void SetMouse(bool over, bool held);
  ControlState State() const;

  WindowServices* services_ = nullptr;  ///< Null for a button without a command.
  const SkinButton look_;
  const CommandId command_ = CommandId::kNone;
  CommandId tip_command_ = CommandId::kNone;
  std::function<void()> press_;
  std::u16string tip_;
  bool is_switch_ = false;
  bool on_ = false;
  bool is_told_ = false;  ///< By SetOn.
  bool over_ = false;     ///< The mouse is.
  bool held_ = false;     ///< It was pressed here and is not let go yet.
};

}  // namespace melorin
