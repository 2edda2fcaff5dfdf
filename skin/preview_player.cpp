// SPDX-License-Identifier: MIT
//
// The player window and the mini player, while a song plays.
#include <algorithm>
#include <array>

#include "doc/settings.h"
#include "skin/bitmap_draw.h"
#include "skin/preview_window.h"

namespace melorin {

namespace {

/// What music looks like: heights of bars, in percent.
constexpr std::array<int32_t, 20> kSpectrum = {62, 88, 95, 79, 70, 84, 66, 58, 71, 52,
                                               60, 45, 38, 49, 33, 27, 35, 21, 16, 9};
constexpr int32_t kPeakAbove = 7;  ///< Percent between a bar and its peak.

/// Bars as wide as fit, each in the three colours of the settings.
void PaintSpectrum(PreviewCanvas& canvas, const SkinRect& position) {
  const VisualSettings colours;
  const int32_t scale = canvas.Scale();
  const SkinRect area = ScaledPosition(position, scale);
  const int32_t step = std::max(area.Width() / static_cast<int32_t>(kSpectrum.size()), 2 * scale);
  for (int32_t bar = 0; bar < static_cast<int32_t>(kSpectrum.size()); ++bar) {
    const int32_t left = area.left + bar * step;
    const int32_t right = left + step - scale;
    if (right > area.right) break;
    const int32_t percent = kSpectrum[static_cast<size_t>(bar)];
    const int32_t height = area.Height() * percent / 100;
    const int32_t top = area.bottom - height;
    const int32_t middle = area.bottom - height / 2;
    FillGradient(canvas.Target(), {left, top, right, middle}, ColourOf(colours.spectrum_top_color),
                 ColourOf(colours.spectrum_mid_color));
    FillGradient(canvas.Target(), {left, middle, right, area.bottom}, ColourOf(colours.spectrum_mid_color),
                 ColourOf(colours.spectrum_btm_color));
    const int32_t peak = std::max(area.top, top - area.Height() * kPeakAbove / 100);
    FillArea(canvas.Target(), {left, peak, right, peak + scale},
             PixelOf(ColourOf(colours.spectrum_peak_color)));
  }
}

/// Play and pause often share a place; then the one that can be pressed is shown.
bool IsHidden(const SkinPlayerWindow& window, SkinPlayerButton button) {
  const auto& play = window.Button(SkinPlayerButton::kPlay);
  const auto& pause = window.Button(SkinPlayerButton::kPause);
  return button == SkinPlayerButton::kPlay && play && pause && play->position == pause->position;
}

}  // namespace

Bitmap PreviewPlayer(const SkinPlayerWindow& window, SkinImages& images, TextPainter* text) {
  PreviewCanvas canvas(images, text, window.image, 0, 0);
  canvas.Painter().PaintWindow(window.image, {}, false);
  if (window.visual) PaintSpectrum(canvas, window.visual->position);
  for (size_t i = 0; i < kSkinPlayerButtons; ++i)
    if (!IsHidden(window, static_cast<SkinPlayerButton>(i))) canvas.PaintButton(window.buttons[i]);
  canvas.PaintSlider(window.progress, static_cast<double>(kPreviewTimeMs) / kPreviewSongMs);
  const PlayerSettings settings;
  canvas.PaintSlider(window.volume, settings.volume / 100.0);
  if (window.led) canvas.Painter().PaintLed(*window.led, "02:37");
  if (window.info) canvas.PaintText(window.info->position, *window.info, kPreviewSong);
  if (window.status) canvas.PaintText(window.status->position, *window.status, "播放");
  if (window.stereo) canvas.PaintText(window.stereo->position, *window.stereo, "立体声");
  if (window.lyric) {
    const LyricSettings lyric;
    canvas.PaintText(window.lyric->position, DefaultFont(-12), ColourOf(lyric.hilight_color),
                     kAlignCentre | kAlignVCentre, kPreviewSong);
  }
  return canvas.Take();
}

}  // namespace melorin
