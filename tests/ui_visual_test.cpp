// SPDX-License-Identifier: MIT
//
// The visual effects: what they paint of known sounds, and that they come to rest.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

#include "skin/bitmap_draw.h"
#include "skin/loaded_skin.h"
#include "ui/visual_control.h"
#include "ui_recorded_services.h"

namespace melorin {
namespace {

/// A sine in both channels.
class ToneSource final : public VisualSource {
 public:
  bool playing = true;
  double amplitude = 0.5;
  double cycles = 8;  ///< In 512 samples.
  double phase = 0;
  int reads = 0;

  bool Read(VisualFrame* frame, bool wave, bool spectrum) override {
    ++reads;
    if (!playing) return false;
    frame->sample_rate = 44100;
    if (wave)
      for (size_t i = 0; i < VisualFrame::kSamples; ++i) {
        const double angle = 2 * std::numbers::pi * cycles * static_cast<double>(i) / 512 + phase;
        frame->wave[0][i] = frame->wave[1][i] = static_cast<int16_t>(32767 * amplitude * std::sin(angle));
      }
    if (spectrum) {
      frame->spectrum.fill(0);
      frame->spectrum[static_cast<size_t>(cycles)] = static_cast<float>(amplitude);
    }
    return true;
  }
};

class UiVisual : public ::testing::TestWithParam<int32_t> {
 protected:
  static constexpr SkinRect kPlace = {24, 40, 104, 84};
  static constexpr uint32_t kGround = 0xFFFFFFFF;

  UiVisual() {
    control_.SetPlace(kPlace);
    settings_.spectrum_top_color = {0x0000FF};
    settings_.spectrum_mid_color = {0x00FF00};
    settings_.spectrum_btm_color = {0xFF0000};
    settings_.spectrum_peak_color = {0};
    settings_.blur_scope_color = {0x0000FF};
  }

  void Show(int32_t type) {
    settings_.type = type;
    control_.SetSettings(settings_);
    control_.SetActive(true);
  }
  void Run(uint32_t ms) {
    for (uint32_t passed = 0; passed < ms && control_.TickMs() != 0; passed += control_.TickMs())
      control_.OnTick(now_ms_ += control_.TickMs());
  }
  const Bitmap& Painted() {
    const int32_t scale = GetParam();
    wardrobe_.Wear("", scale);
    LoadedSkin* skin = wardrobe_.Find(&SkinDescription::player_window).second;
    target_ = Bitmap(130 * scale, 100 * scale);
    FillArea(target_, BitmapBounds(target_), kGround, Combine::kReplace);
    SkinPainter painter(skin->Images(), nullptr, target_);
    control_.Paint({painter, nullptr, target_, scale});
    return target_;
  }
  /// Pixels that are not the ground's, in 1x columns of the place; -1 when some are outside of it.
  std::vector<int32_t> Columns() {
    const Bitmap& target = Painted();
    const int32_t scale = GetParam();
    const SkinRect place = ScaledPosition(kPlace, scale);
    std::vector<int32_t> columns(static_cast<size_t>(kPlace.Width()));
    for (int32_t y = 0; y < target.height; ++y)
      for (int32_t x = 0; x < target.width; ++x) {
        if (target.Row(y)[x] == kGround) continue;
        if (!Contains(place, x, y)) return {-1};
        ++columns[static_cast<size_t>((x - place.left) / scale)];
      }
    return columns;
  }
  int32_t Inked() {
    int32_t sum = 0;
    for (const int32_t column : Columns())
      sum += column;
    return sum;
  }

  RecordedServices services_;
  ToneSource source_;
  VisualSettings settings_;
  SkinWardrobe wardrobe_;
  Bitmap target_;
  uint32_t now_ms_ = 0xFFFFFF00;  // The clock wraps in between.
  VisualControl control_{source_, services_, SkinWindow::kPlayer};
};

TEST_P(UiVisual, ATonesBarStandsAndFalls) {
  for (const int32_t wide : {1, 0}) {
    settings_.spectrum_wide = wide;
    Show(1);
    EXPECT_EQ(control_.TickMs(), 33u);
    Run(100);
    const std::vector<int32_t> columns = Columns();
    ASSERT_EQ(columns.size(), 80u);
    const int32_t step = wide ? 4 : 2;
    const auto highest = std::max_element(columns.begin(), columns.end()) - columns.begin();
    // -6 dB of a range of 66.
    const int32_t scale = GetParam();
    EXPECT_NEAR(columns[static_cast<size_t>(highest)], 40 * scale * scale, scale * scale);
    for (int32_t bar = 0; bar < 80; bar += step)
      EXPECT_EQ(columns[static_cast<size_t>(bar + step - 1)], 0) << "a gap after bar " << bar;
    // The bottom's colour is at the bottom, the peak on top.
    const auto x = static_cast<int32_t>(highest + kPlace.left) * scale;
    EXPECT_EQ(target_.Row(kPlace.bottom * scale - 1)[x], 0xFF0000FFu);
    int32_t top = kPlace.top * scale;
    while (target_.Row(top)[x] == kGround)
      ++top;
    EXPECT_EQ(target_.Row(top)[x], 0xFF000000u);
    EXPECT_NE(target_.Row(top + scale)[x], 0xFF000000u);

    control_.SetActive(false);
    const int reads = source_.reads;
    Run(400);
    EXPECT_NE(Inked(), 0) << "it falls, it does not vanish";
    Run(4000);
    EXPECT_EQ(control_.TickMs(), 0u);
    EXPECT_EQ(Inked(), 0);
    EXPECT_EQ(source_.reads, reads);
  }
}

TEST_P(UiVisual, TheScopeStandsStillAndIsFlatInSilence) {
  Painted();
  Show(2);
  Run(40);
  const Bitmap first = Painted();
  source_.phase = 2 * std::numbers::pi * source_.cycles * 20 / 512;  // 20 samples later.
  Run(40);
  const Bitmap& second = Painted();
  size_t different = 0;
  for (size_t i = 0; i < first.pixels.size(); ++i)
    different += first.pixels[i] != second.pixels[i];
  EXPECT_LT(different, 20u) << "it begins at the same place of the wave";

  for (const double amplitude : {1.0, -1.0}) {
    source_.amplitude = amplitude;
    Run(40);
    for (const int32_t column : Columns())
      EXPECT_GT(column, 0) << "no holes, and nothing outside";
  }
  source_.playing = false;
  Run(40);
  for (const int32_t column : Columns())
    EXPECT_EQ(column, GetParam() * GetParam());
  EXPECT_NE(control_.TickMs(), 0u) << "it waits for the music";
  control_.SetActive(false);
  EXPECT_EQ(control_.TickMs(), 0u);
}

TEST_P(UiVisual, TheTrailGlowsAndDies) {
  Painted();
  Show(2);
  Run(40);
  const int32_t sharp = Inked();
  settings_.blur = 1;
  Show(3);
  Run(200);
  EXPECT_GT(Inked(), sharp) << "it spreads";
  control_.SetActive(false);
  Run(100);
  EXPECT_GT(Inked(), 0);
  Run(5000);
  EXPECT_EQ(control_.TickMs(), 0u);
  for (const int32_t column : Columns())
    EXPECT_EQ(column, GetParam() * GetParam()) << "what is left is the line of silence";
  // Without "Blur" it is a plain scope.
  settings_.blur = 0;
  Show(3);
  Run(300);
  EXPECT_EQ(Inked(), sharp);
}

TEST_P(UiVisual, CostsNothingWhenThereIsNothingToSee) {
  Show(0);
  EXPECT_EQ(control_.TickMs(), 0u);
  Show(1);
  control_.SetVisible(false);
  EXPECT_EQ(control_.TickMs(), 0u);
  control_.SetVisible(true);
  for (const auto& [frames, ms] : {std::pair(0, 200u), {10, 100u}, {60, 16u}, {100000, 16u}}) {
    settings_.frames_per_sec = frames;
    Show(1);
    EXPECT_EQ(control_.TickMs(), ms) << frames;
  }
  // Another control ticks oftener; the frames do not.
  settings_.frames_per_sec = 10;
  Show(1);
  const int reads = source_.reads;
  for (int i = 0; i < 100; ++i)
    control_.OnTick(now_ms_ += 10);
  EXPECT_NEAR(source_.reads - reads, 10, 2);
}

TEST_P(UiVisual, AClickStepsOnAndARightClickShowsTheMenu) {
  control_.OnPress({30, 50});
  control_.OnRelease({30, 50});
  EXPECT_EQ(services_.Asked(), "1405 ");
  control_.OnPress({30, 50});
  control_.OnRelease({3, 50});
  EXPECT_EQ(services_.Asked(), "") << "let go elsewhere";
  EXPECT_TRUE(control_.OnContextMenu({31, 52}));
  EXPECT_EQ(services_.Asked(), "menu " + std::to_string(static_cast<int>(MenuKind::kVisual)) + " at 31,52 ");
  Show(3);
  EXPECT_EQ(control_.Value(), u"模糊示波器");
}

INSTANTIATE_TEST_SUITE_P(Scales, UiVisual, ::testing::Values(1, 2));

}  // namespace
}  // namespace melorin
