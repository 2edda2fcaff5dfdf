// SPDX-License-Identifier: MIT
//
// What the previews of single windows are made with; for skin_preview.cpp only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "doc/settings_types.h"
#include "skin/bitmap.h"
#include "skin/skin_description.h"
#include "skin/skin_images.h"
#include "skin/skin_painter.h"
#include "skin/text_painter.h"

namespace melorin {

/// The song that the windows show. UTF-8 here, since the source is; painted as GBK.
inline constexpr char kPreviewSong[] = "竹影乐团 - 雨过河岸";
inline constexpr int32_t kPreviewSongMs = 269000;
inline constexpr int32_t kPreviewTimeMs = 157000;

/// A window under work: its bitmap, a painter for it, and where controls lie at the size it has. Sizes are 1x
/// pixels.
class PreviewCanvas {
 public:
  /// `wanted_width`, `wanted_height`: 0 for the image's; never less than that.
  PreviewCanvas(SkinImages& images, TextPainter* text, std::string_view image_gbk, int32_t wanted_width,
                int32_t wanted_height);

  PreviewCanvas(const PreviewCanvas&) = delete;
  PreviewCanvas& operator=(const PreviewCanvas&) = delete;

  SkinPainter& Painter() { return painter_; }
  Bitmap& Target() { return bitmap_; }
  int32_t Scale() const { return scale_; }
  SkinRect Placed(const SkinRect& position, int32_t align) const {
    return AlignedPosition(position, align, image_width_, image_height_, width_, height_);
  }
  /// Of what grows with the window.
  SkinRect Grown(const SkinRect& position) const { return Placed(position, kAlignCentre | kAlignVCentre); }

  void PaintButton(const std::optional<SkinButton>& button, bool on = false);
  void PaintSlider(const std::optional<SkinSlider>& slider, double value);
  void PaintText(const SkinRect& position, const SkinText& style, std::string_view text_utf8);
  /// A text of the settings' look.
  void PaintText(const SkinRect& position, const FontRecord& font, SkinColour colour, int32_t align,
                 std::string_view text_utf8);
  /// The caption and the close button.
  void PaintCaption(const SkinToolWindow& window, std::string_view caption_utf8);
  void Fill(const SkinRect& position, SkinColour colour);

  Bitmap Take() { return std::move(bitmap_); }

 private:
  const int32_t scale_;
  int32_t image_width_ = 0;
  int32_t image_height_ = 0;
  int32_t width_ = 0;
  int32_t height_ = 0;
  Bitmap bitmap_;
  SkinPainter painter_;
};

/// The colour of a setting.
inline SkinColour ColourOf(const SettingsColour& colour) {
  return static_cast<SkinColour>(colour.value);
}

Bitmap PreviewPlayer(const SkinPlayerWindow& window, SkinImages& images, TextPainter* text);
Bitmap PreviewLyric(const SkinLyricWindow& window, SkinImages& images, TextPainter* text);
Bitmap PreviewEqualizer(const SkinEqualizerWindow& window, SkinImages& images, TextPainter* text);
Bitmap PreviewPlaylist(const SkinPlaylistWindow& window, SkinImages& images, TextPainter* text);

}  // namespace melorin
