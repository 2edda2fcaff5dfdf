// SPDX-License-Identifier: MIT
#include "ui/button_control.h"

#include <utility>

#include "doc/keys.h"

namespace melorin {

ButtonControl::ButtonControl(WindowServices& services, const SkinButton& look, CommandId command)
    : services_(&services), look_(look), command_(command), tip_command_(command) {
  if (const Command* known = FindCommand(command)) SetName(PlainCommandText(known->text));
  Refresh();
}

ButtonControl::ButtonControl(const SkinButton& look, std::function<void()> press)
    : look_(look), press_(std::move(press)) {}

void ButtonControl::SetSwitch(bool is_switch) {
  is_switch_ = is_switch;
  Refresh();
}

void ButtonControl::SetOn(bool on) {
  is_told_ = true;
  ShowOn(on);
}

void ButtonControl::ShowOn(bool on) {
  if (on == on_) return;
  on_ = on;
  Repaint();
  ValueChanged();
}

void ButtonControl::Refresh() {
  if (!services_) return;
  const CommandTarget& target = services_->Commands();
  SetEnabled(target.IsEnabled(command_));
  if (is_switch_ && !is_told_) ShowOn(target.IsChecked(command_));
}

// ---- painting

ControlState ButtonControl::State() const {
  if (!IsEnabled()) return ControlState::kDisabled;
  if (held_ && over_) return ControlState::kPressed;
  return over_ || held_ ? ControlState::kHover : ControlState::kNormal;
}

void ButtonControl::Paint(const PaintContext& context) {
  context.painter.PaintButton(Place(), look_.image, State(), is_switch_ && on_);
}

// ---- the mouse

void ButtonControl::SetMouse(bool over, bool held) {
  const ControlState before = State();
  over_ = over;
  held_ = held;
  if (State() != before) Repaint();
}

void ButtonControl::OnPress(const Pointer&) {
  SetMouse(true, true);
}

void ButtonControl::OnDrag(const Pointer& pointer) {
  SetMouse(Contains(Place(), pointer.x, pointer.y), held_);
}

void ButtonControl::OnRelease(const Pointer& pointer) {
  const bool clicked = held_ && Contains(Place(), pointer.x, pointer.y);
  SetMouse(Contains(Place(), pointer.x, pointer.y), false);
  if (clicked) DoDefault();
}

void ButtonControl::OnCancel() {
  SetMouse(false, false);
}

void ButtonControl::OnHover(const Pointer&) {
  SetMouse(true, held_);
}

void ButtonControl::OnLeave() {
  SetMouse(false, held_);
}

std::u16string ButtonControl::TipAt(int32_t, int32_t) const {
  if (!tip_.empty()) return tip_;
  return services_ ? services_->TipOf(tip_command_) : Name();
}

// ---- the keyboard and screen readers

bool ButtonControl::OnKey(const KeyPress& key) {
  if ((key.key != kKeyReturn && key.key != kKeySpace) || key.ctrl || key.shift || key.alt) return false;
  DoDefault();
  return true;
}

void ButtonControl::DoDefault() {
  if (!IsEnabled()) return;
  if (services_) {
    services_->Commands().Execute(command_);
    return;
  }
  // It may be the end of this control, and with it of the function.
  const std::function<void()> press = press_;
  if (press) press();
}

}  // namespace melorin
