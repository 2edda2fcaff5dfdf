// SPDX-License-Identifier: MIT
//
// What choosing, switching and moving do to the equalizer's settings, and the window that does it.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "doc/keys.h"
#include "skin/loaded_skin.h"
#include "ui/equalizer_presets.h"
#include "ui/equalizer_window_view.h"
#include "ui_recorded_services.h"

namespace melorin {
namespace {

constexpr int32_t kRock = kEqualizerFirstPreset + 1;

EqualizerBands Preset(int32_t profile) {
  return EqualizerPresets()[static_cast<size_t>(profile - kEqualizerFirstPreset)].bands;
}

TEST(UiEqualizerPresets, AreCurvesWithinTheRangeAndNamesOfTheirOwn) {
  std::set<std::u16string> names;
  std::set<std::array<int32_t, 11>> curves;
  for (const EqualizerPreset& preset : EqualizerPresets()) {
    names.insert(preset.name);
    curves.insert(preset.bands.values);
    for (const int32_t db : preset.bands.values)
      EXPECT_LE(std::abs(db), kEqualizerLimit);
  }
  EXPECT_EQ(names.size(), EqualizerPresets().size());
  EXPECT_EQ(curves.size(), EqualizerPresets().size());
  EXPECT_EQ(names.count(u""), 0u);
}

TEST(UiEqualizerPresets, OffRemembersAndOnReturns) {
  EqualizerSettings settings;
  SwitchEqualizer(settings, true);
  EXPECT_EQ(settings.profile, kEqualizerCustom) << "nothing was chosen before";
  ChooseEqualizerProfile(settings, kRock);
  EXPECT_EQ(settings.current, Preset(kRock));
  EXPECT_EQ(settings.profile_last, kRock);
  SwitchEqualizer(settings, false);
  EXPECT_EQ(settings.profile, kEqualizerOff);
  EXPECT_EQ(settings.current, EqualizerBands{});
  EXPECT_EQ(EqualizerShownBands(settings), Preset(kRock)) << "the sliders stay";
  ChooseEqualizerProfile(settings, kEqualizerOff);
  SwitchEqualizer(settings, true);
  EXPECT_EQ(settings.profile, kRock) << "off twice forgets nothing";
  EXPECT_EQ(settings.current, Preset(kRock));
  EXPECT_EQ(settings.custom, EqualizerBands{});
}

TEST(UiEqualizerPresets, AMovedBandMakesTheCurveTheUsersOwn) {
  for (const bool on : {true, false}) {
    EqualizerSettings settings;
    ChooseEqualizerProfile(settings, kRock);
    SwitchEqualizer(settings, on);
    MoveEqualizerBand(settings, 3, 99);
    EqualizerBands moved = Preset(kRock);
    moved.values[3] = 12;
    EXPECT_EQ(settings.profile, kEqualizerCustom);
    EXPECT_EQ(settings.custom, moved);
    EXPECT_EQ(settings.current, moved);
    MoveEqualizerBand(settings, EqualizerBands::kPreamp, -99);
    EXPECT_EQ(settings.current.values[10], -12);
    MoveEqualizerBand(settings, 11, 5);

    SwitchEqualizer(settings, on);
    ResetEqualizer(settings);
    EXPECT_EQ(settings.custom, EqualizerBands{});
    EXPECT_EQ(settings.profile, on ? kEqualizerCustom : kEqualizerOff);
  }
}

TEST(UiEqualizerPresets, SettingsOfAnyFile) {
  for (const int32_t wild : {-1, 99, INT32_MIN, INT32_MAX}) {
    EqualizerSettings settings;
    settings.profile = settings.profile_last = wild;
    EXPECT_EQ(EqualizerProfileOf(settings), kEqualizerOff);
    EXPECT_EQ(EqualizerShownBands(settings), settings.custom);
    ChooseEqualizerProfile(settings, wild);
    EXPECT_EQ(settings.profile, wild) << "nothing was chosen";
    SwitchEqualizer(settings, true);
    EXPECT_EQ(settings.profile, kEqualizerCustom);
  }
  // What sounds counts.
  EqualizerSettings settings;
  settings.profile = kRock;
  AdoptSoundingCurve(settings);
  EXPECT_EQ(settings.profile, kEqualizerCustom);
  EXPECT_EQ(settings.custom, EqualizerBands{});
  settings = {};
  settings.current.values[5] = -12;
  AdoptSoundingCurve(settings);
  EXPECT_EQ(settings.profile, kEqualizerCustom);
  EXPECT_EQ(settings.custom.values[5], -12);
  ChooseEqualizerProfile(settings, kRock);
  AdoptSoundingCurve(settings);
  EXPECT_EQ(settings.profile, kRock);
}

TEST(UiEqualizerText, Labels) {
  EXPECT_EQ(EqualizerLevelText(3), u"+3 db");
  EXPECT_EQ(EqualizerLevelText(0), u"0 db");
  EXPECT_EQ(EqualizerLevelText(-12), u"-12 db");
  EXPECT_EQ(BalanceText(0), u"居中");
  EXPECT_EQ(BalanceText(-30), u"左 30%");
  EXPECT_EQ(BalanceText(100), u"右 100%");
}

class UiEqualizerWindow : public ::testing::Test, protected EqualizerActions {
 protected:
  UiEqualizerWindow() {
    wardrobe_.Wear("", 1);
    view_.Wear(wardrobe_, nullptr);
    view_.Compose();
  }
  const EqualizerSettings& Equalizer() const override { return settings_; }
  int32_t Balance() const override { return balance_; }
  void MoveBand(size_t band, int32_t db) override {
    ++moves_;
    MoveEqualizerBand(settings_, band, db);
    view_.Refresh();
  }
  void SetBalance(int32_t balance) override { balance_ = balance; }
  void SetSurround(int32_t level) override { settings_.surround = level; }

  Pointer MiddleOf(const std::string& element) {
    const SkinRect place = view_.FindControl(element)->Place();
    return {(place.left + place.right) / 2, (place.top + place.bottom) / 2};
  }
  std::u16string ValueOf(const std::string& element) { return view_.FindControl(element)->Value(); }
  void Click(const std::string& element) {
    view_.OnPress(MiddleOf(element));
    view_.OnRelease(MiddleOf(element));
  }

  EqualizerSettings settings_;
  int32_t balance_ = 0;
  int moves_ = 0;
  RecordedServices services_;
  SkinWardrobe wardrobe_;
  EqualizerWindowView view_{services_, *this};
};

TEST_F(UiEqualizerWindow, BandsAreHeardWhileTheyAreDragged) {
  for (size_t band = 0; band <= EqualizerBands::kBands; ++band) {
    const std::string element =
        band == EqualizerBands::kPreamp ? "preamp" : "eqfactor" + std::to_string(band);
    Pointer at = MiddleOf(element);
    view_.OnPress(at);
    moves_ = 0;
    for (int i = 0; i < 20; ++i)
      view_.OnMove({at.x, at.y -= 3});
    EXPECT_GT(moves_, 5);
    EXPECT_EQ(settings_.current.values[band], 12) << element;
    EXPECT_EQ(ValueOf(element), u"+12 db");
    view_.OnRelease(at);
  }
  // Another curve brings all sliders along.
  ChooseEqualizerProfile(settings_, kRock);
  view_.Refresh();
  EXPECT_EQ(ValueOf("eqfactor0"), EqualizerLevelText(Preset(kRock).values[0]));
  EXPECT_EQ(ValueOf("eqfactor9"), EqualizerLevelText(Preset(kRock).values[9]));
  EXPECT_EQ(ValueOf("preamp"), u"0 db");
  view_.OnDoubleClick(MiddleOf("eqfactor9"));
  view_.OnRelease(MiddleOf("eqfactor9"));
  EXPECT_EQ(settings_.current.values[9], 0) << "a double click brings a band back";
  EXPECT_EQ(settings_.profile, kEqualizerCustom);
}

TEST_F(UiEqualizerWindow, BalanceSurroundAndButtons) {
  Pointer at = MiddleOf("balance");
  view_.OnPress(at);
  view_.OnMove({at.x + 500, at.y});
  EXPECT_EQ(balance_, 100);
  view_.OnMove({at.x - 500, at.y});
  view_.OnRelease(at);
  EXPECT_EQ(balance_, -100);
  EXPECT_EQ(ValueOf("balance"), u"左 100%");
  at = MiddleOf("surround");
  view_.OnPress(at);
  view_.OnMove({at.x + 500, at.y});
  view_.OnRelease(at);
  EXPECT_EQ(settings_.surround, 100);

  Click("enabled");
  Click("reset");
  Click("close");
  EXPECT_EQ(services_.Asked(), "1301 1302 1014 ");
  EXPECT_FALSE(view_.FindControl("enabled")->IsPressed());
  services_.checked = {CommandId::kEqualizerOn};
  view_.Refresh();
  EXPECT_TRUE(view_.FindControl("enabled")->IsPressed());

  // The menu may bring another skin.
  services_.on_menu = [this] { view_.Wear(wardrobe_, nullptr); };
  Click("profile");
  EXPECT_EQ(services_.Asked(),
            "menu " + std::to_string(static_cast<int>(MenuKind::kEqualizer)) + " at 60,64 ");
}

}  // namespace
}  // namespace melorin
