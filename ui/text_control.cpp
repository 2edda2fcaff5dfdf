// SPDX-License-Identifier: MIT
#include "ui/text_control.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace melorin {

void TextControl::SetLook(const SkinText& look) {
  look_ = look;
  Restart();
}

void TextControl::SetText(std::string text_gbk) {
  if (text_gbk == text_gbk_) return;
  text_gbk_ = std::move(text_gbk);
  Restart();
  ValueChanged();
}

void TextControl::SetSlideInterval(uint32_t ms) {
  if (ms == interval_ms_) return;
  const bool fits = measured_ && beyond_ == 0;
  interval_ms_ = ms;
  if (!fits) Restart();
}

void TextControl::Restart() {
  const bool moved = TickMs() != 0;
  measured_ = false;
  beyond_ = 0;
  shift_ = 0;
  step_ = kSlideStep;
  rests_ = true;
  timed_ = false;
  Repaint();
  if (moved) TickChanged();
}

// ---- painting

void TextControl::Measure(const PaintContext& context) {
  if (measured_ || !context.text) return;
  measured_ = true;
  TextStyle style;
  style.font_gbk = look_.font;
  style.pixels = std::max(look_.font_size, 1) * context.scale;
  const int32_t width = context.text->WidthOf(text_gbk_, style);
  const int32_t place = Place().Width() * context.scale;
  beyond_ = std::max(width - place + context.scale - 1, 0) / context.scale;
  if (beyond_ > 0) TickChanged();
}

void TextControl::Paint(const PaintContext& context) {
  Measure(context);
  const bool slides = beyond_ > 0 && interval_ms_ != 0;
  context.painter.PaintText(Place(), look_, text_gbk_, slides ? shift_ : 0, !slides);
}

// ---- the mouse and screen readers

bool TextControl::TakesPointAt(int32_t x, int32_t y) const {
  return double_click_ && Control::TakesPointAt(x, y);
}

std::u16string TextControl::TipAt(int32_t, int32_t) const {
  return beyond_ > 0 ? Value() : std::u16string();
}

std::u16string TextControl::Value() const {
  return Utf16FromGbk(text_gbk_);
}

void TextControl::DoDefault() {
  const std::function<void()> act = double_click_;
  if (act) act();
}

// ---- sliding

uint32_t TextControl::TickMs() const {
  if (interval_ms_ == 0 || beyond_ == 0) return 0;
  return rests_ ? kRestMs : interval_ms_;
}

void TextControl::OnTick(uint32_t now_ms) {
  if (!std::exchange(timed_, true)) {
    last_ms_ = now_ms;
    return;
  }
  if (now_ms - last_ms_ < TickMs()) return;
  last_ms_ = now_ms;
  const bool rested = std::exchange(rests_, false);
  shift_ = std::clamp(shift_ + step_, 0, beyond_);
  const bool at_end = shift_ == (step_ > 0 ? beyond_ : 0);
  if (at_end) {
    step_ = -step_;
    rests_ = true;
  }
  Repaint();
  if (rested != rests_) TickChanged();
}

}  // namespace melorin
