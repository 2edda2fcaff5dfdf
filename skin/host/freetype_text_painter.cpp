// SPDX-License-Identifier: MIT
//
// Text on the host: previews and pictures for the documents are made there too. FreeType draws the
// characters, fontconfig says which font has them.
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "platform/text.h"
#include "skin/bitmap_draw.h"
#include "skin/text_line.h"
#include "skin/text_painter.h"

namespace melorin {

namespace {

constexpr int32_t kBoldFrom = 600;

struct FontFile {
  std::string path;
  int index = 0;
};

/// The file of a face, or of the one that stands in for it; all of them have Chinese characters.
FontFile FindFont(FcConfig* config, const std::string& face_utf8, bool bold) {
  FcPattern* pattern = FcPatternCreate();
  FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(face_utf8.c_str()));
  FcPatternAddString(pattern, FC_LANG, reinterpret_cast<const FcChar8*>("zh-cn"));
  FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
  FcPatternAddBool(pattern, FC_SCALABLE, FcTrue);
  FcConfigSubstitute(config, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result = FcResultMatch;
  FontFile file;
  if (FcPattern* match = FcFontMatch(config, pattern, &result)) {
    FcChar8* path = nullptr;
    if (FcPatternGetString(match, FC_FILE, 0, &path) == FcResultMatch)
      file.path = reinterpret_cast<const char*>(path);
    FcPatternGetInteger(match, FC_INDEX, 0, &file.index);
    FcPatternDestroy(match);
  }
  FcPatternDestroy(pattern);
  return file;
}

class FreeTypeTextPainter final : public TextPainter {
 public:
  FreeTypeTextPainter() {
    if (FT_Init_FreeType(&library_) != 0) library_ = nullptr;
    config_ = FcInitLoadConfigAndFonts();
  }
  ~FreeTypeTextPainter() override {
    for (const auto& [key, face] : faces_)
      if (face != nullptr) FT_Done_Face(face);
    if (library_ != nullptr) FT_Done_FreeType(library_);
    if (config_ != nullptr) FcConfigDestroy(config_);
  }
  FreeTypeTextPainter(const FreeTypeTextPainter&) = delete;
  FreeTypeTextPainter& operator=(const FreeTypeTextPainter&) = delete;

  bool IsReady() const { return library_ != nullptr && config_ != nullptr; }

  void Draw(Bitmap& target, const SkinRect& area, std::string_view text_gbk, const TextStyle& style,
            int32_t shift) override {
    const SkinRect clip = Intersection(area, BitmapBounds(target));
    FT_Face face = Select(style);
    if (clip.IsEmpty() || face == nullptr) return;
    std::u16string line = TextLine(text_gbk);
    if (style.ellipsis)
      CutToWidth(
          line, area.Width(), [face](const std::u16string& text) { return Measure(face, text); },
          [face](const std::u16string& text, int32_t width) { return Fits(face, text, width); });
    const auto ascent = static_cast<int32_t>(face->size->metrics.ascender >> 6);
    const auto descent = static_cast<int32_t>(-face->size->metrics.descender >> 6);
    TextPlace at = PlaceText(area, style.align, Measure(face, line), ascent + descent, shift);
    const uint32_t ink = PixelOf(style.colour);
    for (size_t i = 0; i < line.size();) {
      const FT_GlyphSlot glyph = Load(face, NextCharacter(line, i), FT_LOAD_RENDER);
      if (glyph == nullptr) continue;
      DrawGlyph(target, clip, at.x + glyph->bitmap_left, at.y + ascent - glyph->bitmap_top, glyph->bitmap,
                ink);
      at.x += static_cast<int32_t>(glyph->advance.x >> 6);
    }
  }

  int32_t WidthOf(std::string_view text_gbk, const TextStyle& style) override {
    FT_Face face = Select(style);
    return face != nullptr ? Measure(face, TextLine(text_gbk)) : 0;
  }

 private:
  FT_Face Select(const TextStyle& style) {
    const bool bold = style.weight >= kBoldFrom;
    FT_Face& face = faces_[{style.font_gbk, bold}];
    if (face == nullptr) {
      const std::string name =
          style.font_gbk.empty() ? Utf8FromUtf16(kUsualFace) : Utf8FromGbk(style.font_gbk);
      const FontFile file = FindFont(config_, name, bold);
      if (FT_New_Face(library_, file.path.c_str(), file.index, &face) != 0) face = nullptr;
    }
    const int32_t pixels = std::clamp(style.pixels, 1, kLargestTextPixels);
    if (face == nullptr || FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixels)) != 0) return nullptr;
    return face;
  }

  static FT_ULong NextCharacter(const std::u16string& line, size_t& i) {
    const char16_t unit = line[i++];
    if ((unit & 0xFC00) == 0xD800 && i < line.size() && (line[i] & 0xFC00) == 0xDC00)
      return 0x10000 + ((unit & 0x3FFu) << 10) + (line[i++] & 0x3FFu);
    return unit;
  }

  /// Outlines alone, so that text looks the same at every size.
  static FT_GlyphSlot Load(FT_Face face, FT_ULong character, FT_Int32 flags) {
    if (FT_Load_Char(face, character, flags | FT_LOAD_NO_BITMAP | FT_LOAD_TARGET_LIGHT) != 0) return nullptr;
    return face->glyph;
  }

  static int32_t Measure(FT_Face face, const std::u16string& line) {
    int32_t width = 0;
    for (size_t i = 0; i < line.size();)
      if (const FT_GlyphSlot glyph = Load(face, NextCharacter(line, i), 0))
        width += static_cast<int32_t>(glyph->advance.x >> 6);
    return width;
  }

  static size_t Fits(FT_Face face, const std::u16string& line, int32_t width) {
    size_t fitting = 0;
    for (size_t i = 0; i < line.size(); fitting = i) {
      if (const FT_GlyphSlot glyph = Load(face, NextCharacter(line, i), 0))
        width -= static_cast<int32_t>(glyph->advance.x >> 6);
      if (width < 0) break;
    }
    return fitting;
  }

  static void DrawGlyph(Bitmap& target, const SkinRect& clip, int32_t left, int32_t top,
                        const FT_Bitmap& mask, uint32_t ink) {
    if (mask.pixel_mode != FT_PIXEL_MODE_GRAY) return;
    const SkinRect part = Intersection(
        clip, {left, top, left + static_cast<int32_t>(mask.width), top + static_cast<int32_t>(mask.rows)});
    for (int32_t y = part.top; y < part.bottom; ++y) {
      const uint8_t* coverage = mask.buffer + static_cast<ptrdiff_t>(y - top) * mask.pitch;
      for (int32_t x = part.left; x < part.right; ++x)
        DrawCoverage(target.Row(y)[x], ink, coverage[x - left]);
    }
  }

  FT_Library library_ = nullptr;
  FcConfig* config_ = nullptr;
  std::map<std::pair<std::string, bool>, FT_Face> faces_;
};

}  // namespace

std::unique_ptr<TextPainter> CreateTextPainter() {
  auto painter = std::make_unique<FreeTypeTextPainter>();
  if (!painter->IsReady()) return nullptr;
  return painter;
}

}  // namespace melorin
