// SPDX-License-Identifier: MIT
#include "ui/led_control.h"

#include "ui/time_text.h"

namespace melorin {
namespace {

constexpr uint32_t kMinute = 60;
constexpr uint32_t kHour = 3600;

std::string TwoDigits(uint32_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

}  // namespace

std::string LedTime(uint32_t seconds, bool left, int32_t most) {
  const std::string sign = left ? "-" : "";
  const std::string end = ":" + TwoDigits(seconds % kMinute);
  if (seconds >= kHour) {
    std::string text = sign + std::to_string(seconds / kHour) + ":" + TwoDigits(seconds / kMinute % 60) + end;
    if (text.size() <= static_cast<size_t>(most < 0 ? 0 : most)) return text;
  }
  return sign + TwoDigits(seconds / kMinute) + end;
}

void LedControl::SetTime(uint32_t seconds, bool left) {
  if (seconds == seconds_ && left == left_) return;
  seconds_ = seconds;
  left_ = left;
  // Screen readers ask when they want to know: a clock that tells itself is a nuisance.
  Repaint();
}

void LedControl::Paint(const PaintContext& context) {
  look_.position = Place();
  context.painter.PaintLed(look_, LedTime(seconds_, left_, context.painter.LedCharactersIn(look_)));
}

bool LedControl::TakesPointAt(int32_t x, int32_t y) const {
  return click_ && Control::TakesPointAt(x, y);
}

void LedControl::OnRelease(const Pointer& pointer) {
  const bool clicked = held_ && Contains(Place(), pointer.x, pointer.y);
  held_ = false;
  if (clicked) DoDefault();
}

std::u16string LedControl::Value() const {
  return (left_ ? u"-" : u"") + TimeText(seconds_);
}

void LedControl::DoDefault() {
  const std::function<void()> click = click_;
  if (click) click();
}

}  // namespace melorin
