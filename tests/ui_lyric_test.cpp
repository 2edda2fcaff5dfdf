// SPDX-License-Identifier: MIT
//
// The lyric window without a window: where its lines are while a song plays, and what the mouse does to them.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "doc/keys.h"
#include "platform/text.h"
#include "skin/bitmap_draw.h"
#include "skin/loaded_skin.h"
#include "ui/lyric_window_view.h"

namespace melorin {
namespace {

class FakeServices final : public WindowServices, public CommandTarget, public LyricActions {
 public:
  CommandTarget& Commands() override { return *this; }
  void ShowMenu(MenuKind, SkinWindow, int32_t, int32_t) override {}
  std::u16string TipOf(CommandId) override { return {}; }
  void Execute(CommandId command) override { Ask("command", static_cast<int32_t>(command)); }
  bool IsEnabled(CommandId) const override { return true; }
  bool IsChecked(CommandId) const override { return false; }
  void SeekToLyric(uint32_t position_ms) override { Ask("seek", static_cast<int32_t>(position_ms)); }
  void MoveLyric(bool earlier) override { asked += earlier ? "earlier;" : "later;"; }
  void ShowLyricMenu(int32_t x, int32_t) override { Ask("menu", x); }

  std::string Asked() { return std::exchange(asked, {}); }
  std::string asked;

 private:
  void Ask(const char* what, int32_t number) { asked += what + (" " + std::to_string(number)) + ";"; }
};

/// Draws a block for each character, so that pixels can be told. Counts what it is asked.
class BlockPainter final : public TextPainter {
 public:
  void Draw(Bitmap& target, const SkinRect& area, std::string_view text_gbk, const TextStyle& style,
            int32_t shift) override {
    ++drawn;
    const int32_t width = WidthOf(text_gbk, style);
    int32_t left = area.left - shift;
    if ((style.align & kAlignHorizontalMask) == kAlignCentre) left += (area.Width() - width) / 2;
    FillArea(target, Intersection({left, area.top + 2, left + width, area.bottom - 2}, area),
             PixelOf(style.colour));
  }
  int32_t WidthOf(std::string_view text_gbk, const TextStyle& style) override {
    ++measured;
    return static_cast<int32_t>(text_gbk.size()) * style.pixels / 2;
  }
  int drawn = 0;
  int measured = 0;
};

/// Counts what is to be painted.
class Shell final : public WindowViewHost {
 public:
  int64_t pixels = 0;

  void RepaintArea(const SkinRect& area) override { pixels += int64_t{area.Width()} * area.Height(); }
  void ViewTickChanged() override {}
  void ControlChanged(size_t) override {}
  void ControlFocused(size_t) override {}
};

constexpr uint32_t kLight = 0xFF005CB8;
constexpr uint32_t kUsual = 0xFF737373;

class UiLyric : public testing::Test {
 protected:
  UiLyric() : view_(services_, services_) {
    look_.fade_index = look_.fade_hilight = 0;
    wardrobe_.Wear("", 1);
    view_.Wear(wardrobe_, &text_);
    view_.Resize(320, 300);
    view_.SetLook(look_);
  }
  LyricView& Lyric() { return *view_.Lyric(); }
  void Show(const std::u16string& lrc, int32_t at_ms = 0, bool runs = true) {
    auto doc = std::make_shared<LyricDoc>();
    doc->Parse(lrc);
    view_.SetLyric({std::move(doc), {}, {}});
    At(at_ms, runs);
  }
  void At(int32_t ms, bool runs = true) {
    view_.SetPosition(ms, 60000, runs, now_);
    Compose();
  }
  const Bitmap& Compose() { return view_.Compose(); }
  /// Lets time pass as the window's timer does; how often it ticked.
  int Pass(uint32_t ms) {
    int ticks = 0;
    const uint32_t end = now_ + ms;
    while (const uint32_t tick = view_.TickMs()) {
      if (static_cast<int32_t>(end - now_) < static_cast<int32_t>(tick)) break;
      now_ += tick;
      view_.OnTick(now_);
      Compose();
      ++ticks;
    }
    now_ = end;
    return ticks;
  }
  /// Rows of the lyric's area with such pixels, as places of their first ones: relative to its middle.
  std::vector<int32_t> RowsOf(uint32_t pixel) {
    const Bitmap& picture = Compose();
    const SkinRect& place = Lyric().Place();
    std::vector<int32_t> rows;
    bool inside = false;
    for (int32_t y = place.top; y < place.bottom; ++y) {
      bool has = false;
      for (int32_t x = place.left; x < place.right; ++x)
        has |= picture.Row(y)[x] == pixel;
      if (has && !inside) rows.push_back(y - place.top - place.Height() / 2);
      inside = has;
    }
    return rows;
  }
  int32_t CountOf(uint32_t pixel) {
    const Bitmap& picture = Compose();
    int32_t count = 0;
    for (const uint32_t one : picture.pixels)
      count += one == pixel;
    return count;
  }
  Pointer Middle(int32_t dx = 0, int32_t dy = 0) {
    const SkinRect& place = Lyric().Place();
    return {(place.left + place.right) / 2 + dx, (place.top + place.bottom) / 2 + dy};
  }

  FakeServices services_;
  BlockPainter text_;
  SkinWardrobe wardrobe_;
  LyricWindowView view_;
  LyricSettings look_;
  uint32_t now_ = 0xFFFFFF00;  // Wraps soon.
};

const std::u16string kSong = u"[00:00.00]aaaa\n[00:10.00]bbbbbb\n[00:20.00]cc\n[00:30.00]dddd\n";
/// 16 pixels of text, a quarter more for its row, and the interval.
constexpr int32_t kStep = 20 + 6;

TEST_F(UiLyric, ALineIsInTheMiddleWhileItIsSung) {
  Show(kSong);
  const struct {
    int32_t ms;
    const char* line;
    int32_t way;
  } cases[] = {{0, "aaaa", 0},         {5000, "aaaa", kStep / 2}, {10000, "bbbbbb", kStep},
               {15000, "bbbbbb", 39},  {25000, "cc", 65},         {30000, "dddd", 3 * kStep},
               {90000, "", 4 * kStep},  // A minute after the last began.
               {-5000, "", -kStep / 2}};
  for (const auto& test : cases) {
    At(test.ms, false);
    EXPECT_EQ(Lyric().LineGbk(), test.line) << test.ms;
    if (test.way >= 0) {
      EXPECT_EQ(Lyric().Way(), test.way) << test.ms;
    }
  }
  At(15000, false);
  const std::vector<int32_t> light = RowsOf(kLight);
  ASSERT_EQ(light.size(), 1u);
  EXPECT_LE(std::abs(light[0] + 8), 2) << "its text stands around the middle";
  EXPECT_EQ(RowsOf(kUsual).size(), 3u);
}

TEST_F(UiLyric, MovesByItselfAndRestsWhenNothingMoves) {
  Show(kSong, 10000);
  const int ticks = Pass(5000);
  EXPECT_NEAR(Lyric().Way(), kStep + kStep / 2, 1);
  EXPECT_NEAR(ticks, 13, 1) << "a look for each pixel, one every 400 ms";
  At(12000, false);
  EXPECT_EQ(view_.TickMs(), 0u) << "paused";
  look_.karaoke_mode = 1;
  view_.SetLook(look_);
  Show(u"[00:00.00]aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\n[00:01.00]b\n[00:02.00]c\n", 100);
  EXPECT_LE(view_.TickMs(), 20u) << "lines that are sung fast";
  view_.SetLyric({nullptr, "title", "none"});
  Compose();
  At(13000);
  EXPECT_EQ(view_.TickMs(), 0u) << "nothing to move";
}

TEST_F(UiLyric, PaintsNoMoreThanWhatChanges) {
  Shell shell;
  view_.SetHost(&shell);
  Show(kSong, 10000);
  look_.karaoke_mode = 1;
  view_.SetLook(look_);
  Compose();
  shell.pixels = 0;
  const int ticks = Pass(5000);
  // Every 400 ms all of the text moves by a pixel; between that the line fills by 24.
  EXPECT_LE(ticks, 13 + 24 + 20) << "no looks when nothing is new";
  EXPECT_LE(shell.pixels, 13 * 300 * (6 * 8 + 10) + 24 * 1 * 20);
  view_.Resize(200, 140);
  const struct {
    int karaoke, sideways, align;
  } cases[] = {{1, 0, 0}, {1, 0, 2}, {0, 0, 1}, {1, 1, 1}, {0, 1, 0}};
  for (const auto& test : cases) {
    look_.karaoke_mode = test.karaoke;
    look_.scroll_mode = test.sideways;
    look_.text_align = test.align;
    look_.fade_index = look_.fade_hilight = test.align != 0;
    view_.SetLook(look_);
    // Of several rows, the second; an empty one; the end.
    Show(u"[00:00.00]aaaa\n[00:00.40]" + std::u16string(30, u'b') +
             u"\n[00:02.20]\n[00:02.30]cccc\n[00:02.50]d\n",
         0);
    for (int step = 0; step < 130; ++step) {
      now_ += 20;
      view_.OnTick(now_);
      const std::vector<uint32_t> shown = Compose().pixels;
      view_.RepaintAll();
      ASSERT_TRUE(Compose().pixels == shown)
          << test.karaoke << test.sideways << test.align << " at " << step * 20;
    }
  }
  view_.SetHost(nullptr);
}

TEST_F(UiLyric, SmallErrorsOfThePositionBendTheClock) {
  LyricClock clock;
  clock.Set(1000, true, 0);
  clock.Set(1150, true, 250);
  int32_t last = clock.At(250);
  EXPECT_EQ(last, 1250) << "no jump back";
  for (uint32_t now = 260; now < 900; now += 10) {
    EXPECT_GE(clock.At(now), last);
    last = clock.At(now);
  }
  EXPECT_EQ(clock.At(900), 1800);
  clock.Set(5000, true, 900);
  EXPECT_EQ(clock.At(900), 5000) << "a seek";
  clock.Set(5000, false, 950);
  EXPECT_EQ(clock.At(2000), 5000) << "paused";
}

TEST_F(UiLyric, KaraokeFillsTheLine) {
  look_.karaoke_mode = 1;
  view_.SetLook(look_);
  Show(kSong, 10000, false);
  EXPECT_EQ(CountOf(kLight), 0);
  At(15000, false);
  const int32_t half = CountOf(kLight);
  At(19999, false);
  const int32_t whole = CountOf(kLight);
  EXPECT_NEAR(whole, 2 * half, 40);
  // Six characters of eight pixels, sixteen rows high.
  EXPECT_NEAR(whole, 6 * 8 * 16, 20);
}

TEST_F(UiLyric, LongLinesBecomeRowsOfLikeLength) {
  // 304 pixels of room less margins: 35 characters of 8.
  Show(u"[00:00.00]" + std::u16string(10, u'a') + u" " + std::u16string(20, u'b') + u" " +
           std::u16string(15, u'c') + u"\n[00:10.00]x\n",
       5000, false);
  EXPECT_EQ(RowsOf(kLight).size(), 2u);
  LyricLayout layout;
  CharacterWidths widths;
  TextStyle style;
  style.pixels = 16;
  widths.SetStyle(nullptr, style);
  const std::string comma = "\xA3\xAC";
  std::string chinese;
  for (int i = 0; i < 10; ++i)
    chinese += "\xB0\xA1";
  const struct {
    std::string text;
    std::string rows;
  } cases[] = {{"", "0"},
               {"short", "5"},
               {"aaaa bbbb cccc", "10 4"},              // In 88 pixels: 11 characters; blanks end a row.
               {std::string(25, 'w'), "11 11 3"},       // A word that no row holds.
               {chinese.substr(0, 10) + comma, "6 6"},  // Never a comma at the start.
               {"\xB0\xA1"
                "b\xB0\xA1",
                "5"}};
  for (const auto& test : cases) {
    layout.Make({test.text}, widths, {false, 88, 20, 6});
    std::string rows;
    size_t end = 0;
    for (size_t i = 0; i < layout.RowCount(); ++i) {
      const LyricLayout::Row& row = layout.RowAt(i);
      EXPECT_EQ(row.begin, end);
      end += row.size;
      EXPECT_LE(row.width, 88);
      rows += (i > 0 ? " " : "") + std::to_string(row.size);
    }
    EXPECT_EQ(end, test.text.size());
    EXPECT_EQ(rows, test.rows) << test.text;
  }
}

TEST_F(UiLyric, AnyBytesCanBeLaidOut) {
  LyricLayout layout;
  CharacterWidths widths;
  TextStyle style;
  style.pixels = 16;
  widths.SetStyle(nullptr, style);
  std::mt19937 random(7);
  std::vector<std::string> texts = {"\xB0", "\x81\x30", "\x81\x30\x81", std::string("\0", 1)};
  for (int i = 0; i < 300; ++i) {
    std::string text(random() % 80, ' ');
    for (char& byte : text)
      byte = static_cast<char>(random() % 3 == 0 ? 0x81 + random() % 0x7E : random() % 256);
    texts.push_back(text);
  }
  for (const bool sideways : {false, true}) {
    for (const int32_t room : {-5, 1, 50, 300}) {
      layout.Make(texts, widths, {sideways, room, 20, 6});
      ASSERT_EQ(layout.Lines().size(), texts.size());
      for (size_t i = 0; i < texts.size(); ++i) {
        const LyricLayout::Line& line = layout.Lines()[i];
        size_t bytes = 0;
        for (size_t row = 0; row < line.rows; ++row)
          bytes += layout.RowAt(line.first_row + row).size;
        EXPECT_EQ(bytes, texts[i].size());
        EXPECT_EQ(layout.LineAt(line.start), i);
      }
    }
  }
  EXPECT_EQ(layout.LineAt(-100), 0u);
  EXPECT_EQ(layout.LineAt(INT32_MAX), texts.size() - 1);
}

TEST_F(UiLyric, SidewaysTheLineRunsThroughTheMiddle) {
  look_.scroll_mode = 1;
  view_.SetLook(look_);
  Show(kSong, 0, false);
  const int32_t gap = 3 * 16;
  EXPECT_EQ(Lyric().Way(), 0);
  At(10000, false);
  EXPECT_EQ(Lyric().Way(), 4 * 8 + gap);
  At(15000, false);
  EXPECT_EQ(Lyric().Way(), 4 * 8 + gap + (6 * 8 + gap) / 2);
  EXPECT_EQ(RowsOf(kLight).size(), 1u);
  EXPECT_EQ(RowsOf(kUsual).size(), 1u) << "the neighbours are in the same row";
  view_.OnPress(Middle());
  view_.OnMove(Middle(-(6 * 8 + gap)));
  view_.OnRelease(Middle());
  EXPECT_EQ(services_.Asked(), "seek 27500;") << "three quarters of the next line";
}

TEST_F(UiLyric, DraggingSeeks) {
  Show(kSong, 5000);
  EXPECT_EQ(view_.PartAt(Middle().x, Middle().y), WindowPart::kControl);
  view_.OnPress(Middle());
  view_.OnMove(Middle(0, -2));
  EXPECT_FALSE(Lyric().IsDragging()) << "a hand that trembles";
  view_.OnMove(Middle(0, -kStep));
  EXPECT_TRUE(Lyric().IsDragging());
  EXPECT_EQ(Lyric().Way(), kStep + kStep / 2);
  Pass(1000);
  EXPECT_EQ(Lyric().Way(), kStep + kStep / 2) << "it is held";
  view_.OnRelease(Middle());
  EXPECT_EQ(services_.Asked(), "seek 15000;");
  EXPECT_EQ(Lyric().Way(), kStep + kStep / 2) << "it does not jump back";

  view_.OnPress(Middle());
  view_.OnMove(Middle(0, 100000));
  view_.OnRelease(Middle());
  EXPECT_EQ(services_.Asked(), "seek 0;");
  view_.OnPress(Middle());
  view_.OnMove(Middle(0, -100000));
  view_.OnRelease(Middle());
  EXPECT_EQ(services_.Asked(), "seek 59000;") << "not to the next song";
  view_.OnPress(Middle());
  view_.OnMove(Middle(0, 50));
  view_.OnCancel();
  view_.OnPress(Middle());
  view_.OnRelease(Middle());
  EXPECT_EQ(services_.Asked(), "") << "no drag, no seek";

  At(0, false);
  view_.OnDoubleClick(Middle(0, kStep + kStep / 2));
  EXPECT_EQ(services_.Asked(), "seek 10000;");
  view_.Focus(&Lyric(), true);
  for (const uint16_t key : {kKeyUp, kKeyDown})
    EXPECT_TRUE(view_.OnKey({key}));
  EXPECT_EQ(services_.Asked(), "seek 10000;") << "there is no line before the first";
  EXPECT_FALSE(view_.OnKey({kKeyDown, true}));

  look_.drag_lyric = 0;
  view_.SetLook(look_);
  EXPECT_EQ(view_.PartAt(Middle().x, Middle().y), WindowPart::kCaption) << "the window is moved instead";
}

TEST_F(UiLyric, TheWheelLooksAroundForAWhile) {
  Show(kSong, 0);
  EXPECT_TRUE(view_.OnWheel(Middle(), -1));
  Pass(600);
  EXPECT_NEAR(Lyric().Way(), 2 * kStep + 2, 2);
  Pass(4000);
  EXPECT_NEAR(Lyric().Way(), kStep * 46 / 100, 2) << "back to the song";
  EXPECT_TRUE(view_.OnWheel({Middle().x, Middle().y, true, false}, 1));
  EXPECT_EQ(services_.Asked(), "earlier;");
}

TEST_F(UiLyric, TextWithoutTimesScrollsEvenly) {
  std::u16string plain;
  for (int i = 0; i < 60; ++i)
    plain += u"line\n";
  Show(plain, 0);
  const int32_t half = Lyric().Place().Height() / 2;
  EXPECT_EQ(Lyric().Way(), half) << "the first line is at the top";
  EXPECT_TRUE(RowsOf(kLight).empty());
  At(60000, false);
  EXPECT_EQ(Lyric().Way(), 60 * kStep - half) << "the last one at the bottom";
  view_.OnPress(Middle());
  view_.OnMove(Middle(0, 50));
  view_.OnRelease(Middle(0, 50));
  EXPECT_EQ(Lyric().Way(), 60 * kStep - half - 50) << "by hand";
  EXPECT_EQ(services_.Asked(), "");
  Show(u"one\n", 30000);
  EXPECT_EQ(Lyric().Way(), kStep / 2) << "a short text stands in the middle";
  EXPECT_EQ(view_.TickMs(), 0u);
}

TEST_F(UiLyric, ShowsCharactersAsWanted) {
  Show(u"[00:00.00]\u6771\u98a8\n[00:10.00]\u6771\u98a8\n", 5000, false);
  look_.char_set = 1;
  view_.SetLook(look_);
  EXPECT_EQ(Lyric().Value(), u"\u4e1c\u98ce");
  look_.char_set = 2;
  view_.SetLook(look_);
  EXPECT_EQ(Lyric().Value(), u"\u6771\u98a8");
}

TEST_F(UiLyric, LargeLyricsAreQuick) {
  std::u16string many;
  for (int i = 0; i < 10000; ++i) {
    const std::string minute = std::to_string(i / 60);
    const std::string second = std::to_string(i % 60);
    many += u"[" + Utf16FromUtf8(minute + ":" + second) +
            u".00]this is a line of quite usual length, number " + Utf16FromUtf8(std::to_string(i)) + u"\n";
  }
  many += u"[999:00.00]" + std::u16string(100000, u'x') + u"\n";
  const auto start = std::chrono::steady_clock::now();
  Show(many, 5000000);
  for (int i = 0; i < 50; ++i)
    At(5000000 + i * 20);
  view_.Resize(400, 300);
  Compose();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
  EXPECT_LT(text_.measured, 200) << "each character once";
  EXPECT_LT(text_.drawn, 120) << "only rows that come into view";
  At(999 * 60000 + 500, false);
  EXPECT_GT(CountOf(kLight), 0);
}

TEST_F(UiLyric, ItsButtonsAreThere) {
  ASSERT_NE(view_.FindControl("close"), nullptr);
  ASSERT_NE(view_.FindControl("ontop"), nullptr);
  view_.FindControl("ontop")->DoDefault();
  EXPECT_EQ(services_.Asked(), "command " + std::to_string(static_cast<int>(CommandId::kLyricTopMost)) + ";");
  Show(kSong);
  EXPECT_TRUE(view_.OnContextMenu(Middle()));
  EXPECT_EQ(services_.Asked(), "menu " + std::to_string(Middle().x) + ";");
}

}  // namespace
}  // namespace melorin
