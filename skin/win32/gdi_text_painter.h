// SPDX-License-Identifier: MIT
//
// GdiTextPainter: text by GDI, which knows nothing of transparency: it draws white on black beside the
// target, and how white a pixel came out is how much of it the text covers.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>

#include "skin/text_painter.h"

namespace melorin {

class GdiTextPainter final : public TextPainter {
 public:
  GdiTextPainter();
  ~GdiTextPainter() override;
  GdiTextPainter(const GdiTextPainter&) = delete;
  GdiTextPainter& operator=(const GdiTextPainter&) = delete;

  /// False when the system gave no memory context; then nothing is drawn.
  bool IsReady() const { return context_ != nullptr; }
  void Draw(Bitmap& target, const SkinRect& area, std::string_view text_gbk, const TextStyle& style,
            int32_t shift) override;
  int32_t WidthOf(std::string_view text_gbk, const TextStyle& style) override;

 private:
  struct Font {
    HFONT handle = nullptr;
    int32_t line_height = 0;
  };
  using FontKey = std::tuple<std::string, int32_t, int32_t>;  ///< Face, pixels, weight.

  /// Selects the font; null when there is none.
  const Font* Select(const TextStyle& style);
  int32_t Measure(const std::u16string& line) const;
  size_t Fits(const std::u16string& line, int32_t width) const;
  /// A black canvas of at least that size.
  bool PrepareCanvas(int32_t width, int32_t height);

  HDC context_ = nullptr;
  HFONT first_font_ = nullptr;  ///< What the context came with.
  HBITMAP first_bitmap_ = nullptr;
  HBITMAP canvas_ = nullptr;
  uint32_t* canvas_pixels_ = nullptr;
  int32_t canvas_width_ = 0;
  int32_t canvas_height_ = 0;
  std::map<FontKey, Font> fonts_;
};

}  // namespace melorin
