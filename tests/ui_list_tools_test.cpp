// SPDX-License-Identifier: MIT
//
// The toolbar and the scroll bar, driven by mouse and keys.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "doc/keys.h"
#include "skin/loaded_skin.h"
#include "ui/scroll_bar_control.h"
#include "ui/toolbar_control.h"
#include "ui_recorded_services.h"

namespace melorin {
namespace {

/// Paints a control onto nothing, as large as a window, with the built-in skin.
class Canvas {
 public:
  explicit Canvas(int32_t scale) : target_(300 * scale, 300 * scale) { wardrobe_.Wear("", scale); }
  const SkinPlaylistWindow& Window() { return *wardrobe_.Find(&SkinDescription::playlist_window).first; }
  const Bitmap& Paint(Control& control) {
    std::fill(target_.pixels.begin(), target_.pixels.end(), 0);
    SkinPainter painter(wardrobe_.Find(&SkinDescription::playlist_window).second->Images(), nullptr, target_);
    control.Paint({painter, nullptr, target_, wardrobe_.Scale()});
    return target_;
  }

 private:
  SkinWardrobe wardrobe_;
  Bitmap target_;
};

std::string MenuOf(int button) {
  return "menu " + std::to_string(static_cast<int>(MenuKind::kListAdd) + button) + " at " +
         std::to_string(4 + 32 * button) + ",62 ";
}

TEST(UiToolbar, MenusByMouseKeysAndScreenReader) {
  Canvas canvas(1);
  RecordedServices services;
  ToolbarControl bar(services, *canvas.Window().toolbar);
  bar.SetPlace(canvas.Window().toolbar->position);
  const Bitmap plain = canvas.Paint(bar);
  bar.OnHover({4 + 32 * 3 + 5, 40});
  const Bitmap hot = canvas.Paint(bar);
  EXPECT_NE(hot.pixels, plain.pixels);
  EXPECT_EQ(bar.TipAt(4 + 32 * 3 + 5, 40), u"给列表排序");
  Bitmap open;
  services.on_menu = [&] { open = canvas.Paint(bar); };
  bar.OnPress({4 + 32 * 3 + 5, 40});
  const Bitmap down = canvas.Paint(bar);
  EXPECT_NE(down.pixels, hot.pixels);
  bar.OnDrag({4, 290});
  EXPECT_EQ(canvas.Paint(bar).pixels, plain.pixels);
  bar.OnRelease({4, 290});
  EXPECT_EQ(services.Asked(), "") << "let go elsewhere";
  bar.OnPress({4 + 32 * 3 + 5, 40});
  bar.OnRelease({4 + 32 * 3 + 6, 41});
  EXPECT_EQ(services.Asked(), MenuOf(3));
  EXPECT_EQ(open.pixels, down.pixels) << "it stays down while its menu is open";
  EXPECT_EQ(canvas.Paint(bar).pixels, plain.pixels);

  bar.SetFocused(true);
  EXPECT_FALSE(bar.TakesFocusByMouse());
  const struct {
    uint16_t key;
    size_t focus;
    bool opens;
  } keys[] = {{kKeyHome, 0, false},  {kKeyLeft, 6, false},  {kKeySpace, 6, true}, {kKeyRight, 0, false},
              {kKeyReturn, 0, true}, {kKeyRight, 1, false}, {kKeyDown, 1, true},  {kKeyEnd, 6, false}};
  for (const auto& test : keys) {
    EXPECT_TRUE(bar.OnKey({test.key}));
    EXPECT_TRUE(bar.IsPartSelected(test.focus)) << test.key;
    EXPECT_EQ(services.Asked(), test.opens ? MenuOf(static_cast<int>(test.focus)) : "") << test.key;
  }
  EXPECT_NE(canvas.Paint(bar).pixels, plain.pixels);
  EXPECT_FALSE(bar.OnKey({kKeyUp}));
  EXPECT_FALSE(bar.OnKey({kKeySpace, true}));

  ASSERT_EQ(bar.PartCount(), 7u);
  const char16_t* const names[] = {u"添加", u"删除", u"列表", u"排序", u"查找", u"编辑", u"模式"};
  for (size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(bar.PartName(i), names[i]);
    bar.DoPart(i);
    EXPECT_EQ(services.Asked(), MenuOf(static_cast<int>(i)));
  }
}

TEST(UiToolbar, OutlivesTheSkinThatItsMenuChanges) {
  Canvas canvas(1);
  RecordedServices services;
  auto bar = std::make_unique<ToolbarControl>(services, *canvas.Window().toolbar);
  bar->SetPlace(canvas.Window().toolbar->position);
  services.on_menu = [&] { bar.reset(); };
  ToolbarControl* const gone = bar.get();
  gone->OnPress({5, 40});
  gone->OnRelease({5, 40});
  EXPECT_FALSE(bar);
  EXPECT_EQ(services.Asked(), MenuOf(0));
}

class UiScrollBar : public ::testing::TestWithParam<int32_t> {
 protected:
  UiScrollBar() {
    bar_.SetPlace({100, 20, 112, 220});
    Range(0);
  }
  void Range(int32_t position) {
    bar_.SetRange({position_ = position, 800, 200, 20});
    canvas_.Paint(bar_);
  }
  void Press(int32_t y) { bar_.OnPress({105, y}); }
  void Release(int32_t y) { bar_.OnRelease({105, y}); }
  void Hold(uint32_t ms) {
    for (uint32_t passed = 0; passed < ms && bar_.TickMs() != 0; passed += bar_.TickMs())
      bar_.OnTick(now_ms_ += bar_.TickMs());
  }

  Canvas canvas_{GetParam()};
  int32_t position_ = 0;
  uint32_t now_ms_ = 0xFFFFFFF0;
  ScrollBarControl bar_{*canvas_.Window().scrollbar, [this](int32_t to) { Range(to); }};
};

TEST_P(UiScrollBar, ButtonsPagesAndTheirRepetition) {
  Press(218);
  EXPECT_EQ(position_, 20);
  Hold(280);
  EXPECT_EQ(position_, 20);
  Hold(420);
  EXPECT_GE(position_, 140);
  Release(218);
  EXPECT_EQ(bar_.TickMs(), 0u);
  Range(790);
  Press(218);
  EXPECT_EQ(position_, 800) << "not beyond the end";
  Hold(1000);
  EXPECT_EQ(position_, 800);
  Release(218);
  Press(21);
  EXPECT_EQ(position_, 780);
  Hold(600);
  bar_.OnDrag({300, 21});
  const int32_t left = position_;
  Hold(600);
  EXPECT_EQ(position_, left) << "it rests while the mouse is elsewhere";
  Release(21);

  Range(0);
  Press(190);
  EXPECT_EQ(position_, 180) << "a page less a line";
  Hold(3000);
  EXPECT_LT(position_, 800) << "the thumb has come to the mouse";
  EXPECT_GT(position_, 500);
  Release(190);
}

TEST_P(UiScrollBar, TheThumbIsDragged) {
  Range(400);
  Press(120);
  EXPECT_EQ(position_, 400) << "catching it moves nothing";
  bar_.OnDrag({105, 120});
  EXPECT_EQ(position_, 400);
  bar_.OnDrag({105, 121});
  EXPECT_NEAR(position_, 406, 3);
  bar_.OnDrag({500, 500});
  EXPECT_EQ(position_, 800);
  bar_.OnDrag({105, 120});
  EXPECT_NEAR(position_, 400, 3);
  bar_.OnDrag({105, -500});
  EXPECT_EQ(position_, 0);
  Release(0);
  bar_.OnDrag({105, 120});
  EXPECT_EQ(position_, 0) << "let go";
  EXPECT_EQ(bar_.TickMs(), 0u);
}

TEST_P(UiScrollBar, EverythingInView) {
  EXPECT_TRUE(bar_.IsEnabled());
  Range(400);
  EXPECT_EQ(bar_.Value(), u"50%");
  const Bitmap plain = canvas_.Paint(bar_);
  bar_.OnHover({105, 120});
  EXPECT_NE(canvas_.Paint(bar_).pixels, plain.pixels);
  bar_.OnLeave();
  EXPECT_EQ(canvas_.Paint(bar_).pixels, plain.pixels);
  bar_.SetRange({0, 0, 200, 20});
  EXPECT_FALSE(bar_.IsEnabled());
  EXPECT_NE(canvas_.Paint(bar_).pixels, plain.pixels);
  bar_.OnPress({105, 120});
  bar_.OnDrag({105, 160});
  EXPECT_EQ(position_, 400) << "nothing was asked";
}

INSTANTIATE_TEST_SUITE_P(Scales, UiScrollBar, ::testing::Values(1, 2));

}  // namespace
}  // namespace melorin
