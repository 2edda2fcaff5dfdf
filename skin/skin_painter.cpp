// SPDX-License-Identifier: MIT
//
// Windows, buttons, the digits and texts. The controls with moving parts have files of their own.
#include "skin/skin_painter.h"

#include <algorithm>

#include "skin/bitmap_draw.h"

namespace melorin {

namespace {

constexpr uint32_t kPlainWindow = 0xFFF0F0F0;

/// Larger characters are larger than any window's field.
constexpr int32_t kLargestFont = 256;

void DrawWindowPart(Bitmap& target, const SkinRect& area, const Bitmap& image, const SkinRect& cell,
                    bool tile) {
  if (tile)
    DrawTiled(target, area, image, cell, Combine::kReplace);
  else
    DrawStretched(target, area, image, cell, Combine::kReplace);
}

/// Where `length` pixels begin between `low` and `high`, by one part of an alignment (1, 2 or 3).
int32_t AlignedStart(int32_t part, int32_t low, int32_t high, int32_t length) {
  if (part == 3) return high - length;
  if (part == 2) return low + (high - low - length) / 2;
  return low;
}

}  // namespace

void SkinPainter::PaintWindow(std::string_view image_gbk, const SkinRect& resize_rect, bool tile) {
  const SkinRect all = BitmapBounds(target_);
  const Bitmap* image = images_.Get(image_gbk);
  if (image == nullptr) return FillArea(target_, all, kPlainWindow, Combine::kReplace);
  if (resize_rect.IsEmpty() || (image->width == target_.width && image->height == target_.height)) {
    if (image->width < target_.width || image->height < target_.height)
      FillArea(target_, all, 0, Combine::kReplace);
    return DrawCell(target_, all, 0, 0, *image, BitmapBounds(*image), Combine::kReplace);
  }
  const SkinRect grows = ScaledPosition(resize_rect, images_.Scale());
  const GrowingAxis across = LayOutGrowing(image->width, grows.left, grows.right, target_.width);
  const GrowingAxis down = LayOutGrowing(image->height, grows.top, grows.bottom, target_.height);
  const int32_t from_x[] = {0, across.image_low, across.image_high, image->width};
  const int32_t from_y[] = {0, down.image_low, down.image_high, image->height};
  const int32_t to_x[] = {0, across.low, across.high, target_.width};
  const int32_t to_y[] = {0, down.low, down.high, target_.height};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      const SkinRect area = {to_x[column], to_y[row], to_x[column + 1], to_y[row + 1]};
      const SkinRect cell = {from_x[column], from_y[row], from_x[column + 1], from_y[row + 1]};
      if (row != 1 && column != 1)
        DrawCell(target_, area, area.left, area.top, *image, cell, Combine::kReplace);
      else
        DrawWindowPart(target_, area, *image, cell, tile);
    }
  }
}

void SkinPainter::PaintImage(const SkinRect& position, std::string_view image_gbk, int32_t align) {
  const Bitmap* image = images_.Get(image_gbk);
  if (image == nullptr) return;
  const SkinRect place = ScaledPosition(position, images_.Scale());
  const int32_t x = AlignedStart(align & kAlignHorizontalMask, place.left, place.right, image->width);
  const int32_t y = AlignedStart((align & kAlignVerticalMask) >> 4, place.top, place.bottom, image->height);
  DrawCell(target_, place, x, y, *image, BitmapBounds(*image));
}

void SkinPainter::PaintButton(const SkinRect& position, std::string_view image_gbk, ControlState state,
                              bool on) {
  const Bitmap* image = images_.Get(image_gbk);
  if (image == nullptr) return;
  const SkinRect place = ScaledPosition(position, images_.Scale());
  const SkinRect cell = ButtonCell(*image, place.Width(), place.Height(), state, on);
  const SkinRect drawn = CentredIn(place, cell.Width(), cell.Height());
  DrawCell(target_, place, drawn.left, drawn.top, *image, cell);
}

void SkinPainter::PaintLed(const SkinLed& led, std::string_view digits) {
  const Bitmap* image = images_.Get(led.image);
  if (image == nullptr) return;
  const SkinRect place = ScaledPosition(led.position, images_.Scale());
  const int32_t width = image->width / kLedCells;
  const auto shown = [](char character) {
    return character == ' ' || kLedCharacters.find(character) != std::string_view::npos;
  };
  // No display is wider than its window.
  const auto count = std::min<int64_t>(std::count_if(digits.begin(), digits.end(), shown), 256);
  int32_t x = AlignedStart(led.align & kAlignHorizontalMask, place.left, place.right,
                           static_cast<int32_t>(count) * width);
  const int32_t y =
      AlignedStart((led.align & kAlignVerticalMask) >> 4, place.top, place.bottom, image->height);
  for (const char character : digits) {
    if (!shown(character)) continue;
    DrawCell(target_, place, x, y, *image, LedCell(*image, character));
    x += width;
    if (x >= place.right) break;
  }
}

int32_t SkinPainter::LedCharactersIn(const SkinLed& led) {
  const Bitmap* image = images_.Get(led.image);
  const int32_t width = image != nullptr ? image->width / kLedCells : 0;
  return width > 0 ? ScaledPosition(led.position, images_.Scale()).Width() / width : 0;
}

void SkinPainter::PaintText(const SkinRect& position, const SkinText& style, std::string_view text_gbk,
                            int32_t shift, bool ellipsis) {
  const int32_t scale = images_.Scale();
  const SkinRect place = ScaledPosition(position, scale);
  if (style.background != kNoColour) FillArea(target_, place, PixelOf(style.background));
  if (text_ == nullptr || place.IsEmpty()) return;
  text_style_.font_gbk = style.font;
  text_style_.pixels = std::clamp(style.font_size, 1, kLargestFont) * scale;
  text_style_.colour = style.colour;
  text_style_.align = style.align;
  text_style_.ellipsis = ellipsis;
  text_->Draw(target_, place, text_gbk, text_style_, shift * scale);
}

}  // namespace melorin
