// SPDX-License-Identifier: MIT
//
// ListLook: the settings' font and colours of the playlist, and what is derived from them, so that everything
// that is painted between the rows fits them on any skin.
#pragma once

#include <cstdint>
#include <string_view>

#include "doc/settings.h"
#include "skin/bitmap_draw.h"
#include "ui/control.h"

namespace melorin {

struct ListLook {
  explicit ListLook(const PlayListLook& look = {});

  SkinColour text;
  SkinColour hilight;
  SkinColour background;
  SkinColour background2;
  SkinColour number;
  SkinColour duration;
  std::string font_gbk;
  int32_t font_pixels = 12;  ///< 1x, as everything here.
  int32_t font_weight = 400;
  int32_t row_height = 20;

  /// A row's ground when it is selected; paler while the list does not have the keyboard.
  SkinColour Selected(SkinColour ground, bool focused) const {
    return MixColours(ground, hilight, focused ? 56 : 32);
  }
  /// Of tabs, bars and panels beside the rows.
  SkinColour Panel() const { return MixColours(background, text, 12); }
  SkinColour Line() const { return MixColours(background, text, 44); }
  SkinColour Pale(SkinColour ink) const { return MixColours(ink, background, 120); }

  /// The style of a text at a scale.
  TextStyle Style(SkinColour colour, int32_t align, int32_t scale) const;
};

/// One line of text in an area of 1x pixels; nothing where the system has no fonts.
void DrawListText(const PaintContext& context, const SkinRect& area, std::string_view text_gbk,
                  const ListLook& look, SkinColour colour, int32_t align, int32_t font_pixels = 0);
/// The same, and nothing outside of `clip` is touched.
void DrawListText(const PaintContext& context, const SkinRect& area, const SkinRect& clip,
                  std::string_view text_gbk, const ListLook& look, SkinColour colour, int32_t align,
                  int32_t font_pixels = 0);
/// Width in 1x pixels, rounded up. Without fonts an estimate: half the font's height a byte.
int32_t ListTextWidth(TextPainter* text, int32_t scale, std::string_view text_gbk, const ListLook& look);

/// An area of 1x pixels in one colour, within `clip`.
void FillList(const PaintContext& context, const SkinRect& area, const SkinRect& clip, SkinColour colour);
inline void FillList(const PaintContext& context, const SkinRect& area, SkinColour colour) {
  FillList(context, area, area, colour);
}
void OutlineList(const PaintContext& context, const SkinRect& area, const SkinRect& clip, SkinColour colour);

/// The mark of what plays: a triangle that points to the right, in the middle of the area.
void DrawPlayMark(const PaintContext& context, const SkinRect& area, const SkinRect& clip, SkinColour colour);

}  // namespace melorin
