// SPDX-License-Identifier: MIT
#include "ui/visual_control.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "skin/bitmap_draw.h"
#include "skin/skin_layout.h"

namespace melorin {
namespace {

constexpr int32_t kSlowest = 5;  ///< Frames a second.
constexpr int32_t kFastest = 60;
/// A tick that comes later than this counts as this: the program was busy.
constexpr uint32_t kLongestTickMs = 200;
constexpr int32_t kWideBar = 3;  ///< 1x pixels, as the gap and the peaks are.
constexpr int32_t kNarrowBar = 1;
constexpr int32_t kGap = 1;
constexpr int32_t kPeak = 1;
/// In which a trail loses half its light when "BlurSpeed" is 0; the speed divides it.
constexpr double kSlowestHalfMs = 400;
constexpr int32_t kFastestBlur = 10;

SkinColour ColourOf(const SettingsColour& colour) {
  return static_cast<SkinColour>(colour.value & 0xFFFFFF);
}

}  // namespace

VisualControl::VisualControl(VisualSource& source, WindowServices& services, SkinWindow window)
    : source_(source), services_(services), window_(window) {
  SetName(u"视觉效果");
}

VisualControl::Effect VisualControl::Shown() const {
  return static_cast<Effect>(std::clamp(settings_.type, 0, static_cast<int32_t>(Effect::kBlurredScope)));
}

void VisualControl::SetSettings(const VisualSettings& settings) {
  if (settings == settings_) return;
  const bool other = settings.type != settings_.type;
  settings_ = settings;
  if (other) {
    bars_.Clear();
    trace_.Flatten();
    trail_.Clear();
  }
  column_.clear();
  LayOut();
  Repaint();
  TickChanged();
  if (other) ValueChanged();
}

void VisualControl::SetActive(bool playing) {
  if (playing == active_) return;
  active_ = playing;
  TickChanged();
}

void VisualControl::LayOut() {
  const int32_t width = std::max(Place().Width(), 0);
  const int32_t height = std::max(Place().Height(), 0);
  bar_width_ = settings_.spectrum_wide != 0 ? kWideBar : kNarrowBar;
  const auto bars = static_cast<size_t>((width + kGap) / (bar_width_ + kGap));
  if (bars != bars_.Levels().size()) {
    SpectrumBarsOptions options;
    options.bars = bars;
    bars_ = SpectrumBars(options);
  }
  if (static_cast<size_t>(width * scale_) != trace_.Strokes().size() || trail_.Height() != height * scale_) {
    trace_.SetSize(width * scale_, height * scale_, scale_);
    trail_.SetSize(width * scale_, height * scale_);
  }
}

// ---- painting

void VisualControl::Paint(const PaintContext& context) {
  if (scale_ != context.scale) {
    scale_ = context.scale;
    LayOut();
  }
  const SkinRect area = ScaledPosition(Place(), scale_);
  // The trail's and the trace's pixels are the area's.
  if (area.IsEmpty() || Intersection(area, BitmapBounds(context.target)) != area) return;
  switch (Shown()) {
    case Effect::kNone:
      break;
    case Effect::kSpectrum:
      PaintBars(context, area);
      break;
    case Effect::kBlurredScope:
      if (HasTrail() && !trail_.IsDark()) {
        PaintTrail(context.target, area);
        break;
      }
      [[fallthrough]];
    case Effect::kScope:
      PaintTrace(context.target, area);
      break;
  }
}

void VisualControl::PrepareColumn(int32_t height) {
  const auto size = static_cast<size_t>(height);
  if (column_.size() == size) return;
  column_.resize(size);
  Bitmap column(1, height);
  FillGradient(column, {0, 0, 1, height / 2}, ColourOf(settings_.spectrum_top_color),
               ColourOf(settings_.spectrum_mid_color));
  FillGradient(column, {0, height / 2, 1, height}, ColourOf(settings_.spectrum_mid_color),
               ColourOf(settings_.spectrum_btm_color));
  column_.swap(column.pixels);
}

void VisualControl::PaintBars(const PaintContext& context, const SkinRect& area) {
  PrepareColumn(area.Height());
  const uint32_t peak_pixel = PixelOf(ColourOf(settings_.spectrum_peak_color));
  const int32_t step = (bar_width_ + kGap) * scale_;
  const std::span<const float> levels = bars_.Levels();
  const std::span<const float> peaks = bars_.Peaks();
  int32_t left = area.left;
  for (size_t bar = 0; bar < levels.size(); ++bar, left += step) {
    const int32_t right = left + bar_width_ * scale_;
    const auto rows = static_cast<int32_t>(levels[bar] * static_cast<float>(area.Height()) + 0.5f);
    for (int32_t y = area.Height() - rows; y < area.Height(); ++y) {
      uint32_t* row = context.target.Row(area.top + y);
      std::fill(row + left, row + right, column_[static_cast<size_t>(y)]);
    }
    if (peaks[bar] <= 0) continue;
    // A peak lies on its bar, with a gap when it has left it.
    const int32_t room = area.Height() - kPeak * scale_;
    const int32_t top = area.top + room - static_cast<int32_t>(peaks[bar] * static_cast<float>(room) + 0.5f);
    FillArea(context.target, {left, top, right, top + kPeak * scale_}, peak_pixel, Combine::kReplace);
  }
}

void VisualControl::PaintTrace(Bitmap& target, const SkinRect& area) const {
  const uint32_t pixel = PixelOf(ColourOf(settings_.blur_scope_color));
  int32_t left = area.left;
  for (const ScopeTrace::Stroke& stroke : trace_.Strokes()) {
    // As thick where it is steep as where it is level.
    const int32_t right = std::min(left + scale_, area.right);
    for (int32_t y = stroke.top; y < stroke.bottom; ++y) {
      uint32_t* row = target.Row(area.top + y);
      std::fill(row + left, row + right, pixel);
    }
    ++left;
  }
}

void VisualControl::PaintTrail(Bitmap& target, const SkinRect& area) const {
  const uint32_t pixel = PixelOf(ColourOf(settings_.blur_scope_color));
  for (int32_t y = 0; y < area.Height(); ++y) {
    const uint8_t* light = trail_.Row(y);
    uint32_t* row = target.Row(area.top + y) + area.left;
    for (int32_t x = 0; x < area.Width(); ++x)
      DrawCoverage(row[x], pixel, light[x]);
  }
}

// ---- motion

bool VisualControl::IsAtRest() const {
  switch (Shown()) {
    case Effect::kSpectrum:
      return bars_.IsEmpty();
    case Effect::kScope:
      return trace_.IsFlat();
    case Effect::kBlurredScope:
      return trace_.IsFlat() && (!HasTrail() || trail_.IsDark());
    case Effect::kNone:
      break;
  }
  return true;
}

uint32_t VisualControl::TickMs() const {
  if (Shown() == Effect::kNone || !IsVisible() || (!active_ && IsAtRest())) return 0;
  return 1000u / static_cast<uint32_t>(std::clamp(settings_.frames_per_sec, kSlowest, kFastest));
}

void VisualControl::LightTrace() {
  int32_t left = 0;
  for (const ScopeTrace::Stroke& stroke : trace_.Strokes()) {
    for (int32_t x = left; x < left + scale_; ++x)
      trail_.Light(x, stroke.top, stroke.bottom);
    ++left;
  }
}

void VisualControl::OnTick(uint32_t now_ms) {
  const uint32_t tick = TickMs();
  if (tick == 0) return;
  const uint32_t elapsed = ticked_ms_ ? now_ms - *ticked_ms_ : tick;
  // The window ticks as often as its quickest control.
  if (elapsed + tick / 8 < tick) return;
  ticked_ms_ = now_ms;
  const uint32_t moved = std::min(elapsed, kLongestTickMs);
  const bool spectrum = Shown() == Effect::kSpectrum;
  const bool was_at_rest = IsAtRest();
  const bool heard = active_ && source_.Read(&frame_, !spectrum, spectrum);
  if (spectrum) {
    bars_.Update(heard ? std::span<const float>(frame_.spectrum) : std::span<const float>(),
                 heard ? frame_.sample_rate : 0, moved);
  } else if (heard) {
    trace_.Update(frame_.wave[0], frame_.wave[1]);
  } else {
    trace_.Flatten();
  }
  if (HasTrail()) {
    const double half_ms = kSlowestHalfMs / (1 + std::clamp(settings_.blur_speed, 0, kFastestBlur));
    trail_.Fade(static_cast<uint32_t>(256 * std::exp2(-static_cast<double>(moved) / half_ms)));
    // The line of silence does not glow; else it would never end.
    if (!trace_.IsFlat()) LightTrace();
  }
  if (!was_at_rest || !IsAtRest()) Repaint();
  if (TickMs() == 0) {
    ticked_ms_.reset();
    TickChanged();
  }
}

// ---- the mouse and screen readers

void VisualControl::OnRelease(const Pointer& pointer) {
  // May make the controls anew, and with them this one.
  if (Contains(Place(), pointer.x, pointer.y)) DoDefault();
}

void VisualControl::DoDefault() {
  services_.Commands().Execute(CommandId::kVisualNext);
}

bool VisualControl::OnContextMenu(const Pointer& pointer) {
  services_.ShowMenu(MenuKind::kVisual, window_, pointer.x, pointer.y);
  return true;
}

std::u16string VisualControl::TipAt(int32_t, int32_t) const {
  return services_.TipOf(CommandId::kVisualNext);
}

std::u16string VisualControl::Value() const {
  return PlainCommandText(FindCommand(Plus(CommandId::kVisualNone, static_cast<int32_t>(Shown())))->text);
}

}  // namespace melorin
