// SPDX-License-Identifier: MIT
#include "skin/preview_window.h"

#include <algorithm>
#include <cstdlib>

#include "platform/text.h"
#include "skin/bitmap_draw.h"

namespace melorin {

namespace {

// A window whose image is missing, and the largest one that a preview shows.
constexpr int32_t kPlainWidth = 320;
constexpr int32_t kPlainHeight = 160;
constexpr int32_t kLargestSide = 2000;

int32_t WindowSide(int32_t image, int32_t wanted) {
  return std::max(image, std::min(wanted, kLargestSide));
}

}  // namespace

PreviewCanvas::PreviewCanvas(SkinImages& images, TextPainter* text, std::string_view image_gbk,
                             int32_t wanted_width, int32_t wanted_height)
    : scale_(images.Scale()), painter_(images, text, bitmap_) {
  const Bitmap* image = images.Get(image_gbk);
  if (image != nullptr) {
    image_width_ = std::max(image->width / scale_, 1);
    image_height_ = std::max(image->height / scale_, 1);
  } else {
    image_width_ = kPlainWidth;
    image_height_ = kPlainHeight;
  }
  width_ = WindowSide(image_width_, wanted_width);
  height_ = WindowSide(image_height_, wanted_height);
  bitmap_ = Bitmap(width_ * scale_, height_ * scale_);
}

void PreviewCanvas::PaintButton(const std::optional<SkinButton>& button, bool on) {
  if (!button) return;
  painter_.PaintButton(Placed(button->position, button->align), button->image, ControlState::kNormal, on);
}

void PreviewCanvas::PaintSlider(const std::optional<SkinSlider>& slider, double value) {
  if (slider) painter_.PaintSlider(slider->position, *slider, {value, ControlState::kNormal});
}

void PreviewCanvas::PaintText(const SkinRect& position, const SkinText& style, std::string_view text_utf8) {
  painter_.PaintText(position, style, GbkFromUtf8(text_utf8));
}

void PreviewCanvas::PaintText(const SkinRect& position, const FontRecord& font, SkinColour colour,
                              int32_t align, std::string_view text_utf8) {
  SkinText style;
  style.colour = colour;
  style.font_size = std::abs(font.height);
  style.font = font.FaceGbk();
  style.align = align;
  PaintText(position, style, text_utf8);
}

void PreviewCanvas::PaintCaption(const SkinToolWindow& window, std::string_view caption_utf8) {
  if (window.title) {
    const SkinTitle& title = *window.title;
    const SkinRect position = Placed(title.text.position, kAlignCentre | kAlignTop);
    if (title.image.empty())
      PaintText(position, title.text, caption_utf8);
    else
      painter_.PaintImage(position, title.image, title.text.align);
  }
  PaintButton(window.close);
}

void PreviewCanvas::Fill(const SkinRect& position, SkinColour colour) {
  FillArea(bitmap_, ScaledPosition(position, scale_), PixelOf(colour));
}

}  // namespace melorin
