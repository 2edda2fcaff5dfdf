// SPDX-License-Identifier: MIT
#include "skin/win32/gdi_text_painter.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"
#include "skin/bitmap_draw.h"
#include "skin/text_line.h"

namespace melorin {

namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

const wchar_t* Wide(const std::u16string& text) {
  return reinterpret_cast<const wchar_t*>(text.c_str());
}

HFONT CreateFontOf(const TextStyle& style, int32_t pixels) {
  LOGFONTW record = {};
  record.lfHeight = -pixels;
  record.lfWeight = style.weight;
  record.lfCharSet = DEFAULT_CHARSET;
  // Colour fringes would need a mask for each channel, and are wrong over a picture.
  record.lfQuality = ANTIALIASED_QUALITY;
  std::u16string face = Utf16FromGbk(style.font_gbk);
  if (face.empty()) face = kUsualFace;
  for (size_t i = 0; i < face.size() && i + 1 < LF_FACESIZE; ++i)
    record.lfFaceName[i] = static_cast<wchar_t>(face[i]);
  return CreateFontIndirectW(&record);
}

}  // namespace

std::unique_ptr<TextPainter> CreateTextPainter() {
  auto painter = std::make_unique<GdiTextPainter>();
  if (!painter->IsReady()) return nullptr;
  return painter;
}

GdiTextPainter::GdiTextPainter() : context_(CreateCompatibleDC(nullptr)) {
  if (context_ == nullptr) return;
  first_font_ = static_cast<HFONT>(GetCurrentObject(context_, OBJ_FONT));
  first_bitmap_ = static_cast<HBITMAP>(GetCurrentObject(context_, OBJ_BITMAP));
  SetTextColor(context_, RGB(255, 255, 255));
  SetBkMode(context_, TRANSPARENT);
  SetTextAlign(context_, TA_LEFT | TA_TOP);
}

GdiTextPainter::~GdiTextPainter() {
  if (context_ == nullptr) return;
  SelectObject(context_, first_font_);
  SelectObject(context_, first_bitmap_);
  for (const auto& [key, font] : fonts_)
    DeleteObject(font.handle);
  if (canvas_ != nullptr) DeleteObject(canvas_);
  DeleteDC(context_);
}

const GdiTextPainter::Font* GdiTextPainter::Select(const TextStyle& style) {
  if (context_ == nullptr) return nullptr;
  const int32_t pixels = std::clamp(style.pixels, 1, kLargestTextPixels);
  Font& font = fonts_[{style.font_gbk, pixels, style.weight}];
  if (font.handle == nullptr) {
    font.handle = CreateFontOf(style, pixels);
    if (font.handle == nullptr) return nullptr;
  }
  SelectObject(context_, font.handle);
  if (font.line_height == 0) {
    TEXTMETRICW metrics = {};
    GetTextMetricsW(context_, &metrics);
    font.line_height = metrics.tmHeight;
  }
  return &font;
}

int32_t GdiTextPainter::Measure(const std::u16string& line) const {
  SIZE size = {};
  GetTextExtentPoint32W(context_, Wide(line), static_cast<int>(line.size()), &size);
  return size.cx;
}

size_t GdiTextPainter::Fits(const std::u16string& line, int32_t width) const {
  int count = 0;
  SIZE size = {};
  GetTextExtentExPointW(context_, Wide(line), static_cast<int>(line.size()), std::max(width, 0), &count,
                        nullptr, &size);
  return static_cast<size_t>(count);
}

bool GdiTextPainter::PrepareCanvas(int32_t width, int32_t height) {
  if (width > canvas_width_ || height > canvas_height_) {
    const int32_t wide = std::max(width, canvas_width_);
    const int32_t high = std::max(height, canvas_height_);
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), wide, -high, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP larger = CreateDIBSection(context_, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (larger == nullptr) return false;
    SelectObject(context_, larger);
    if (canvas_ != nullptr) DeleteObject(canvas_);
    canvas_ = larger;
    canvas_pixels_ = static_cast<uint32_t*>(bits);
    canvas_width_ = wide;
    canvas_height_ = high;
  }
  GdiFlush();
  for (int32_t y = 0; y < height; ++y)
    std::fill_n(canvas_pixels_ + static_cast<ptrdiff_t>(y) * canvas_width_, width, 0);
  return true;
}

void GdiTextPainter::Draw(Bitmap& target, const SkinRect& area, std::string_view text_gbk,
                          const TextStyle& style, int32_t shift) {
  const SkinRect part = Intersection(area, BitmapBounds(target));
  if (part.IsEmpty()) return;
  const Font* font = Select(style);
  if (font == nullptr) return;
  std::u16string line = TextLine(text_gbk);
  if (style.ellipsis)
    CutToWidth(
        line, area.Width(), [this](const std::u16string& text) { return Measure(text); },
        [this](const std::u16string& text, int32_t width) { return Fits(text, width); });
  const TextPlace place = PlaceText(area, style.align, Measure(line), font->line_height, shift);
  if (line.empty() || !PrepareCanvas(part.Width(), part.Height())) return;

  const RECT clip = {0, 0, part.Width(), part.Height()};
  ExtTextOutW(context_, place.x - part.left, place.y - part.top, ETO_CLIPPED, &clip, Wide(line),
              static_cast<UINT>(line.size()), nullptr);
  GdiFlush();
  const uint32_t ink = PixelOf(style.colour);
  for (int32_t y = 0; y < part.Height(); ++y) {
    const uint32_t* mask = canvas_pixels_ + static_cast<ptrdiff_t>(y) * canvas_width_;
    uint32_t* row = target.Row(part.top + y) + part.left;
    for (int32_t x = 0; x < part.Width(); ++x)
      DrawCoverage(row[x], ink, (mask[x] >> 8) & 255);
  }
}

int32_t GdiTextPainter::WidthOf(std::string_view text_gbk, const TextStyle& style) {
  return Select(style) != nullptr ? Measure(TextLine(text_gbk)) : 0;
}

}  // namespace melorin
