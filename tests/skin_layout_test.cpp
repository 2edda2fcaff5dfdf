// SPDX-License-Identifier: MIT
#include "skin/skin_layout.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "skin/bitmap_draw.h"
#include "skin/image_file.h"
#include "skin/skin_images.h"
#include "skin/skin_painter.h"

namespace melorin {

static void PrintTo(const SkinRect& r, std::ostream* out) {
  *out << r.left << ',' << r.top << ',' << r.right << ',' << r.bottom;
}

namespace {

constexpr int32_t kHuge = std::numeric_limits<int32_t>::max();
constexpr int32_t kTiny = std::numeric_limits<int32_t>::min();

TEST(SkinLayout, ButtonCells) {
  const struct {
    int32_t image_width, image_height;
    ControlState state;
    bool on;
    SkinRect cell;
  } kCases[] = {
      // Buttons of 10 by 10 pixels with 4, 3, 2 and 1 cells, then with a second row.
      {40, 10, ControlState::kNormal, false, {0, 0, 10, 10}},
      {40, 10, ControlState::kDisabled, false, {30, 0, 40, 10}},
      {40, 10, ControlState::kNormal, true, {20, 0, 30, 10}},
      {30, 10, ControlState::kPressed, false, {20, 0, 30, 10}},
      {30, 10, ControlState::kDisabled, false, {0, 0, 10, 10}},
      {20, 10, ControlState::kHover, false, {0, 0, 10, 10}},
      {20, 10, ControlState::kPressed, false, {10, 0, 20, 10}},
      {10, 10, ControlState::kPressed, false, {0, 0, 10, 10}},
      {40, 20, ControlState::kHover, false, {10, 0, 20, 10}},
      {40, 20, ControlState::kHover, true, {10, 10, 20, 20}},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(ButtonCell(Bitmap(c.image_width, c.image_height), 10, 10, c.state, c.on), c.cell)
        << c.image_width << 'x' << c.image_height << " state " << static_cast<int>(c.state) << " on " << c.on;
  const Bitmap digits(120, 16);
  EXPECT_EQ(LedCell(digits, '9'), (SkinRect{90, 0, 100, 16}));
  EXPECT_EQ(LedCell(digits, '-'), (SkinRect{110, 0, 120, 16}));
  EXPECT_TRUE(LedCell(digits, ' ').IsEmpty());
}

TEST(SkinLayout, AlignedControlsKeepTheirDistanceToTheEdgesTheyName) {
  const SkinRect position = {10, 20, 30, 40};
  const struct {
    int32_t align;
    SkinRect placed;
  } kCases[] = {{0, {10, 20, 30, 40}},
                {kAlignLeft | kAlignTop, {10, 20, 30, 40}},
                {kAlignRight | kAlignTop, {110, 20, 130, 40}},
                {kAlignCentre | kAlignVCentre, {10, 20, 130, 90}},
                {kAlignRight | kAlignBottom, {110, 70, 130, 90}}};
  for (const auto& c : kCases)
    EXPECT_EQ(AlignedPosition(position, c.align, 100, 100, 200, 150), c.placed) << c.align;
}

TEST(SkinLayout, WhereASliderIsDraggedToIsWhereItsThumbStands) {
  const SkinRect horizontal = {100, 10, 300, 20};
  EXPECT_EQ(SliderThumb(horizontal, 20, 10, false, 0).left, 100);
  EXPECT_EQ(SliderThumb(horizontal, 20, 10, false, 1).right, 300);
  EXPECT_EQ(SliderThumb(horizontal, 20, 10, false, 7).right, 300) << "never beyond";
  const SkinRect vertical = {10, 100, 20, 300};
  EXPECT_EQ(SliderThumb(vertical, 10, 20, true, 0).bottom, 300) << "from the bottom";
  EXPECT_EQ(SliderThumb(vertical, 10, 20, true, 1).top, 100);
  for (int step = 0; step <= 180; ++step) {
    const double value = step / 180.0;
    const SkinRect across = SliderThumb(horizontal, 20, 10, false, value);
    EXPECT_NEAR(SliderValueAt(horizontal, 20, 10, false, across.left + 10), value, 0.003);
    const SkinRect up = SliderThumb(vertical, 10, 20, true, value);
    EXPECT_NEAR(SliderValueAt(vertical, 10, 20, true, up.top + 10), value, 0.003);
  }
  EXPECT_EQ(SliderValueAt(horizontal, 500, 10, false, 200), 0) << "no way to go";
}

TEST(SkinLayout, ScrollBarsHaveTheirPartsInOrderAtAnyLength) {
  for (int32_t height = 0; height < 200; height += 7) {
    for (const double page : {0.0, 0.01, 0.5, 0.999, 1.0}) {
      for (const double scroll : {-1.0, 0.0, 0.3, 1.0, 5.0}) {
        const SkinRect position = {5, 50, 15, 50 + height};
        const ScrollBarParts parts = LayOutScrollBar(position, 16, 12, page, scroll);
        EXPECT_EQ(parts.up.top, 50);
        EXPECT_LE(parts.up.bottom, parts.track.top);
        EXPECT_LE(parts.track.bottom, parts.down.top);
        EXPECT_EQ(parts.down.bottom, 50 + height);
        if (parts.thumb.IsEmpty()) continue;
        EXPECT_LT(page, 1);
        EXPECT_GE(parts.thumb.Height(), 12);
        EXPECT_GE(parts.thumb.top, parts.track.top);
        EXPECT_LE(parts.thumb.bottom, parts.track.bottom);
        const int32_t way = parts.track.Height() - parts.thumb.Height();
        if (way <= 0) continue;
        EXPECT_NEAR(ScrollAt(parts, parts.thumb.top), std::min(std::max(scroll, 0.0), 1.0), 0.51 / way);
      }
    }
  }
}

TEST(SkinLayout, TheMiddleOfAWindowGrows) {
  const GrowingAxis grown = LayOutGrowing(100, 30, 80, 250);
  EXPECT_EQ(grown.image_low, 30);
  EXPECT_EQ(grown.image_high, 80);
  EXPECT_EQ(grown.low, 30);
  EXPECT_EQ(grown.high, 230);
  EXPECT_EQ(EqualizerBandPosition({20, 5, 32, 80}, 6, 9), (SkinRect{182, 5, 194, 80}));
}

// --- Drawing, against what it means pixel by pixel ---

Bitmap Noise(int32_t width, int32_t height, std::mt19937& random) {
  Bitmap bitmap(width, height);
  for (uint32_t& pixel : bitmap.pixels)
    pixel = PixelOf(static_cast<SkinColour>(random() & 0xFFFFFF), random() % 3 * 127);
  return bitmap;
}

bool Inside(const SkinRect& r, int32_t x, int32_t y) {
  return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
}

TEST(BitmapDraw, CopiesAndRepeatsWhatTheirAreasSay) {
  std::mt19937 random(7);
  const auto number = [&](int32_t low, int32_t high) {
    return low + static_cast<int32_t>(random() % static_cast<uint32_t>(high - low + 1));
  };
  const auto rect = [&](int32_t reach) {
    const int32_t left = number(-reach, reach), top = number(-reach, reach);
    return SkinRect{left, top, left + number(-3, reach), top + number(-3, reach)};
  };
  for (int round = 0; round < 600; ++round) {
    const Bitmap source = Noise(number(1, 9), number(1, 9), random);
    const Bitmap before = Noise(12, 10, random);
    const auto combine = round % 2 ? Combine::kReplace : Combine::kOver;
    const SkinRect area = rect(14);
    const SkinRect cell = Intersection(rect(9), BitmapBounds(source));
    const bool tiled = round % 3 == 0;
    const int32_t x0 = tiled ? area.left : number(-8, 12);
    const int32_t y0 = tiled ? area.top : number(-8, 12);
    Bitmap target = before;
    if (tiled)
      DrawTiled(target, area, source, cell, combine);
    else
      DrawCell(target, area, x0, y0, source, cell, combine);
    for (int32_t y = 0; y < before.height; ++y) {
      for (int32_t x = 0; x < before.width; ++x) {
        uint32_t expected = before.Row(y)[x];
        int32_t sx = x - x0, sy = y - y0;
        if (tiled && !cell.IsEmpty()) {
          sx %= cell.Width();
          sy %= cell.Height();
        }
        if (Inside(area, x, y) && Inside({0, 0, cell.Width(), cell.Height()}, sx, sy)) {
          const uint32_t above = source.Row(cell.top + sy)[cell.left + sx];
          expected = combine == Combine::kReplace ? above : PixelOver(expected, above);
        }
        ASSERT_EQ(target.Row(y)[x], expected) << "round " << round << " at " << x << ',' << y;
      }
    }
  }
}

TEST(BitmapDraw, StretchesWithoutWhatLiesBesideTheCell) {
  Bitmap source(6, 1);
  for (int32_t x = 0; x < 6; ++x)
    source.pixels[static_cast<size_t>(x)] =
        x == 0 || x == 5 ? 0xFFFF0000 : 0xFF000000 | static_cast<uint32_t>(x);
  Bitmap target(40, 3);
  DrawStretched(target, {0, 0, 40, 3}, source, {1, 0, 5, 1}, Combine::kReplace);
  uint32_t last = 0;
  for (int32_t x = 0; x < 40; ++x) {
    const uint32_t pixel = target.Row(1)[x];
    EXPECT_EQ(pixel & 0x00FF0000, 0u) << x;
    EXPECT_GE(pixel & 0xFF, last) << x;
    last = pixel & 0xFF;
  }
  EXPECT_EQ(target.Row(0)[0] & 0xFF, 1u);
  EXPECT_EQ(target.Row(2)[39] & 0xFF, 4u);
}

// --- Controls ---

class FakePackage final : public SkinPackage {
 public:
  void Add(const std::string& name, const Bitmap& bitmap) { EncodePng(bitmap, files_[name]); }
  bool Read(std::string_view name, std::vector<uint8_t>& out) override {
    ++reads;
    const auto found = files_.find(std::string(name));
    out.clear();
    if (found != files_.end()) out = found->second;
    return found != files_.end();
  }
  std::vector<std::string> NamesGbk() const override { return {}; }
  int reads = 0;

 private:
  std::map<std::string, std::vector<uint8_t>> files_;
};

/// Columns of that many pixels, of one colour each.
Bitmap Columns(int32_t cell_width, int32_t height, std::initializer_list<uint32_t> colours) {
  Bitmap bitmap(cell_width * static_cast<int32_t>(colours.size()), height);
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < bitmap.width; ++x)
      bitmap.Row(y)[x] = *(colours.begin() + x / cell_width);
  return bitmap;
}

constexpr uint32_t kRed = 0xFFFF0000, kGreen = 0xFF00FF00, kBlue = 0xFF0000FF, kWhite = 0xFFFFFFFF;

TEST(SkinImages, TakeTheDenseImageOrDoubleTheOther) {
  FakePackage package;
  package.Add("a.png", Columns(1, 1, {kRed, kGreen}));
  package.Add("b.png", Columns(1, 1, {kRed, kGreen}));
  package.Add("b@2x.png", Columns(2, 2, {kBlue, kWhite}));
  SkinImages dense(package, kNoColour, 2);
  ASSERT_NE(dense.Get("a.png"), nullptr);
  EXPECT_EQ(dense.Get("a.png")->pixels, (Columns(2, 2, {kRed, kGreen}).pixels));
  ASSERT_NE(dense.Get("b.png"), nullptr);
  EXPECT_EQ(dense.Get("b.png")->pixels, (Columns(2, 2, {kBlue, kWhite}).pixels));
  const int reads = package.reads;
  EXPECT_EQ(dense.Get("gone.png"), nullptr);
  EXPECT_EQ(dense.Get("gone.png"), nullptr);
  EXPECT_EQ(dense.Get(""), nullptr);
  dense.Get("b.png");
  EXPECT_LE(package.reads, reads + 2) << "each file is read once";
  EXPECT_EQ(dense.Missing(), std::vector<std::string>{"gone.png"});
}

TEST(SkinPainter, PaintsStatesAndValues) {
  FakePackage package;
  package.Add("button.png", Columns(4, 4, {kRed, kGreen, kBlue, kWhite}));
  package.Add("bar.png", Columns(20, 4, {kRed}));
  package.Add("fill.png", Columns(20, 4, {kGreen}));
  package.Add("thumb.png", Columns(2, 4, {kBlue, kWhite, kWhite, kWhite}));
  SkinImages images(package, kNoColour, 1);
  Bitmap target(20, 4);
  SkinPainter painter(images, nullptr, target);
  painter.PaintButton({2, 0, 6, 4}, "button.png", ControlState::kHover);
  EXPECT_EQ(target.Row(0)[1], 0u);
  EXPECT_EQ(target.Row(0)[2], kGreen);
  EXPECT_EQ(target.Row(3)[5], kGreen);
  EXPECT_EQ(target.Row(0)[6], 0u);

  SkinSlider slider;
  slider.position = {0, 0, 20, 4};
  slider.bar_image = "bar.png";
  slider.fill_image = "fill.png";
  slider.thumb_image = "thumb.png";
  painter.PaintSlider(slider.position, slider, {.value = 0.5, .thumb = ControlState::kNormal});
  EXPECT_EQ(target.Row(1)[0], kGreen);
  EXPECT_EQ(target.Row(1)[8], kGreen);
  EXPECT_EQ(target.Row(1)[9], kBlue);
  EXPECT_EQ(target.Row(1)[10], kBlue);
  EXPECT_EQ(target.Row(1)[11], kRed);
  EXPECT_EQ(target.Row(1)[19], kRed);
}

TEST(SkinPainter, SurvivesWhateverAFileSays) {
  FakePackage package;
  package.Add("i.png", Columns(4, 9, {kRed, kGreen, kBlue, kWhite}));
  SkinImages images(package, kNoColour, 2);
  Bitmap target(64, 48);
  SkinPainter painter(images, nullptr, target);
  for (const SkinRect& r : {SkinRect{kTiny, kTiny, kHuge, kHuge}, SkinRect{kHuge, kHuge, kTiny, kTiny},
                            SkinRect{-5, -5, 3, 3}, SkinRect{60, 40, kHuge, kHuge}, SkinRect{}}) {
    for (const bool tile : {false, true})
      painter.PaintWindow("i.png", r, tile);
    painter.PaintButton(r, "i.png", ControlState::kPressed, true);
    SkinSlider slider;
    slider.bar_image = slider.fill_image = slider.thumb_image = "i.png";
    for (const bool vertical : {false, true}) {
      slider.vertical = vertical;
      painter.PaintSlider(r, slider, {.value = 1e300, .thumb = ControlState::kHover});
    }
    SkinLed led;
    led.position = r;
    led.image = "i.png";
    painter.PaintLed(led, "-12:34:56 7890");
    painter.PaintToolbar(r, "i.png", 99, ControlState::kPressed);
    SkinScrollBar bar;
    bar.buttons_image = bar.thumb_image = bar.bar_image = "i.png";
    bar.thumb_resize_center = kHuge;
    painter.PaintScrollBar(r, bar, {});
    bar.thumb_resize_tile = 1;
    ScrollBarLook look;
    look.page = 0;
    look.position = 1e300;
    painter.PaintScrollBar(r, bar, look);
    EqualizerBandPosition(r, kHuge, 9);
    LayOutGrowing(kHuge, kTiny, kHuge, 48);
  }
  SUCCEED();
}

}  // namespace
}  // namespace melorin
