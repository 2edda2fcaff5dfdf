// SPDX-License-Identifier: MIT
#include "ui/list_look.h"

#include <algorithm>
#include <cstdlib>

#include "skin/skin_layout.h"

namespace melorin {
namespace {

constexpr int32_t kLeastFont = 6;
constexpr int32_t kLargestFont = 72;

SkinColour ColourOf(const SettingsColour& colour) {
  return static_cast<SkinColour>(colour.value & 0xFFFFFF);
}

}  // namespace

ListLook::ListLook(const PlayListLook& look)
    : text(ColourOf(look.color_text)),
      hilight(ColourOf(look.color_hilight)),
      background(ColourOf(look.color_bkgnd)),
      background2(ColourOf(look.color_bkgnd2)),
      number(ColourOf(look.color_number)),
      duration(ColourOf(look.color_duration)),
      font_gbk(look.font.FaceGbk()),
      font_pixels(std::clamp(std::abs(std::clamp(look.font.height, -kLargestFont, kLargestFont)), kLeastFont,
                             kLargestFont)),
      font_weight(look.font.weight),
      // Chinese needs air: two thirds of the characters' height.
      row_height(font_pixels + (font_pixels * 2 + 2) / 3) {}

TextStyle ListLook::Style(SkinColour colour, int32_t align, int32_t scale) const {
  TextStyle style;
  style.font_gbk = font_gbk;
  style.pixels = font_pixels * scale;
  style.weight = font_weight;
  style.colour = colour;
  style.align = align;
  return style;
}

void DrawListText(const PaintContext& context, const SkinRect& area, std::string_view text_gbk,
                  const ListLook& look, SkinColour colour, int32_t align, int32_t font_pixels) {
  DrawListText(context, area, area, text_gbk, look, colour, align, font_pixels);
}

void DrawListText(const PaintContext& context, const SkinRect& area, const SkinRect& clip,
                  std::string_view text_gbk, const ListLook& look, SkinColour colour, int32_t align,
                  int32_t font_pixels) {
  if (!context.text || text_gbk.empty() || area.IsEmpty()) return;
  TextStyle style = look.Style(colour, align, context.scale);
  if (font_pixels > 0) style.pixels = font_pixels * context.scale;
  const SkinRect place = ScaledPosition(area, context.scale);
  const SkinRect seen = Intersection(place, ScaledPosition(clip, context.scale));
  if (seen == place) {
    context.text->Draw(context.target, place, text_gbk, style);
  } else if (!seen.IsEmpty()) {
    // A row that the view's edge cuts: it is painted whole, and what is seen of it is copied.
    Bitmap row(place.Width(), place.Height());
    const SkinRect all = BitmapBounds(row);
    DrawCell(row, all, 0, 0, context.target, place, Combine::kReplace);
    context.text->Draw(row, all, text_gbk, style);
    DrawCell(context.target, seen, place.left, place.top, row, all, Combine::kReplace);
  }
}

int32_t ListTextWidth(TextPainter* text, int32_t scale, std::string_view text_gbk, const ListLook& look) {
  if (!text) return static_cast<int32_t>(std::min<size_t>(text_gbk.size(), 1000)) * look.font_pixels / 2;
  const TextStyle style = look.Style(look.text, kAlignLeft | kAlignVCentre, scale);
  return (text->WidthOf(text_gbk, style) + scale - 1) / scale;
}

void FillList(const PaintContext& context, const SkinRect& area, const SkinRect& clip, SkinColour colour) {
  const SkinRect seen = Intersection(area, clip);
  if (!seen.IsEmpty()) FillArea(context.target, ScaledPosition(seen, context.scale), PixelOf(colour));
}

void OutlineList(const PaintContext& context, const SkinRect& area, const SkinRect& clip, SkinColour colour) {
  FillList(context, {area.left, area.top, area.right, area.top + 1}, clip, colour);
  FillList(context, {area.left, area.bottom - 1, area.right, area.bottom}, clip, colour);
  FillList(context, {area.left, area.top, area.left + 1, area.bottom}, clip, colour);
  FillList(context, {area.right - 1, area.top, area.right, area.bottom}, clip, colour);
}

void DrawPlayMark(const PaintContext& context, const SkinRect& area, const SkinRect& clip,
                  SkinColour colour) {
  constexpr int32_t kHalfHeight = 4;
  const int32_t half = kHalfHeight * context.scale;
  const SkinRect place = ScaledPosition(area, context.scale);
  const SkinRect seen = Intersection(place, ScaledPosition(clip, context.scale));
  const int32_t left = (place.left + place.right - half - half / 2) / 2;
  const int32_t middle = (place.top + place.bottom) / 2;
  const uint32_t pixel = PixelOf(colour);
  for (int32_t y = -half; y < half; ++y) {
    // In quarters of a pixel, so that the slope is smooth.
    const int32_t quarters = (half * 2 - std::abs(2 * y + 1)) * 3;
    const SkinRect line = {left, middle + y, left + quarters / 4, middle + y + 1};
    FillArea(context.target, Intersection(line, seen), pixel);
    const SkinRect edge = {line.right, line.top, line.right + 1, line.bottom};
    const auto cover = static_cast<uint32_t>(quarters % 4) * 64;
    if (cover != 0) FillArea(context.target, Intersection(edge, seen), ScalePixel(pixel, cover));
  }
}

}  // namespace melorin
