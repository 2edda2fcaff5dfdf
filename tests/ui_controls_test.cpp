// SPDX-License-Identifier: MIT
//
// The controls of the skin in a window: what they look like, and what mouse and keys do to them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "doc/keys.h"
#include "platform/text.h"
#include "skin/skin_layout.h"
#include "ui/button_control.h"
#include "ui/icon_control.h"
#include "ui/led_control.h"
#include "ui/player_window_view.h"
#include "ui/program_icon.h"
#include "ui/slider_control.h"
#include "ui/text_control.h"
#include "ui/tool_window_view.h"
#include "ui_window_fakes.h"

namespace melorin {
namespace {

/// A window with the one control of the test over the built-in player window.
class OneControlView final : public WindowView {
 public:
  using Make = std::function<std::unique_ptr<Control>(const SkinPlayerWindow&, SkinRect*)>;
  explicit OneControlView(Make make) : WindowView(SkinWindow::kPlayer), make_(std::move(make)) {}

 private:
  LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) override {
    const auto [window, skin] = wardrobe.Find(&SkinDescription::player_window);
    frame->image_gbk = window->image;
    SkinRect place;
    std::unique_ptr<Control> control = make_(*window, &place);
    Add("it", std::move(control), place);
    return skin;
  }

  const Make make_;
};

class UiControls : public ::testing::Test {
 protected:
  void Show(OneControlView::Make make, int32_t scale = 1, TextPainter* text = nullptr) {
    ASSERT_TRUE(wardrobe_.Wear("", scale));
    view_ = std::make_unique<OneControlView>(std::move(make));
    view_->SetHost(&shell_);
    view_->Wear(wardrobe_, text);
    view_->Compose();
    shell_ = {};
  }
  template <class T = Control>
  T& It() {
    return static_cast<T&>(*view_->FindControl("it"));
  }
  bool Press(uint16_t key, bool ctrl = false) { return view_->OnKey({key, ctrl, false, false}); }
  const SkinPlayerWindow& Window() { return *wardrobe_.Find(&SkinDescription::player_window).first; }
  /// The place of the control as it is composed, and as a painter paints it on the same window.
  Bitmap Seen() { return CopyOf(view_->Compose(), ScaledPosition(It().Place(), view_->Scale())); }
  Bitmap Painted(const std::function<void(SkinPainter&)>& paint) {
    Bitmap window(view_->Width() * view_->Scale(), view_->Height() * view_->Scale());
    LoadedSkin& skin = *wardrobe_.Find(&SkinDescription::player_window).second;
    SkinPainter painter(skin.Images(), nullptr, window);
    painter.PaintWindow(Window().image, {}, false);
    paint(painter);
    return CopyOf(window, ScaledPosition(It().Place(), view_->Scale()));
  }

  SkinWardrobe wardrobe_;
  FakeProgram program_;
  FakeShell shell_;
  std::unique_ptr<OneControlView> view_;
};

// ---- buttons

class UiButton : public UiControls {
 protected:
  void ShowMute() {
    Show([this](const SkinPlayerWindow& window, SkinRect* place) {
      const SkinButton& look = *window.Button(SkinPlayerButton::kMute);
      *place = look.position;
      auto button = std::make_unique<ButtonControl>(program_, look, CommandId::kMute);
      button->SetSwitch(true);
      return button;
    });
  }
  void ExpectLook(ControlState state, bool on, const std::string& when) {
    const SkinButton& look = *Window().Button(SkinPlayerButton::kMute);
    EXPECT_EQ(Seen().pixels,
              Painted([&](SkinPainter& p) { p.PaintButton(look.position, look.image, state, on); }).pixels)
        << when;
  }
};

TEST_F(UiButton, LooksAndClicks) {
  ShowMute();
  const Pointer inside = MiddleOf(It());
  const Pointer outside = {inside.x, It().Place().bottom};
  // h: hovers, l: leaves, p: presses, m: moves out, b: back in, r: lets go where it is, c: loses the mouse,
  // d: double click.
  const struct {
    const char* steps;
    ControlState look;
    int clicks;
  } cases[] = {
      {"h", ControlState::kHover, 0},    {"hl", ControlState::kNormal, 0}, {"p", ControlState::kPressed, 0},
      {"pr", ControlState::kHover, 1},   {"pm", ControlState::kHover, 0},  {"pmr", ControlState::kNormal, 0},
      {"pmbr", ControlState::kHover, 1}, {"pc", ControlState::kNormal, 0}, {"pcr", ControlState::kNormal, 0},
      {"prdr", ControlState::kHover, 2},
  };
  for (const auto& test : cases) {
    view_->Wear(wardrobe_, nullptr);
    Pointer at = inside;
    for (const char* step = test.steps; *step; ++step) {
      if (*step == 'h') view_->OnMove(at);
      if (*step == 'l') view_->OnLeave();
      if (*step == 'p') view_->OnPress(at);
      if (*step == 'm') view_->OnMove(at = outside);
      if (*step == 'b') view_->OnMove(at = inside);
      if (*step == 'r') view_->OnRelease(at);
      if (*step == 'c') view_->OnCancel();
      if (*step == 'd') view_->OnDoubleClick(at);
    }
    ExpectLook(test.look, false, test.steps);
    std::string expected;
    for (int i = 0; i < test.clicks; ++i)
      expected += i == 0 ? "1009" : "; 1009";
    EXPECT_EQ(program_.Asked(), expected) << test.steps;
  }
}

TEST_F(UiButton, ShowsWhetherItsCommandCanBeUsedAndIsChecked) {
  ShowMute();
  auto& button = It<ButtonControl>();
  ExpectLook(ControlState::kNormal, false, "at first");
  program_.checked = {CommandId::kMute};
  button.Refresh();
  ExpectLook(ControlState::kNormal, true, "checked");
  EXPECT_TRUE(button.IsPressed());
  EXPECT_EQ(shell_.changed.size(), 1u) << "screen readers are told";
  program_.disabled = {CommandId::kMute};
  button.Refresh();
  ExpectLook(ControlState::kDisabled, true, "disabled");
  view_->OnPress(MiddleOf(button));
  view_->OnRelease(MiddleOf(button));
  button.DoDefault();
  EXPECT_EQ(program_.Asked(), "");
  button.SetOn(false);
  button.Refresh();
  EXPECT_FALSE(button.IsPressed()) << "what is told goes before the command";
  EXPECT_EQ(button.Name(), u"静音");
  EXPECT_EQ(view_->TipAt(MiddleOf(button).x, MiddleOf(button).y).first, u"静音 (K)");
  EXPECT_EQ(button.Role(), ControlRole::kSwitch);
}

TEST_F(UiButton, TakesTheKeyboardByTabOnly) {
  ShowMute();
  view_->OnPress(MiddleOf(It()));
  view_->OnRelease(MiddleOf(It()));
  EXPECT_EQ(program_.Asked(), "1009");
  EXPECT_FALSE(Press(kKeySpace)) << "after a click Space is still the window's";
  Press(kKeyTab);
  EXPECT_TRUE(Press(kKeySpace));
  EXPECT_TRUE(Press(kKeyReturn));
  EXPECT_FALSE(Press(kKeySpace, true));
  EXPECT_EQ(program_.Asked(), "1009; 1009");
}

TEST_F(UiButton, MayBeTheEndOfItself) {
  const std::string caught(100, 'c');
  std::string seen;
  Show([&](const SkinPlayerWindow& window, SkinRect* place) {
    *place = window.Button(SkinPlayerButton::kOpen)->position;
    return std::make_unique<ButtonControl>(*window.Button(SkinPlayerButton::kOpen), [this, caught, &seen] {
      view_->Wear(wardrobe_, nullptr);
      seen = caught;
    });
  });
  const Pointer at = MiddleOf(It());
  view_->OnPress(at);
  view_->OnRelease(at);
  EXPECT_EQ(seen, caught) << "the function outlives the button";
  EXPECT_FALSE(view_->IsPressed());
  program_.on_execute = [this](CommandId) { view_->Wear(wardrobe_, nullptr); };
  ShowMute();
  view_->OnPress(MiddleOf(It()));
  view_->OnRelease(MiddleOf(It()));
  EXPECT_EQ(program_.Asked(), "1009");
}

// ---- sliders

class UiSlider : public UiControls {
 protected:
  /// 120 pixels and a thumb of 20: with the range of 0 to 100 a pixel is a step.
  void ShowSlider(const SliderRange& range, bool vertical = false, int32_t scale = 1) {
    Show(
        [this, range, vertical](const SkinPlayerWindow& window, SkinRect* place) {
          SkinSlider look = *window.progress;
          *place = vertical ? SkinRect{100, 20, 120, 20 + 100 + kThumb} : SkinRect{100, 40, 200 + kThumb, 60};
          look.position = *place;
          look.vertical = vertical;
          auto slider = std::make_unique<SliderControl>(look, range);
          slider->SetOnChange([this](int32_t value, bool final) {
            trace_ += (trace_.empty() ? "" : " ") + std::to_string(value) + (final ? "!" : "");
          });
          return slider;
        },
        scale);
    trace_.clear();
  }
  SliderControl& Slider() { return It<SliderControl>(); }
  std::string Trace() { return std::exchange(trace_, {}); }
  /// Where the thumb's middle is at a value of the range 0 to 100.
  Pointer At(int32_t value) { return {100 + kThumb / 2 + value, 50}; }

  static constexpr int32_t kThumb = 16;  ///< The built-in skin's.
  std::string trace_;
};

TEST_F(UiSlider, IsDraggedAndClicked) {
  ShowSlider({0, 100, 1, 10, 3});
  Slider().SetValue(40);
  EXPECT_EQ(Trace(), "") << "the owner knows";

  // Caught off its middle the thumb does not jump.
  view_->OnPress(At(45));
  EXPECT_EQ(Trace(), "");
  view_->OnMove(At(55));
  view_->OnMove(At(55));
  EXPECT_EQ(Trace(), "50");
  Slider().SetValue(41);
  EXPECT_EQ(Slider().Current(), 50) << "it is the user's now";
  view_->OnMove({5000, -3000});
  view_->OnRelease(At(75));
  EXPECT_EQ(Trace(), "100 100!") << "what was shown last counts, not where the button came up";

  view_->OnPress(At(20));
  EXPECT_EQ(Trace(), "20");
  view_->OnMove(At(30));
  view_->OnRelease(At(30));
  EXPECT_EQ(Trace(), "30 30!");

  view_->OnPress(At(30));
  view_->OnRelease(At(30));
  EXPECT_EQ(Trace(), "") << "a click on the thumb changes nothing";

  view_->OnPress(At(60));
  Slider().SetValue(33);
  view_->OnCancel();
  EXPECT_EQ(Trace(), "60 33") << "broken off: as the owner has it";
  view_->OnMove(At(70));
  view_->OnRelease(At(70));
  EXPECT_EQ(Trace(), "");

  view_->OnPress(At(60));
  Slider().SetRange({0, 50, 1, 10, 3});
  EXPECT_EQ(Trace(), "60 33") << "another song";
  view_->OnRelease(At(60));
  EXPECT_EQ(Slider().Current(), 33);

  view_->OnPress(At(0));
  Slider().SetEnabled(false);
  view_->OnRelease(At(0));
  EXPECT_EQ(Trace(), "0 33");
}

TEST_F(UiSlider, KeysAndWheel) {
  ShowSlider({-12, 12, 1, 6, 2});
  Slider().SetValue(0);
  view_->Focus(&Slider(), true);
  const struct {
    uint16_t key;
    int32_t value;
  } keys[] = {{kKeyRight, 1},   {kKeyUp, 2},       {kKeyLeft, 1},   {kKeyDown, 0}, {kKeyPageUp, 6},
              {kKeyPageUp, 12}, {kKeyPageDown, 6}, {kKeyHome, -12}, {kKeyEnd, 12}};
  for (const auto& test : keys) {
    EXPECT_TRUE(Press(test.key));
    EXPECT_EQ(Trace(), std::to_string(test.value) + "!") << test.key;
  }
  EXPECT_TRUE(Press(kKeyRight));
  EXPECT_EQ(Trace(), "") << "at the end";
  EXPECT_FALSE(Press(kKeyLeft, true)) << "hot keys";
  EXPECT_TRUE(view_->OnWheel(At(10), -2));
  EXPECT_EQ(Trace(), "8!");
  Slider().SetRange({-12, 12, 1, 6, 0});
  EXPECT_FALSE(view_->OnWheel(At(10), -2)) << "the window's";
}

TEST_F(UiSlider, VerticalGrowsUpwardsAtEitherScale) {
  for (const int32_t scale : {1, 2}) {
    ShowSlider({0, 100}, true, scale);
    const int32_t bottom = Slider().Place().bottom - kThumb / 2;
    view_->OnPress({110, bottom - 30});
    view_->OnRelease({110, bottom - 30});
    EXPECT_NEAR(Slider().Current(), 30, 1) << scale;
    EXPECT_NEAR(Slider().ValueAt(110, bottom - 100), 100, 1);
  }
}

TEST_F(UiSlider, SnapsAndGoesBackToItsDefault) {
  ShowSlider({-100, 100});
  Slider().SetSnap(0);
  Slider().SetDefault(0);
  const struct {
    int32_t pixel;
    int32_t value;
  } cases[] = {{45, -10}, {46, 0}, {54, 0}, {55, 10}};
  for (const auto& test : cases) {
    Slider().SetValue(100);
    view_->OnPress(At(test.pixel));
    view_->OnRelease(At(test.pixel));
    EXPECT_EQ(Slider().Current(), test.value) << test.pixel;
  }
  Trace();
  view_->OnDoubleClick(At(80));
  view_->OnMove(At(90));
  view_->OnRelease(At(90));
  EXPECT_EQ(Trace(), "0!");
  view_->Focus(&Slider(), true);
  Press(kKeyRight);
  EXPECT_EQ(Slider().Current(), 1) << "keys reach what the mouse cannot";
}

TEST_F(UiSlider, RepaintsWhenTheThumbMoves) {
  ShowSlider({0, 1000000});
  Slider().SetValue(4000);
  EXPECT_TRUE(shell_.repainted.empty()) << "less than half a pixel";
  Slider().SetValue(6000);
  EXPECT_EQ(shell_.repainted.size(), 1u);
  Slider().SetValueText([](int32_t value) { return value > 5000 ? u"late" : u"early"; });
  Slider().SetName(u"place");
  EXPECT_EQ(Slider().TipAt(110, 50), u"place: late");
  Slider().SetTellsPointer(true);
  EXPECT_EQ(Slider().TipAt(108, 50), u"early");
  Slider().SetEnabled(false);
  SkinSlider empty = *Window().progress;
  empty.fill_image.clear();
  EXPECT_EQ(Seen().pixels, Painted([&](SkinPainter& p) {
                             p.PaintSlider(Slider().Place(), empty, {0.006, ControlState::kDisabled});
                           }).pixels);
}

// ---- digits, texts, icons

TEST(UiLed, Times) {
  const struct {
    uint32_t seconds;
    bool left;
    int32_t most;
    const char* text;
  } cases[] = {
      {0, false, 9, "00:00"},        {157, false, 9, "02:37"},        {157, true, 9, "-02:37"},
      {3599, false, 5, "59:59"},     {3600, false, 7, "1:00:00"},     {3600, false, 6, "60:00"},
      {3723, true, 8, "-1:02:03"},   {3723, true, 7, "-62:03"},       {36000, false, 7, "600:00"},
      {36000, false, 8, "10:00:00"}, {4294967, false, 0, "71582:47"},
  };
  for (const auto& test : cases)
    EXPECT_EQ(LedTime(test.seconds, test.left, test.most), test.text) << test.seconds << " " << test.most;
}

class UiText : public UiControls {
 protected:
  /// 96 pixels wide: 12 bytes at 16 pixels.
  void ShowText(const std::string& text, uint32_t interval_ms, int32_t scale = 1) {
    Show(
        [&](const SkinPlayerWindow&, SkinRect* place) {
          *place = {100, 40, 196, 60};
          SkinText look;
          look.font_size = 16;
          auto control = std::make_unique<TextControl>(look);
          control->SetText(text);
          control->SetSlideInterval(interval_ms);
          return control;
        },
        scale, &fonts_);
  }
  int32_t ShiftAfter(uint32_t now_ms) {
    view_->OnTick(now_ms);
    view_->Compose();
    return fonts_.shift;
  }

  FakeText fonts_;
};

TEST_F(UiText, SlidesFromEndToEndWithRests) {
  for (const int32_t scale : {1, 2}) {
    ShowText("abcdefghijklm", 100, scale);  // 8 pixels too long
    const uint32_t start = 0xFFFFFF00u;     // the clock wraps
    EXPECT_EQ(view_->TickMs(), TextControl::kRestMs);
    EXPECT_FALSE(fonts_.ellipsis);
    uint32_t now = start;
    EXPECT_EQ(ShiftAfter(now), 0);
    EXPECT_EQ(ShiftAfter(now += TextControl::kRestMs - 1), 0);
    EXPECT_EQ(ShiftAfter(now += 1), 4 * scale);
    EXPECT_EQ(view_->TickMs(), 100u);
    EXPECT_EQ(ShiftAfter(now += 99), 4 * scale) << "another control's tick";
    EXPECT_EQ(ShiftAfter(now += 1), 8 * scale);
    EXPECT_EQ(view_->TickMs(), TextControl::kRestMs) << "at the end";
    EXPECT_EQ(ShiftAfter(now += 100), 8 * scale);
    EXPECT_EQ(ShiftAfter(now += TextControl::kRestMs), 4 * scale) << "and back";
    EXPECT_EQ(ShiftAfter(now += 100), 0);
    EXPECT_EQ(view_->TickMs(), TextControl::kRestMs);
    It<TextControl>().SetText("abcdefghijklmn");
    EXPECT_EQ(view_->TickMs(), 0u) << "nobody knows yet how long it is";
    view_->Compose();
    EXPECT_EQ(view_->TickMs(), TextControl::kRestMs);
  }
}

TEST_F(UiText, StaysWhereItFitsOrShallNotSlide) {
  ShowText("abcdefghijkl", 100);
  EXPECT_EQ(view_->TickMs(), 0u) << "it fits";
  EXPECT_EQ(It().TipAt(0, 0), u"");
  ShowText("abcdefghijklm", 0);
  EXPECT_EQ(view_->TickMs(), 0u);
  EXPECT_TRUE(fonts_.ellipsis);
  EXPECT_EQ(It().TipAt(0, 0), u"abcdefghijklm") << "what is cut off can be read";
  It<TextControl>().SetSlideInterval(100);
  view_->Compose();
  EXPECT_NE(view_->TickMs(), 0u);
  It().SetVisible(false);
  EXPECT_EQ(view_->TickMs(), 0u);
}

TEST_F(UiControls, IconIsMadeToFit) {
  Bitmap given(4, 4);
  for (const int32_t size : {0, 4, 64}) {
    given = size > 0 ? Bitmap(size, size) : Bitmap();
    FillArea(given, BitmapBounds(given), 0xFF102030);
    Show([&](const SkinPlayerWindow&, SkinRect* place) {
      *place = {100, 40, 116, 56};
      auto icon = std::make_unique<IconControl>([] {});
      icon->SetIcon(given);
      return icon;
    });
    const Bitmap seen = Seen();
    const Bitmap own = ProgramIcon(16);
    const uint32_t corner = seen.Row(1)[1];
    const uint32_t middle = seen.Row(8)[8];
    EXPECT_EQ(middle, size == 0 ? own.Row(8)[8] : 0xFF102030u) << size;
    EXPECT_EQ(corner == middle, size == 64) << "small ones are not enlarged";
  }
}

// ---- tool windows

class TestTool final : public ToolWindowView {
 public:
  TestTool(WindowServices& services, const SkinLyricWindow& window)
      : ToolWindowView(SkinWindow::kLyric, services, CommandId::kShowLyric), window_(window) {}

 private:
  LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) override {
    BuildTools(window_, u"歌词", frame);
    AddButton("ontop", window_.ontop, CommandId::kLyricTopMost, true);
    return wardrobe.Find(&SkinDescription::lyric_window).second;
  }

  const SkinLyricWindow& window_;
};

TEST(UiToolWindow, HasCaptionAndButtonsOfAnySkin) {
  SkinWardrobe wardrobe;
  ASSERT_TRUE(wardrobe.Wear("", 1));
  SkinLyricWindow window = *wardrobe.Find(&SkinDescription::lyric_window).first;
  FakeProgram program;
  FakeText fonts;
  TestTool view(program, window);
  view.Wear(wardrobe, &fonts);
  view.Compose();
  EXPECT_EQ(Utf16FromGbk(fonts.text), u"歌词");
  view.Resize(view.LeastWidth() + 100, view.LeastHeight());
  Control* close = view.FindControl("close");
  EXPECT_EQ(close->Place().right, view.Width() - 4);
  EXPECT_EQ(view.TipAt(MiddleOf(*close).x, MiddleOf(*close).y).first, u"关闭");
  view.OnPress(MiddleOf(*close));
  view.OnRelease(MiddleOf(*close));
  EXPECT_EQ(program.Asked(), "1013");
  const Control* title = view.FindControl("title");
  EXPECT_EQ(title->Place().right, window.title->text.position.right + 100);
  EXPECT_EQ(view.PartAt(title->Place().left, title->Place().top + 4), WindowPart::kCaption);
  program.checked = {CommandId::kLyricTopMost};
  view.RefreshCommands();
  EXPECT_TRUE(view.FindControl("ontop")->IsPressed());

  window.title->image = window.close->image;
  view.Wear(wardrobe, &fonts);
  EXPECT_EQ(view.FindControl("title")->Role(), ControlRole::kGraphic);
  EXPECT_EQ(view.FindControl("title")->Name(), u"歌词");
  window.title.reset();
  window.close.reset();
  window.ontop.reset();
  view.Wear(wardrobe, &fonts);
  EXPECT_EQ(view.ControlCount(), 0u);
  view.Compose();
  view.RefreshCommands();
}

}  // namespace
}  // namespace melorin
