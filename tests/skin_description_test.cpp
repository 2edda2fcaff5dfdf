// SPDX-License-Identifier: MIT
//
// Skin descriptions: the syntax of each value, what of a file gets into the model, and what an author is
// told.
#include "skin/skin_description.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/text.h"
#include "skin/skin_reader.h"
#include "skin/skin_values.h"

namespace melorin {
namespace {

std::span<const uint8_t> Bytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

struct Reading {
  SkinReadResult result;
  SkinDescription skin;
  std::vector<SkinFinding> findings;
};

Reading Read(std::string_view text) {
  Reading reading;
  reading.result = ReadSkinDescription(Bytes(text), reading.skin, &reading.findings);
  SkinDescription again;
  EXPECT_EQ(ReadSkinDescription(Bytes(text), again), reading.result);
  return reading;
}

/// Of a skin in UTF-8 with these windows.
Reading ReadWindows(const std::string& windows) {
  Reading reading = Read("<?xml version='1.0' encoding='UTF-8'?><skin version='2'>" + windows + "</skin>");
  EXPECT_EQ(reading.result, SkinReadResult::kRead);
  return reading;
}

/// Findings about what is under `prefix`, as "missing path".
std::vector<std::string> Below(const Reading& reading, std::string_view prefix) {
  constexpr const char* kKinds[] = {"missing ", "invalid ", "unknown ", "poor "};
  std::vector<std::string> lines;
  for (const SkinFinding& finding : reading.findings)
    if (finding.path.starts_with(prefix))
      lines.push_back(kKinds[static_cast<int>(finding.kind)] + finding.path);
  return lines;
}

TEST(SkinValues, RectanglesAreFourNumbersAsScanfTakesThem) {
  const SkinRect kept = {9, 9, 9, 9};
  const struct {
    const char* text;
    SkinValue value;
    SkinRect rect;
  } kCases[] = {
      {"10,130,40,160", SkinValue::kTaken, {10, 130, 40, 160}},
      {"10, 130, 40, 160", SkinValue::kTaken, {10, 130, 40, 160}},
      {" \t-10,+2,\n3,4px,5", SkinValue::kTaken, {-10, 2, 3, 4}},
      {"1,2,3,4,", SkinValue::kTaken, {1, 2, 3, 4}},
      {"7,7,1,1", SkinValue::kTaken, {7, 7, 1, 1}},
      {"99999999999999999999,-4294967297,0,0", SkinValue::kTaken, {32767, -32767, 0, 0}},
      {"", SkinValue::kMissing, {}},
      {" ", SkinValue::kInvalid, kept},
      {"10,130,40", SkinValue::kInvalid, kept},
      {"10,130,40,", SkinValue::kInvalid, kept},
      {"10 ,130,40,160", SkinValue::kInvalid, kept},
      {"10,,40,160", SkinValue::kInvalid, kept},
      {"10;130;40;160", SkinValue::kInvalid, kept},
      {"- 1,2,3,4", SkinValue::kInvalid, kept},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    SkinRect rect = kept;
    EXPECT_EQ(ParseSkinRect(c.text, rect), c.value);
    EXPECT_EQ(rect, c.rect);
  }
}

TEST(SkinValues, ColoursAreThreeFieldsOfTwoHexadecimalDigits) {
  const struct {
    const char* text;
    SkinValue value;
    SkinColour colour;
  } kCases[] = {
      {"#010203", SkinValue::kTaken, 0x030201},   {"#FFaa00", SkinValue::kTaken, 0x00AAFF},
      {"#ff00ff00", SkinValue::kTaken, 0xFF00FF}, {"#1 2 3", SkinValue::kTaken, 0x030201},
      {"#12345", SkinValue::kTaken, 0x053412},    {"", SkinValue::kMissing, kNoColour},
      {"#123", SkinValue::kInvalid, kNoColour},   {"#1234", SkinValue::kInvalid, kNoColour},
      {"010203", SkinValue::kInvalid, kNoColour}, {"#01g203", SkinValue::kInvalid, kNoColour},
      {"red", SkinValue::kInvalid, kNoColour},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    SkinColour colour = kNoColour;
    EXPECT_EQ(ParseSkinColour(c.text, colour), c.value);
    EXPECT_EQ(colour, c.colour);
  }
}

TEST(SkinValues, AlignmentIsTwoWordsOfWhichEachSetsItsPart) {
  const struct {
    const char* text;
    SkinValue value;
    int32_t align;
  } kCases[] = {
      {"Right", SkinValue::kTaken, 3 + 32},
      {"top+left", SkinValue::kTaken, 17},
      {"LEFT+TOP", SkinValue::kTaken, 17},
      {"center", SkinValue::kTaken, 2 + 32},
      {"vcenter", SkinValue::kTaken, 1 + 32},
      {"bottom", SkinValue::kTaken, 1 + 48},
      {"left+right", SkinValue::kTaken, 3 + 32},
      {"", SkinValue::kMissing, 0},
      {"right+top+left", SkinValue::kInvalid, 3 + 32},
      {"right + top", SkinValue::kInvalid, 1 + 32},
      {"middle+top", SkinValue::kInvalid, 1 + 16},
      {"+top", SkinValue::kInvalid, 1 + 16},
      {"2", SkinValue::kInvalid, 1 + 32},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    int32_t align = kAlignLeft | kAlignVCentre;
    EXPECT_EQ(ParseSkinAlign(c.text, align), c.value);
    EXPECT_EQ(align, c.align);
  }
}

TEST(SkinValues, FlagsAndNumbers) {
  const struct {
    const char* text;
    SkinValue flag_value;
    bool flag;
    SkinValue number_value;
    int32_t number;
  } kCases[] = {
      {"", SkinValue::kMissing, true, SkinValue::kMissing, 7},
      {"TRUE", SkinValue::kTaken, true, SkinValue::kInvalid, 7},
      {"false", SkinValue::kTaken, false, SkinValue::kInvalid, 7},
      {"1", SkinValue::kInvalid, false, SkinValue::kTaken, 1},
      {" -12px", SkinValue::kInvalid, false, SkinValue::kTaken, -12},
      {"0x10", SkinValue::kInvalid, false, SkinValue::kTaken, 0},
      {"99999999999", SkinValue::kInvalid, false, SkinValue::kTaken, 32767},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    bool flag = true;
    EXPECT_EQ(ParseSkinFlag(c.text, flag), c.flag_value);
    EXPECT_EQ(flag, c.flag);
    int32_t number = 7;
    EXPECT_EQ(ParseSkinInteger(c.text, number), c.number_value);
    EXPECT_EQ(number, c.number);
  }
}

TEST(SkinReader, TakesRootTextsInTheEncodingOfTheFile) {
  const std::string utf8 =
      "<skin version='2' name='春天' author='作者' email='MAILTO:a@b.c' url='http://x' "
      "transparent_color='#ff00ff'/>";
  const std::string gbk = GbkFromUtf8(utf8);
  for (const std::string& text :
       {"<?xml version='1.0' encoding='UTF-8'?>" + utf8, "<?xml version='1.0' encoding='gb2312'?>" + gbk,
        "<?xml version='1.0' encoding='GBK'?>" + gbk, gbk}) {
    const Reading reading = Read(text);
    ASSERT_EQ(reading.result, SkinReadResult::kRead);
    EXPECT_EQ(Utf8FromGbk(reading.skin.name_gbk), "春天");
    EXPECT_EQ(Utf8FromGbk(reading.skin.author_gbk), "作者");
    EXPECT_EQ(reading.skin.email_gbk, "a@b.c");
    EXPECT_EQ(reading.skin.url_gbk, "http://x");
    EXPECT_EQ(reading.skin.transparent_colour, 0xFF00FF);
    EXPECT_EQ(reading.findings.size(), 5u) << "the five windows only";
  }
  EXPECT_EQ(Below(Read(utf8), "?xml"), std::vector<std::string>{"missing ?xml@encoding"});
  EXPECT_EQ(Below(Read("<?xml version='1.0' encoding='utf-8'?>" + utf8), "?xml"),
            std::vector<std::string>{"invalid ?xml@encoding"});
}

TEST(SkinReader, RejectsWhatIsNoSkinOfThisVersion) {
  const std::string large = "<skin version='2'/>" + std::string(kLargestSkinDescription, ' ');
  const struct {
    std::string_view text;
    SkinReadResult result;
  } kCases[] = {
      {"<skin version='1'><player_window image='a.bmp'/></skin>", SkinReadResult::kWrongVersion},
      {"<skin version='20'/>", SkinReadResult::kWrongVersion},
      {"<skin/>", SkinReadResult::kWrongVersion},
      {"<skin version='two'/>", SkinReadResult::kWrongVersion},
      {"<Skin version='2'/>", SkinReadResult::kNoSkin},
      {"<!-- nothing -->", SkinReadResult::kNoSkin},
      {"", SkinReadResult::kNoXml},
      {"<skin version='2'><player_window></skin>", SkinReadResult::kNoXml},
      {"\xEF\xBB\xBF<skin version='2'/>", SkinReadResult::kNoXml},
      {large, SkinReadResult::kNoXml},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text.substr(0, 80));
    const Reading reading = Read(c.text);
    EXPECT_EQ(reading.result, c.result);
    EXPECT_FALSE(reading.skin.player_window);
    EXPECT_FALSE(reading.findings.empty()) << "the author is told why";
  }
  EXPECT_EQ(Read(kCases[7].text).findings[0].path, "skin/player_window");
}

TEST(SkinReader, TakesEveryKindOfElement) {
  const SkinDescription skin =
      ReadWindows(
          "<player_window image='p.bmp'>"
          "<play position='10, 130, 40, 160' image='播放.bmp'/><minimode position='1,2,3,4' image='m.bmp'/>"
          "<volume position='1,2,30,4' thumb_image='t' bar_image='b' fill_image='f' vertical='True'/>"
          "<led position='5,6,7,8' image='l' align='left'/><visual position='1,1,2,2'/>"
          "<info position='2,2,9,9' color='#000080' bkgnd='#ffffff' font_size='14' font='宋体' "
          "align='vcenter'/>"
          "<status/></player_window>"
          "<mini_window image='mini.bmp'><lyric position='3,3,4,4'/><icon position='5,5,6,6'/></mini_window>"
          "<lyric_window position='1,1,2,2' resize_rect='3,3,4,4' resize_tile='1' image='y'>"
          "<title position='6,6,7,7' color='#123456' image='t' align='right'/>"
          "<ontop position='1,1,2,2' image='o' align='right'/><lyric position='8,8,9,9'/></lyric_window>"
          "<equalizer_window position='0,0,9,9' eq_interval='5' image='e'>"
          "<eqfactor position='4,4,5,5' thumb_image='k' vertical='true'/></equalizer_window>"
          "<playlist_window image='l'><toolbar position='1,2,3,4' image='bar' align='bottom'/>"
          "<scrollbar buttons_image='b' thumb_image='t' bar_image='r' thumb_resize_center='3' "
          "thumb_resize_tile='1'/><playlist position='2,2,3,3'/></playlist_window>")
          .skin;
  ASSERT_TRUE(skin.player_window && skin.mini_window && skin.lyric_window && skin.equalizer_window &&
              skin.playlist_window);
  const SkinPlayerWindow& player = *skin.player_window;
  EXPECT_EQ(player.image, "p.bmp");
  EXPECT_EQ(player.Button(SkinPlayerButton::kPlay)->position, (SkinRect{10, 130, 40, 160}));
  EXPECT_EQ(Utf8FromGbk(player.Button(SkinPlayerButton::kPlay)->image), "播放.bmp");
  EXPECT_EQ(player.Button(SkinPlayerButton::kPlay)->align, kAlignLeft | kAlignTop);
  EXPECT_EQ(player.Button(SkinPlayerButton::kMinimode)->image, "m.bmp");
  EXPECT_FALSE(player.Button(SkinPlayerButton::kStop));
  EXPECT_FALSE(player.progress);
  EXPECT_TRUE(player.volume->vertical);
  EXPECT_EQ(player.volume->thumb_image + player.volume->bar_image + player.volume->fill_image, "tbf");
  EXPECT_EQ(player.led->align, kAlignLeft | kAlignTop);
  EXPECT_EQ(player.visual->position, (SkinRect{1, 1, 2, 2}));
  EXPECT_EQ(player.info->colour, 0x800000);
  EXPECT_EQ(player.info->background, 0xFFFFFF);
  EXPECT_EQ(player.info->font_size, 14);
  EXPECT_EQ(Utf8FromGbk(player.info->font), "宋体");
  EXPECT_EQ(player.info->align, kAlignLeft | kAlignVCentre);
  ASSERT_TRUE(player.status);
  EXPECT_TRUE(player.status->position.IsEmpty());
  EXPECT_EQ(player.status->background, kNoColour);
  EXPECT_EQ(player.status->font_size, 12);

  EXPECT_EQ(skin.mini_window->lyric->position, (SkinRect{3, 3, 4, 4}));
  EXPECT_FALSE(skin.mini_window->Button(SkinPlayerButton::kLyric));
  EXPECT_EQ(skin.mini_window->icon->position, (SkinRect{5, 5, 6, 6}));

  EXPECT_EQ(skin.lyric_window->resize_rect, (SkinRect{3, 3, 4, 4}));
  EXPECT_EQ(skin.lyric_window->resize_tile, 1);
  EXPECT_EQ(skin.lyric_window->title->image, "t");
  EXPECT_EQ(skin.lyric_window->title->text.colour, 0x563412);
  EXPECT_EQ(skin.lyric_window->title->text.align, kAlignRight | kAlignVCentre);
  EXPECT_EQ(skin.lyric_window->ontop->align, kAlignRight | kAlignTop);
  EXPECT_EQ(skin.lyric_window->lyric->position, (SkinRect{8, 8, 9, 9}));

  EXPECT_EQ(skin.equalizer_window->eq_interval, 5);
  EXPECT_EQ(skin.equalizer_window->position, (SkinRect{0, 0, 9, 9}));
  EXPECT_TRUE(skin.equalizer_window->eqfactor->vertical);
  EXPECT_TRUE(skin.playlist_window->position.IsEmpty());
  EXPECT_EQ(skin.playlist_window->toolbar->align, kAlignLeft | kAlignBottom);
  EXPECT_EQ(skin.playlist_window->scrollbar->buttons_image, "b");
  EXPECT_EQ(skin.playlist_window->scrollbar->thumb_resize_center, 3);
  EXPECT_EQ(skin.playlist_window->scrollbar->thumb_resize_tile, 1);
  EXPECT_EQ(skin.playlist_window->playlist->position, (SkinRect{2, 2, 3, 3}));
}

TEST(SkinReader, LyricIsAButtonWhereItHasABitmap) {
  const SkinDescription skin = ReadWindows(
                                   "<player_window><lyric position='1,1,2,2'/></player_window>"
                                   "<mini_window><lyric position='1,1,2,2' image='a'/></mini_window>")
                                   .skin;
  EXPECT_TRUE(skin.player_window->Button(SkinPlayerButton::kLyric));
  EXPECT_FALSE(skin.player_window->lyric);
  EXPECT_TRUE(skin.mini_window->Button(SkinPlayerButton::kLyric));
  EXPECT_FALSE(skin.mini_window->lyric);
}

TEST(SkinReader, OfEqualElementsTheLastCountsAndOfAttributesTheFirst) {
  const Reading reading = ReadWindows(
      "<mini_window image='a'><stop position='1,1,2,2' image='a'/></mini_window>"
      "<mini_window image='b' image='c'><play position='1,1,2,2' image='a'/><play image='b'/></mini_window>");
  EXPECT_EQ(reading.skin.mini_window->image, "b");
  EXPECT_FALSE(reading.skin.mini_window->Button(SkinPlayerButton::kStop));
  const SkinButton& play = *reading.skin.mini_window->Button(SkinPlayerButton::kPlay);
  EXPECT_EQ(play.image, "b");
  EXPECT_TRUE(play.position.IsEmpty());
  EXPECT_EQ(Below(reading, "skin/mini_window"),
            (std::vector<std::string>{"missing skin/mini_window/minimode", "unknown skin/mini_window",
                                      "unknown skin/mini_window@image", "unknown skin/mini_window/play",
                                      "missing skin/mini_window/play@position",
                                      "missing skin/mini_window/minimode"}));
}

TEST(SkinReader, FindingsStandInTheOrderOfTheFile) {
  const Reading reading = ReadWindows(
      "<foo/><lyric_window resize_rect='1,1' color='#fff' image='a' resize_tile='yes' position='5,5,1,1'>"
      "<lyric position=' '><inner/></lyric><Close/><close image='c' position='1,1,2,2' align='rigth'/>"
      "<title position='1,1,9,9' color='blue' bkgnd='#ffffff' font_size='big'/></lyric_window>"
      "<equalizer_window position='1,1,2,2' image='e' resize_rect='1,1,2,2'>"
      "<profile position='1,1,2,2' image='i' vertical='1'/><preamp position='1,1,2,2' vertical='1'/>"
      "</equalizer_window>");
  const std::vector<std::string> want = {
      "unknown skin/foo",
      "invalid skin/lyric_window@resize_rect",
      "unknown skin/lyric_window@color",
      "invalid skin/lyric_window@resize_tile",
      "invalid skin/lyric_window@position",
      "invalid skin/lyric_window/lyric@position",
      "unknown skin/lyric_window/lyric/inner",
      "unknown skin/lyric_window/Close",
      "invalid skin/lyric_window/close@align",
      "invalid skin/lyric_window/title@color",
      "invalid skin/lyric_window/title@font_size",
      "unknown skin/equalizer_window@resize_rect",
      "unknown skin/equalizer_window/profile@vertical",
      "invalid skin/equalizer_window/preamp@vertical",
      "missing skin/equalizer_window/preamp@thumb_image",
      "missing skin/equalizer_window/close",
      "missing skin/equalizer_window/enabled",
      "missing skin/equalizer_window/reset",
      "missing skin/equalizer_window/balance",
      "missing skin/equalizer_window/surround",
      "missing skin/equalizer_window/eqfactor",
      "missing skin/player_window",
      "missing skin/mini_window",
      "missing skin/playlist_window",
  };
  EXPECT_EQ(Below(reading, ""), want);
  EXPECT_EQ(reading.findings[1].text, "\"1,1\" needs four numbers: left,top,right,bottom.");
  EXPECT_EQ(reading.findings[7].text,
            "The player does not know this element here, only \"close\" in small letters.");
  EXPECT_EQ(reading.skin.lyric_window->title->text.colour, 0);
  EXPECT_EQ(reading.skin.lyric_window->title->text.font_size, 12);
}

TEST(SkinReader, FindingsStayFewAndShort) {
  std::string windows;
  for (int i = 0; i < 3000; ++i)
    windows += "<player_window" + std::string(300, 'x') + "/>";
  const Reading many = ReadWindows(windows);
  EXPECT_EQ(many.findings.size(), kMostSkinFindings);
  EXPECT_LT(many.findings[0].path.size(), 100u);

  std::string value;
  for (int i = 0; i < 1000; ++i)
    value += "\n歌";
  const Reading one = ReadWindows("<mini_window><play image='a' position='" + value + "'/></mini_window>");
  ASSERT_EQ(one.findings[1].path, "skin/mini_window/play@position");
  EXPECT_TRUE(IsValidUtf8(one.findings[1].text));
  EXPECT_LT(one.findings[1].text.size(), 200u);
  EXPECT_EQ(one.findings[1].text.find('\n'), std::string::npos);
}

}  // namespace
}  // namespace melorin
