// SPDX-License-Identifier: MIT
#include "ui/control.h"

namespace melorin {

void Control::SetPlace(const SkinRect& place) {
  if (place == place_) return;
  place_ = place;
  OnPlaced();
  Repaint();
}

void Control::SetVisible(bool visible) {
  if (visible == visible_) return;
  visible_ = visible;
  Repaint();
  TickChanged();
  ValueChanged();
}

void Control::SetEnabled(bool enabled) {
  if (enabled == enabled_) return;
  enabled_ = enabled;
  Repaint();
  ValueChanged();
}

void Control::SetFocused(bool focused) {
  if (focused == focused_) return;
  focused_ = focused;
  Repaint();
}

bool Control::TakesPointAt(int32_t x, int32_t y) const {
  return Contains(place_, x, y);
}

std::u16string Control::TipAt(int32_t, int32_t) const {
  return name_;
}

}  // namespace melorin
