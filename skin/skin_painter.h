// SPDX-License-Identifier: MIT
//
// Paints the controls of a skin into a window's bitmap. Positions are given in the 1x pixels of the
// description and are scaled here. Thread: one at a time.
#pragma once

#include <cstdint>
#include <string_view>

#include "skin/bitmap.h"
#include "skin/skin_images.h"
#include "skin/skin_layout.h"
#include "skin/text_painter.h"

namespace melorin {

struct SliderLook {
  double value = 0;  ///< 0 to 1 of the way; vertical sliders grow upwards.
  ControlState thumb = ControlState::kNormal;
};
struct ScrollBarLook {
  double position = 0;  ///< 0 to 1: where the view is in its range.
  double page = 1;      ///< 0 to 1: how much of everything the view shows.
  ControlState up = ControlState::kNormal;
  ControlState down = ControlState::kNormal;
  ControlState thumb = ControlState::kNormal;
};

/// Nothing is allocated while painting but what SkinImages reads for the first time and what the texts need.
class SkinPainter {
 public:
  /// `images`, `text` (null: texts are not drawn) and `target` must outlive this.
  SkinPainter(SkinImages& images, TextPainter* text, Bitmap& target)
      : images_(images), text_(text), target_(target) {}

  // Everything but the window stays within its position. What has no image, or one that cannot be read, is
  // not drawn.

  /// The whole target, from the window's image and what grows in it. Without an image in a plain light grey.
  void PaintWindow(std::string_view image_gbk, const SkinRect& resize_rect, bool tile);
  /// A whole image, as captions may have one, within the position as `align` says.
  void PaintImage(const SkinRect& position, std::string_view image_gbk, int32_t align);
  void PaintButton(const SkinRect& position, std::string_view image_gbk, ControlState state, bool on = false);
  void PaintSlider(const SkinRect& position, const SkinSlider& slider, const SliderLook& look);
  /// Characters of kLedCharacters and spaces; others are left out. Those that find no place are cut off at
  /// the side that `align` does not hold.
  void PaintLed(const SkinLed& led, std::string_view digits);
  /// `shift`: how far a title that slides has gone to the left; such texts have no use for an ellipsis.
  void PaintText(const SkinRect& position, const SkinText& style, std::string_view text_gbk,
                 int32_t shift = 0, bool ellipsis = true);
  /// `hot_button`: the one button in `hot_state`, the others are normal; -1: all are.
  void PaintToolbar(const SkinRect& position, std::string_view image_gbk, int32_t hot_button,
                    ControlState hot_state);
  void PaintScrollBar(const SkinRect& position, const SkinScrollBar& bar, const ScrollBarLook& look);

  /// Where PaintSlider paints the thumb, in pixels of the target; without a size when it has no image.
  SkinRect SliderThumbOf(const SkinRect& position, const SkinSlider& slider, double value);
  /// How many digits find place.
  int32_t LedCharactersIn(const SkinLed& led);
  /// The width that the bar's images give it, in 1x pixels; 0 when it has none.
  int32_t ScrollBarWidth(const SkinScrollBar& bar);
  /// What PaintScrollBar paints, in pixels of the target.
  ScrollBarParts ScrollBarPartsOf(const SkinRect& position, const SkinScrollBar& bar,
                                  const ScrollBarLook& look);

 private:
  void PaintScrollThumb(const SkinRect& place, const SkinScrollBar& bar, ControlState state);

  SkinImages& images_;
  TextPainter* text_;
  Bitmap& target_;
  TextStyle text_style_;  ///< Keeps its memory from text to text.
};

}  // namespace melorin
