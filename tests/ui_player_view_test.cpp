// SPDX-License-Identifier: MIT
//
// The player window and the mini player without a player.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "doc/keys.h"
#include "platform/text.h"
#include "playlist_test_folder.h"
#include "skin/skin_layout.h"
#include "ui/player_window_view.h"
#include "ui_window_fakes.h"

namespace melorin {
namespace {

class UiPlayer : public ::testing::Test {
 protected:
  void Show(SkinWindow kind, const std::string& skin = "", int32_t scale = 1) {
    ASSERT_TRUE(wardrobe_.Wear(skin, scale));
    view_ = std::make_unique<PlayerWindowView>(kind, program_, program_);
    view_->SetHost(&shell_);
    view_->SetSlideInterval(200);
    view_->Wear(wardrobe_, &fonts_);
    status_ = {};
    status_.state = ShownState::kPlaying;
    status_.has_track = true;
    status_.position_ms = 61000;
    status_.duration_ms = 200000;
    status_.volume = 80;
    status_.info_gbk = "Artist - Title";
    status_.status_gbk = "playing";
    Tell();
    view_->Compose();
  }
  void Tell() { view_->SetStatus(status_); }
  Control& At(std::string_view element) { return *view_->FindControl(element); }
  template <class T>
  T& As(std::string_view element) {
    return static_cast<T&>(At(element));
  }
  void Click(std::string_view element) {
    view_->OnPress(MiddleOf(At(element)));
    view_->OnRelease(MiddleOf(At(element)));
  }
  std::u16string Time() { return At("led").Value(); }

  SkinWardrobe wardrobe_;
  FakeProgram program_;
  FakeShell shell_;
  FakeText fonts_;
  std::unique_ptr<PlayerWindowView> view_;
  PlayerStatus status_;
};

TEST_F(UiPlayer, RepaintsWhatChanged) {
  for (const int32_t scale : {1, 2}) {
    Show(SkinWindow::kPlayer, "", scale);
    const struct {
      const char* what;
      void (*change)(PlayerStatus&);
      std::vector<const char*> elements;
    } cases[] = {
        {"nothing", [](PlayerStatus&) {}, {}},
        {"a moment", [](PlayerStatus& s) { s.position_ms += 100; }, {}},
        {"a second", [](PlayerStatus& s) { s.position_ms += 900; }, {"led", "progress"}},
        {"sound off", [](PlayerStatus& s) { s.mute = true; }, {"mute"}},
        {"another title", [](PlayerStatus& s) { s.info_gbk += "s"; }, {"info"}},
        {"a window", [](PlayerStatus& s) { s.lyric_shown = true; }, {"lyric"}},
        {"volume", [](PlayerStatus& s) { s.volume = 20; }, {"volume"}},
        {"paused", [](PlayerStatus& s) { s.state = ShownState::kPaused; }, {"pause", "play"}},
    };
    for (const auto& test : cases) {
      const Bitmap before = view_->Compose();
      shell_.repainted.clear();
      test.change(status_);
      Tell();
      // A second may or may not move the thumb by a pixel.
      for (const SkinRect& area : shell_.repainted) {
        bool expected = false;
        for (const char* element : test.elements)
          expected = expected || area == ScaledPosition(At(element).Place(), scale);
        EXPECT_TRUE(expected) << test.what << ": " << area.left << "," << area.top;
      }
      EXPECT_EQ(shell_.repainted.empty(), test.elements.empty()) << test.what;
      Bitmap after = view_->Compose();
      for (const char* element : test.elements) {
        const SkinRect area = ScaledPosition(At(element).Place(), scale);
        DrawCell(after, area, area.left, area.top, before, area, Combine::kReplace);
      }
      EXPECT_EQ(after.pixels, before.pixels) << test.what << ": no other pixel";
    }
  }
}

TEST_F(UiPlayer, SeeksWhenTheThumbIsLetGo) {
  Show(SkinWindow::kPlayer);
  const SkinRect bar = At("progress").Place();
  view_->OnPress({(bar.left + bar.right) / 2, bar.top + 4});
  EXPECT_EQ(Time(), u"1:40") << "the digits follow";
  status_.position_ms = 62000;
  Tell();
  EXPECT_EQ(Time(), u"1:40");
  EXPECT_EQ(At("progress").Value(), u"1:40 / 3:20");
  view_->OnMove({bar.left - 50, 0});
  EXPECT_EQ(Time(), u"0:00");
  EXPECT_EQ(program_.Asked(), "");
  view_->OnCancel();
  EXPECT_EQ(Time(), u"1:02");
  EXPECT_EQ(program_.Asked(), "");
  view_->OnPress({bar.right - 1, bar.top + 4});
  view_->OnRelease({bar.right - 1, bar.top + 4});
  EXPECT_EQ(program_.Asked(), "seek 200000");
  EXPECT_EQ(Time(), u"3:20") << "until the player says where it is";
  EXPECT_EQ(view_->TipAt((bar.left + bar.right) / 2, bar.top + 4).first, u"1:40 / 3:20");
  status_.state = ShownState::kStopped;
  Tell();
  EXPECT_FALSE(At("progress").IsEnabled());
  view_->OnPress({bar.left + 100, bar.top + 4});
  view_->OnRelease({bar.left + 100, bar.top + 4});
  EXPECT_EQ(program_.Asked(), "");
}

TEST_F(UiPlayer, TellsElapsedOrWhatIsLeft) {
  Show(SkinWindow::kPlayer);
  Click("led");
  EXPECT_EQ(program_.Asked(), "1027");
  const struct {
    bool elapsed;
    bool track;
    uint32_t position;
    uint32_t duration;
    const char16_t* time;
  } cases[] = {
      {true, true, 61999, 200000, u"1:01"},
      {false, true, 61999, 200000, u"-2:19"},
      {false, true, 61000, 0, u"1:01"},
      {false, true, 205000, 200000, u"-0:00"},
      {false, false, 61000, 200000, u"0:00"},
      {true, true, 3723000, 7200000, u"1:02:03"},
      {true, true, 4294967295u, 0, u"1193:02:47"},
  };
  for (const auto& test : cases) {
    status_.shows_elapsed = test.elapsed;
    status_.has_track = test.track;
    status_.position_ms = test.position;
    status_.duration_ms = test.duration;
    Tell();
    EXPECT_EQ(Time(), test.time);
    view_->Compose();
  }
}

TEST_F(UiPlayer, PlayAndPauseShareAPlace) {
  Show(SkinWindow::kPlayer);
  Click("play");
  EXPECT_EQ(program_.Asked(), "1024") << "pause is what is seen there";
  EXPECT_EQ(At("pause").TipAt(0, 0), u"播放/暂停 (K)");
  view_->Focus(&At("pause"), true);
  status_.state = ShownState::kPaused;
  Tell();
  EXPECT_EQ(view_->Focused(), &At("play")) << "the keyboard stays at the place";
  EXPECT_TRUE(view_->OnKey({kKeySpace}));
  EXPECT_EQ(program_.Asked(), "1023");

  const auto looks = [&] {
    const SkinRect place = At("play").Place();
    return CopyOf(view_->Compose(), place).pixels;
  };
  view_->Focus(&At("stop"), false);
  program_.on_execute = [&](CommandId) {
    status_.state = ShownState::kPlaying;
    Tell();
  };
  view_->OnMove(MiddleOf(At("play")));
  Click("play");
  const auto hovered = looks();
  view_->OnLeave();
  EXPECT_TRUE(looks() != hovered) << "pause came up under the mouse";
}

TEST_F(UiPlayer, ShowsWhereKeysGoOnlyWhileTheyComeToIt) {
  Show(SkinWindow::kPlayer);
  const auto looks = [&] { return CopyOf(view_->Compose(), At("stop").Place()).pixels; };
  const auto usual = looks();
  view_->Focus(&At("stop"), true);
  const auto focused = looks();
  EXPECT_TRUE(focused != usual);
  view_->SetActive(false);
  EXPECT_TRUE(looks() == usual);
  view_->SetActive(true);
  EXPECT_TRUE(looks() == focused) << "back at the same control";
}

TEST_F(UiPlayer, CommandsOfEveryElement) {
  Show(SkinWindow::kPlayer);
  const std::pair<const char*, const char*> cases[] = {
      {"stop", "1002"},     {"prev", "1003"},     {"next", "1004"},      {"open", "1010"},
      {"mute", "1009"},     {"lyric", "1013"},    {"equalizer", "1014"}, {"playlist", "1012"},
      {"minimode", "1015"}, {"minimize", "1025"}, {"exit", "1022"},      {"icon", "menu 0 at 12,24"},
  };
  for (const auto& [element, asked] : cases) {
    Click(element);
    EXPECT_EQ(program_.Asked(), asked) << element;
    EXPECT_FALSE(At(element).Name().empty()) << element;
    At(element).DoDefault();
    EXPECT_EQ(program_.Asked(), asked) << element;
  }
  view_->OnDoubleClick(MiddleOf(At("info")));
  view_->OnRelease(MiddleOf(At("info")));
  EXPECT_EQ(program_.Asked(), "1019");
  EXPECT_TRUE(view_->OnWheel(MiddleOf(At("progress")), 2));
  EXPECT_TRUE(view_->OnWheel({1, 1}, -1));
  EXPECT_EQ(program_.Asked(), "step 2; step -1") << "the wheel is the volume's everywhere";
  Click("volume");
  EXPECT_EQ(program_.Asked(), "volume 50; volume 50");
  program_.disabled = {CommandId::kStop};
  view_->RefreshCommands();
  Click("stop");
  EXPECT_EQ(program_.Asked(), "");
}

TEST_F(UiPlayer, MiniShowsTheLineOfLyricsOrTheTitle) {
  Show(SkinWindow::kMini);
  auto& line = As<TextControl>("lyric");
  EXPECT_EQ(line.TextGbk(), "Artist - Title");
  EXPECT_EQ(view_->PartAt(MiddleOf(line).x, MiddleOf(line).y), WindowPart::kCaption) << "it is moved by it";
  status_.lyric_gbk = "la la";
  Tell();
  EXPECT_EQ(line.TextGbk(), "la la");
  view_->Compose();
  EXPECT_EQ(view_->TickMs(), 0u);
  status_.lyric_gbk = std::string(100, 'a');
  Tell();
  view_->Compose();
  EXPECT_EQ(view_->TickMs(), TextControl::kRestMs);
  for (const ShownState state : {ShownState::kPaused, ShownState::kStopped}) {
    status_.state = state;
    Tell();
    view_->Compose();
    EXPECT_EQ(view_->TickMs(), 0u) << "it rests while nothing plays";
  }
  status_.state = ShownState::kPlaying;
  Tell();
  view_->Compose();
  EXPECT_EQ(view_->TickMs(), TextControl::kRestMs);
  view_->SetSlideInterval(0);
  view_->Compose();
  EXPECT_EQ(view_->TickMs(), 0u);
  Click("minimode");
  EXPECT_EQ(program_.Asked(), "1015");
}

TEST_F(UiPlayer, MakesTheVisualAnewWithEachSkin) {
  Show(SkinWindow::kPlayer);
  EXPECT_EQ(view_->Visual(), nullptr);
  int made = 0;
  view_->SetVisual([&] {
    ++made;
    return std::make_unique<TextControl>(SkinText{});
  });
  view_->Wear(wardrobe_, nullptr);
  view_->Wear(wardrobe_, nullptr);
  EXPECT_EQ(made, 2);
  EXPECT_EQ(view_->Visual()->Place(), (SkinRect{24, 40, 104, 84}));
  EXPECT_EQ(At("info").Value(), u"Artist - Title") << "what was told is kept";
}

TEST_F(UiPlayer, SkinsMayLackAnything) {
  TestFolder folder;
  const struct {
    const char* elements;
    const char* press;
    const char* asked;
  } cases[] = {
      {"", nullptr, ""},
      {"<play position=\"0,0,20,20\"/>", "play", "1001"},
      {"<pause position=\"0,0,20,20\"/>", "pause", "1001"},
      {"<play position=\"0,0,20,20\"/><pause position=\"20,0,40,20\"/>", "play", "1023"},
      {"<play position=\"0,0,20,20\"/><pause position=\"20,0,40,20\"/>", "pause", "1024"},
      {"<progress position=\"0,0,9,9\"/><led position=\"0,0,0,0\"/><info/>", nullptr, ""},
      {"<volume position=\"0,0,0,0\"/><icon position=\"5,5,5,5\"/><visual/><lyric/>", nullptr, ""},
  };
  for (const auto& test : cases) {
    folder.Write("Skin.xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?><skin version=\"2\"><player_window>" +
                                 std::string(test.elements) + "</player_window></skin>");
    Show(SkinWindow::kPlayer, folder.Path());
    for (const ShownState state : {ShownState::kStopped, ShownState::kPaused, ShownState::kPlaying}) {
      status_.state = state;
      Tell();
      view_->Compose();
    }
    view_->RefreshCommands();
    view_->OnKey({kKeyTab});
    if (test.press) Click(test.press);
    EXPECT_EQ(program_.Asked(), test.asked) << test.elements;
  }
}

}  // namespace
}  // namespace melorin
