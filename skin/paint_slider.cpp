// SPDX-License-Identifier: MIT
#include "skin/bitmap_draw.h"
#include "skin/skin_painter.h"

namespace melorin {

namespace {

void DrawCentred(Bitmap& target, const SkinRect& place, const SkinRect& clip, const Bitmap& image,
                 const SkinRect& cell) {
  const SkinRect drawn = CentredIn(place, cell.Width(), cell.Height());
  DrawCell(target, Intersection(place, clip), drawn.left, drawn.top, image, cell);
}

}  // namespace

SkinRect SkinPainter::SliderThumbOf(const SkinRect& position, const SkinSlider& slider, double value) {
  const Bitmap* thumb = images_.Get(slider.thumb_image);
  const SkinRect cell = thumb != nullptr ? ThumbCell(*thumb, ControlState::kNormal) : SkinRect{};
  return SliderThumb(ScaledPosition(position, images_.Scale()), cell.Width(), cell.Height(), slider.vertical,
                     value);
}

void SkinPainter::PaintSlider(const SkinRect& position, const SkinSlider& slider, const SliderLook& look) {
  const SkinRect place = ScaledPosition(position, images_.Scale());
  const Bitmap* bar = images_.Get(slider.bar_image);
  const Bitmap* fill = images_.Get(slider.fill_image);
  const Bitmap* thumb = images_.Get(slider.thumb_image);
  const SkinRect cell = thumb != nullptr ? ThumbCell(*thumb, look.thumb) : SkinRect{};
  const SkinRect knob = SliderThumb(place, cell.Width(), cell.Height(), slider.vertical, look.value);

  if (bar != nullptr) DrawCentred(target_, place, place, *bar, BitmapBounds(*bar));
  if (fill != nullptr) {
    SkinRect filled = place;
    if (slider.vertical)
      filled.top = knob.top + knob.Height() / 2;
    else
      filled.right = knob.left + knob.Width() / 2;
    DrawCentred(target_, place, filled, *fill, BitmapBounds(*fill));
  }
  if (thumb != nullptr) DrawCell(target_, place, knob.left, knob.top, *thumb, cell);
}

}  // namespace melorin
