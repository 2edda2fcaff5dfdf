// SPDX-License-Identifier: MIT
//
// The equalizer's commands over a player without a window.
#include "app/equalizer_desk.h"

#include <gtest/gtest.h>

#include <string>

#include "app/component_runtime.h"
#include "app/player_visuals.h"
#include "app_fake_frame.h"
#include "platform/file.h"
#include "skin/loaded_skin.h"
#include "ui/equalizer_presets.h"

namespace melorin {
namespace {

using Id = CommandId;

/// The user: chooses that file.
class FakeChoosers final : public Choosers, public EqualizerDeskHost {
 public:
  std::optional<SettingsColour> Colour(HWND, SettingsColour) override { return std::nullopt; }
  std::optional<FontRecord> Font(HWND, const FontRecord&) override { return std::nullopt; }
  std::optional<std::string> Folder(HWND, const std::string&) override { return std::nullopt; }
  std::optional<std::string> File(HWND, const FileQuestion& question) override {
    asked = question;
    return file;
  }
  void Tell(HWND, const std::u16string& text) override { told = text; }
  HWND DialogOwner() override { return nullptr; }

  std::optional<std::string> file;
  FileQuestion asked;
  std::u16string told;
};

class AppEqualizerDesk : public ::testing::Test {
 protected:
  AppEqualizerDesk() : folder_(JoinPath(TempDirectory(), "melorin_app_equalizer_desk")) {
    MakeDirectory(folder_);
    wardrobe_.Wear("", 1);
    desk_.View().Wear(wardrobe_, nullptr);
  }
  ~AppEqualizerDesk() override {
    DeleteFileAt(profile_);
    RemoveDirectoryA(folder_.c_str());
  }
  EqualizerSettings& Values() { return player_.Values().equalizer; }
  std::u16string ValueOf(const char* element) { return desk_.View().FindControl(element)->Value(); }

  const ComponentRuntime runtime_;
  const std::string folder_;
  const std::string profile_ = JoinPath(folder_, "mine.mzeq_cfg");
  SoundLibrary library_;
  FakeFrame frame_;
  Player player_{library_, frame_, folder_};
  NoServices services_;
  FakeChoosers user_;
  SkinWardrobe wardrobe_;
  EqualizerDesk desk_{player_, services_, user_, user_};
};

TEST_F(AppEqualizerDesk, PresetsSwitchAndReset) {
  MenuSource menu;
  desk_.FillMenu(menu);
  EXPECT_EQ(menu.presets.size(), static_cast<size_t>(EqualizerProfileCount()));
  EXPECT_EQ(menu.preset_in_use, 0u);
  const Id rock = Plus(Id::kEqualizerPresetFirst, kEqualizerFirstPreset + 1);
  ASSERT_TRUE(desk_.Handles(rock));
  EXPECT_FALSE(desk_.Handles(Plus(Id::kEqualizerPresetFirst, EqualizerProfileCount())));
  desk_.Execute(rock);
  EXPECT_TRUE(desk_.IsChecked(rock));
  EXPECT_TRUE(desk_.IsChecked(Id::kEqualizerOn));
  EXPECT_EQ(ValueOf("eqfactor0"), u"+6 db");
  desk_.FillMenu(menu);
  EXPECT_EQ(menu.presets[menu.preset_in_use], u"摇滚");
  desk_.Execute(Id::kEqualizerOn);
  EXPECT_FALSE(desk_.IsChecked(Id::kEqualizerOn));
  EXPECT_EQ(Values().current, EqualizerBands{});
  desk_.Execute(Id::kEqualizerOn);
  EXPECT_TRUE(desk_.IsChecked(rock));
  desk_.Execute(Id::kEqualizerReset);
  EXPECT_EQ(Values().current, EqualizerBands{});
  EXPECT_TRUE(desk_.IsChecked(Plus(Id::kEqualizerPresetFirst, kEqualizerCustom)));
  EXPECT_EQ(ValueOf("eqfactor0"), u"0 db");
}

TEST_F(AppEqualizerDesk, ProfilesAreSavedAndLoaded) {
  user_.file = profile_;
  desk_.Execute(Plus(Id::kEqualizerPresetFirst, kEqualizerFirstPreset));
  const EqualizerBands pop = Values().current;
  desk_.Execute(Id::kEqualizerSaveProfile);
  EXPECT_TRUE(user_.asked.save);
  EXPECT_EQ(user_.asked.extensions, u"mzeq_cfg");
  EXPECT_EQ(user_.told, u"");
  desk_.Execute(Plus(Id::kEqualizerPresetFirst, kEqualizerOff));
  desk_.Execute(Id::kEqualizerLoadProfile);
  EXPECT_EQ(user_.asked.now_gbk, profile_) << "the last one is offered";
  EXPECT_EQ(Values().profile, kEqualizerCustom);
  EXPECT_EQ(Values().custom, pop);
  EXPECT_EQ(Values().current, pop);

  user_.file = JoinPath(folder_, "none.mzeq_cfg");
  desk_.Execute(Id::kEqualizerLoadProfile);
  EXPECT_NE(user_.told, u"");
  EXPECT_EQ(Values().current, pop);
  EXPECT_EQ(player_.Values().history.eqc_profile_gbk, profile_);
}

TEST_F(AppEqualizerDesk, VisualCommands) {
  int changes = 0;
  PlayerVisuals visuals(player_, [&] { ++changes; });
  VisualFrame frame;
  EXPECT_FALSE(visuals.Read(&frame, true, true)) << "nothing plays";
  for (const Id command : {Id::kVisualScope, Id::kVisualNext, Id::kVisualNext, Id::kVisualNext}) {
    ASSERT_TRUE(visuals.Handles(command));
    visuals.Execute(command);
  }
  EXPECT_TRUE(visuals.IsChecked(Id::kVisualSpectrum)) << "scope, blurred scope, none, spectrum";
  EXPECT_FALSE(visuals.IsChecked(Id::kVisualScope));
  EXPECT_FALSE(visuals.Handles(Id::kEqualizerOn));
  EXPECT_EQ(changes, 4);
  player_.Values().visual.type = 99;
  visuals.Execute(Id::kVisualNext);
  EXPECT_TRUE(visuals.IsChecked(Id::kVisualNone));
}

}  // namespace
}  // namespace melorin
