// SPDX-License-Identifier: MIT
#include "skin/skin_preview.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text.h"
#include "skin/bitmap_draw.h"
#include "skin/skin_reader.h"
#include "skin/text_line.h"
#include "skin/text_painter.h"

namespace melorin {
namespace {

// --- Texts, through the system's own fonts ---

constexpr uint32_t kPaper = 0xFFFFFFFF;

Bitmap Sheet(int32_t width, int32_t height, uint32_t pixel) {
  Bitmap sheet(width, height);
  FillArea(sheet, BitmapBounds(sheet), pixel, Combine::kReplace);
  return sheet;
}

/// The least rectangle around all pixels that are not `paper`.
SkinRect InkOf(const Bitmap& bitmap, uint32_t paper) {
  SkinRect ink = {bitmap.width, bitmap.height, 0, 0};
  for (int32_t y = 0; y < bitmap.height; ++y)
    for (int32_t x = 0; x < bitmap.width; ++x)
      if (bitmap.Row(y)[x] != paper)
        ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x + 1),
               std::max(ink.bottom, y + 1)};
  return ink;
}

class TextPainting : public ::testing::Test {
 protected:
  void SetUp() override {
    painter_ = CreateTextPainter();
    ASSERT_NE(painter_, nullptr);
    style_.pixels = 16;
    ASSERT_GT(painter_->WidthOf(text_, style_), 0) << "no font";
  }
  SkinRect DrawnInk(const SkinRect& area, int32_t shift = 0) {
    Bitmap sheet = Sheet(200, 40, kPaper);
    painter_->Draw(sheet, area, text_, style_, shift);
    return InkOf(sheet, kPaper);
  }

  std::unique_ptr<TextPainter> painter_;
  TextStyle style_;
  std::string text_ = GbkFromUtf8("永远的晴天");
};

TEST_F(TextPainting, LiesWhereItsAlignmentSays) {
  const int32_t width = painter_->WidthOf(text_, style_);
  ASSERT_LT(width, 140);
  const struct {
    int32_t align;
    int32_t left;
  } kCases[] = {{kAlignLeft, 20}, {kAlignCentre, 20 + (160 - width) / 2}, {kAlignRight, 180 - width}};
  for (const auto& c : kCases) {
    style_.align = c.align | kAlignVCentre;
    const SkinRect ink = DrawnInk({20, 5, 180, 35});
    // Glyphs have a little air around them.
    EXPECT_NEAR(ink.left, c.left, 2) << c.align;
    EXPECT_NEAR(ink.right, c.left + width, 3) << c.align;
    EXPECT_NEAR((ink.top + ink.bottom) / 2, 20, 3) << c.align;
  }
}

TEST_F(TextPainting, StaysInItsAreaAndTheBitmap) {
  text_ = GbkFromUtf8("很长很长的标题一直写到窗口外面去也没有人看得见它的结尾");
  const SkinRect area = {30, 12, 90, 22};
  for (const bool ellipsis : {true, false}) {
    for (const int32_t shift : {0, 37, -20}) {
      style_.ellipsis = ellipsis;
      const SkinRect ink = DrawnInk(area, shift);
      EXPECT_GE(ink.left, area.left);
      EXPECT_GE(ink.top, area.top);
      EXPECT_LE(ink.right, area.right);
      EXPECT_LE(ink.bottom, area.bottom);
    }
  }
  for (const SkinRect& odd : {SkinRect{-500, -10, -400, 10}, SkinRect{190, 30, 5000, 900},
                              SkinRect{9, 9, 9, 9}, SkinRect{-kFarthestPixel, 0, kFarthestPixel, 40}})
    DrawnInk(odd);
}

TEST_F(TextPainting, SlidesPixelByPixel) {
  style_.ellipsis = false;
  style_.align = kAlignLeft | kAlignVCentre;
  const SkinRect still = DrawnInk({20, 5, 180, 35});
  const SkinRect moved = DrawnInk({20, 5, 180, 35}, -13);
  EXPECT_EQ(moved.left, still.left + 13);
  EXPECT_EQ(moved.right, still.right + 13);
}

TEST_F(TextPainting, CoversTransparentPixelsByAsMuchAsThereIsInk) {
  Bitmap sheet = Sheet(120, 30, 0);
  style_.colour = 0x0000FF;  // Red.
  painter_->Draw(sheet, BitmapBounds(sheet), text_, style_);
  uint32_t most = 0;
  for (const uint32_t pixel : sheet.pixels) {
    most = std::max(most, pixel >> 24);
    ASSERT_EQ(pixel >> 16 & 255, pixel >> 24) << "a halo: more or less colour than the pixel is covered";
    ASSERT_EQ(pixel & 0xFFFF, 0u);
  }
  EXPECT_GT(most, 200u);
}

TEST(TextLine, IsCutBetweenCharactersWithAnEllipsis) {
  // Each code unit is 10 wide, the ellipsis too.
  const auto width_of = [](const std::u16string& line) { return static_cast<int32_t>(line.size()) * 10; };
  const auto fits = [](const std::u16string& line, int32_t width) {
    return std::min(line.size(), static_cast<size_t>(std::max(width, 0)) / 10);
  };
  const struct {
    std::u16string line;
    int32_t width;
    std::u16string cut;
  } kCases[] = {{u"abcd", 40, u"abcd"},      {u"abcd", 39, u"ab\u2026"},
                {u"ab cd", 40, u"ab\u2026"}, {u"a\U0001F3B5bc", 30, u"a\u2026"},
                {u"abcd", 0, u"\u2026"},     {u"", 0, u""}};
  for (const auto& c : kCases) {
    std::u16string line = c.line;
    CutToWidth(line, c.width, width_of, fits);
    EXPECT_EQ(line, c.cut) << c.width;
  }
  EXPECT_EQ(TextLine("a\tb\r\nc"), u"a b  c");
}

// --- Windows ---

/// Has no files: windows are plain and controls are not to be seen.
class EmptyPackage final : public SkinPackage {
 public:
  bool Read(std::string_view, std::vector<uint8_t>& out) override {
    out.clear();
    return false;
  }
  std::vector<std::string> NamesGbk() const override { return {}; }
};

constexpr SkinWindow kAll[] = {SkinWindow::kPlayer, SkinWindow::kMini, SkinWindow::kLyric,
                               SkinWindow::kEqualizer, SkinWindow::kPlaylist};

TEST(SkinPreview, OfTheDefaultSkinHasTheSizesOfItsDescriptionAndMissesNothing) {
  std::unique_ptr<SkinPackage> package;
  ASSERT_EQ(OpenSkinPackage(kDefaultSkinName, &package), SkinPackageResult::kOpened);
  std::vector<uint8_t> bytes;
  ASSERT_TRUE(package->Read(kSkinFileName, bytes));
  SkinDescription skin;
  ASSERT_EQ(ReadSkinDescription(bytes, skin), SkinReadResult::kRead);
  for (const int32_t scale : {1, 2}) {
    SkinImages images(*package, skin.transparent_colour, scale);
    for (const SkinWindow window : kAll)
      EXPECT_FALSE(PreviewWindow(skin, window, images, nullptr).IsEmpty()) << static_cast<int>(window);
    const Bitmap list = PreviewWindow(skin, SkinWindow::kPlaylist, images, nullptr);
    EXPECT_EQ(list.width, skin.playlist_window->position.Width() * scale);
    EXPECT_EQ(list.height, skin.playlist_window->position.Height() * scale);
    const Bitmap sheet = PreviewSheet(skin, images, nullptr);
    EXPECT_TRUE(std::all_of(sheet.pixels.begin(), sheet.pixels.end(),
                            [](uint32_t pixel) { return pixel >> 24 == 255; }));
    EXPECT_TRUE(images.Missing().empty());
  }
}

TEST(SkinPreview, OfASkinWithoutWindowsIsEmpty) {
  EmptyPackage package;
  SkinImages images(package, kNoColour, 1);
  for (const SkinWindow window : kAll)
    EXPECT_TRUE(PreviewWindow({}, window, images, nullptr).IsEmpty());
  EXPECT_TRUE(PreviewSheet({}, images, nullptr).IsEmpty());
}

TEST(SkinPreview, SurvivesWhateverAFileSays) {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
  EmptyPackage package;
  const auto text = CreateTextPainter();
  for (const SkinRect& rect :
       {SkinRect{kLeast, kLeast, kMost, kMost}, SkinRect{kMost, kMost, kLeast, kLeast}}) {
    SkinText field;
    field.position = rect;
    field.background = 0;
    field.font_size = field.align = kMost;
    SkinToolWindow tool;
    tool.position = tool.resize_rect = rect;
    tool.title = SkinTitle{field, ""};
    tool.close = SkinButton{rect, "x", kMost};
    SkinDescription skin;
    skin.player_window.emplace();
    skin.player_window->visual = skin.player_window->lyric = SkinArea{rect};
    skin.player_window->info = field;
    skin.player_window->progress = SkinSlider{rect, "x", "x", "x", true};
    skin.lyric_window.emplace();
    skin.equalizer_window.emplace();
    skin.playlist_window.emplace();
    static_cast<SkinToolWindow&>(*skin.lyric_window) = tool;
    static_cast<SkinToolWindow&>(*skin.equalizer_window) = tool;
    static_cast<SkinToolWindow&>(*skin.playlist_window) = tool;
    skin.lyric_window->lyric = skin.playlist_window->playlist = SkinArea{rect};
    skin.equalizer_window->eqfactor = SkinSlider{rect, "x", "x", "x", false};
    skin.equalizer_window->eq_interval = kMost;
    skin.playlist_window->scrollbar = SkinScrollBar{"x", "x", "x", kMost, 1};
    SkinImages images(package, kNoColour, 1);
    const Bitmap sheet = PreviewSheet(skin, images, text.get());
    EXPECT_FALSE(sheet.IsEmpty());
    EXPECT_LT(sheet.pixels.size(), 20u << 20);
  }
}

}  // namespace
}  // namespace melorin
