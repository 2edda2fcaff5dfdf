// SPDX-License-Identifier: MIT
//
// The toolbar and the scroll bar.
#include <algorithm>

#include "skin/bitmap_draw.h"
#include "skin/skin_painter.h"

namespace melorin {

namespace {

constexpr int32_t kScrollButtonRows = 2;
/// Of a thumb without an image, or with a very low one; 1x pixels.
constexpr int32_t kLeastThumb = 12;

/// A column of an image made longer or shorter: its ends stay, `grown` pixels in the middle follow.
void DrawColumn(Bitmap& target, const SkinRect& place, const Bitmap& image, const SkinRect& cell,
                int32_t grown, bool tile) {
  const int32_t low = (cell.Height() - grown) / 2;
  const GrowingAxis axis = LayOutGrowing(cell.Height(), low, low + grown, place.Height());
  const int32_t left = CentredIn(place, cell.Width(), cell.Height()).left;
  const SkinRect wide = {left, place.top, left + cell.Width(), place.bottom};
  const SkinRect clip = Intersection(place, wide);
  DrawCell(target, {clip.left, place.top, clip.right, place.top + axis.low}, left, place.top, image,
           {cell.left, cell.top, cell.right, cell.top + axis.image_low});
  // Never wider than the place, so that the stretched part needs no clip of its own.
  const int32_t cut = clip.left - wide.left;
  const SkinRect middle = {cell.left + cut, cell.top + axis.image_low, cell.left + cut + clip.Width(),
                           cell.top + axis.image_high};
  const SkinRect grows = {clip.left, place.top + axis.low, clip.right, place.top + axis.high};
  if (tile)
    DrawTiled(target, grows, image, middle);
  else
    DrawStretched(target, grows, image, middle);
  // The end is drawn from below, and loses its upper part where there is no place for it.
  const int32_t end_height = cell.Height() - axis.image_high;
  DrawCell(target, {clip.left, grows.bottom, clip.right, place.bottom}, left, place.bottom - end_height,
           image, {cell.left, cell.top + axis.image_high, cell.right, cell.bottom});
}

SkinRect ScrollButtonCell(const Bitmap& image, ControlState state, int32_t row) {
  return GridCell(image, 4, kScrollButtonRows, static_cast<int32_t>(state), row);
}

void DrawScrollButton(Bitmap& target, const SkinRect& place, const Bitmap& image, ControlState state,
                      int32_t row) {
  const SkinRect cell = ScrollButtonCell(image, state, row);
  const SkinRect drawn = CentredIn(place, cell.Width(), cell.Height());
  DrawCell(target, place, drawn.left, drawn.top, image, cell);
}

}  // namespace

void SkinPainter::PaintToolbar(const SkinRect& position, std::string_view image_gbk, int32_t hot_button,
                               ControlState hot_state) {
  const Bitmap* image = images_.Get(image_gbk);
  if (image == nullptr) return;
  const SkinRect place = ScaledPosition(position, images_.Scale());
  for (int32_t button = 0; button < kToolbarButtons; ++button) {
    const ControlState state = button == hot_button ? hot_state : ControlState::kNormal;
    const SkinRect cell =
        GridCell(*image, kToolbarButtons, kToolbarRows, button, static_cast<int32_t>(state));
    const SkinRect slot = ToolbarButtonPosition(place, button);
    const SkinRect drawn = CentredIn(slot, cell.Width(), cell.Height());
    DrawCell(target_, slot, drawn.left, drawn.top, *image, cell);
  }
}

int32_t SkinPainter::ScrollBarWidth(const SkinScrollBar& bar) {
  int32_t width = 0;
  if (const Bitmap* image = images_.Get(bar.bar_image)) width = image->width;
  if (const Bitmap* image = images_.Get(bar.buttons_image)) width = std::max(width, image->width / 4);
  if (const Bitmap* image = images_.Get(bar.thumb_image)) width = std::max(width, image->width / 4);
  return (width + images_.Scale() - 1) / images_.Scale();
}

ScrollBarParts SkinPainter::ScrollBarPartsOf(const SkinRect& position, const SkinScrollBar& bar,
                                             const ScrollBarLook& look) {
  const int32_t scale = images_.Scale();
  const Bitmap* buttons = images_.Get(bar.buttons_image);
  const Bitmap* thumb = images_.Get(bar.thumb_image);
  const int32_t kept =
      thumb != nullptr ? thumb->height - std::clamp(bar.thumb_resize_center, 0, kFarthestPixel / 2) * scale
                       : 0;
  return LayOutScrollBar(ScaledPosition(position, scale),
                         buttons != nullptr ? buttons->height / kScrollButtonRows : 0,
                         std::max(kept, kLeastThumb * scale), look.page, look.position);
}

void SkinPainter::PaintScrollThumb(const SkinRect& place, const SkinScrollBar& bar, ControlState state) {
  const Bitmap* image = images_.Get(bar.thumb_image);
  if (image == nullptr || place.IsEmpty()) return;
  const SkinRect cell = ThumbCell(*image, state);
  const int32_t grown = std::clamp(
      std::clamp(bar.thumb_resize_center, 0, kFarthestPixel / 2) * images_.Scale(), 0, cell.Height());
  DrawColumn(target_, place, *image, cell, std::max(grown, 1), bar.thumb_resize_tile != 0);
}

void SkinPainter::PaintScrollBar(const SkinRect& position, const SkinScrollBar& bar,
                                 const ScrollBarLook& look) {
  const SkinRect place = ScaledPosition(position, images_.Scale());
  const ScrollBarParts parts = ScrollBarPartsOf(position, bar, look);
  if (const Bitmap* image = images_.Get(bar.bar_image))
    DrawColumn(target_, place, *image, BitmapBounds(*image), 1, true);
  if (const Bitmap* image = images_.Get(bar.buttons_image)) {
    DrawScrollButton(target_, parts.up, *image, look.up, 0);
    DrawScrollButton(target_, parts.down, *image, look.down, 1);
  }
  PaintScrollThumb(parts.thumb, bar, look.thumb);
}

}  // namespace melorin
