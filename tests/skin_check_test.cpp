// SPDX-License-Identifier: MIT
//
// What CheckSkin says of bitmaps that do not fit their description. A skin in which all fits is made first;
// each case spoils one thing.
#include "skin/skin_check.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "doc/settings.h"
#include "skin/bitmap_draw.h"

namespace melorin {
namespace {

/// An uncompressed BMP of 24 bits a pixel, rows from the bottom up. `colour`: 0xRRGGBB of each pixel.
std::vector<uint8_t> Bmp(int32_t width, int32_t height, const std::function<uint32_t(int, int)>& colour) {
  const auto row = static_cast<uint32_t>((width * 3 + 3) / 4 * 4);
  const uint32_t size = row * static_cast<uint32_t>(height);
  std::vector<uint8_t> out = {'B', 'M'};
  const auto number = [&out](uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
      out.push_back(static_cast<uint8_t>(value >> i * 8));
  };
  for (const uint32_t field :
       {54 + size, 0u, 54u, 40u, static_cast<uint32_t>(width), static_cast<uint32_t>(height)})
    number(field, 4);
  number(1, 2);
  number(24, 2);
  for (const uint32_t field : {0u, size, 2835u, 2835u, 0u, 0u})
    number(field, 4);
  for (int32_t y = height - 1; y >= 0; --y) {
    for (int32_t x = 0; x < width; ++x)
      number(colour(x, y), 3);
    out.resize(54 + row * static_cast<size_t>(height - y));
  }
  return out;
}

std::vector<uint8_t> Plain(int32_t width, int32_t height, uint32_t rgb = 0x202020) {
  return Bmp(width, height, [rgb](int, int) { return rgb; });
}

struct FakePackage final : SkinPackage {
  std::map<std::string, std::vector<uint8_t>> files;
  bool Read(std::string_view name, std::vector<uint8_t>& out) override {
    const auto found = files.find(std::string(name));
    if (found == files.end()) return false;
    out = found->second;
    return true;
  }
  std::vector<std::string> NamesGbk() const override { return {}; }
};

struct Skin {
  SkinDescription description;
  FakePackage package;

  static Skin Good() {
    static const Skin skin;  // Made once: bitmaps take their time under the sanitizers.
    return skin;
  }

 private:
  Skin() {
    SkinPlayerWindow& player = description.player_window.emplace();
    player.image = "player.bmp";
    package.files["player.bmp"] = Plain(200, 100);
    player.buttons[0] = {{10, 10, 34, 34}, "play.bmp"};
    package.files["play.bmp"] = Plain(96, 24);
    player.volume = {{50, 10, 110, 20}, "thumb.bmp", "bar.bmp", "fill.bmp"};
    package.files["thumb.bmp"] = Plain(40, 10);
    package.files["bar.bmp"] = package.files["fill.bmp"] = Plain(60, 10);
    player.led = {{120, 10, 180, 30}, "led.bmp"};
    package.files["led.bmp"] = Plain(144, 20);
    player.info.emplace().position = {10, 40, 190, 60};
    player.info->colour = 0xFFFFFF;

    SkinEqualizerWindow& equalizer = description.equalizer_window.emplace();
    equalizer.image = "eq.bmp";
    equalizer.position = {0, 100, 200, 200};
    package.files["eq.bmp"] = Plain(200, 100);
    equalizer.eqfactor = {{20, 10, 30, 70}, "thumb.bmp", "", "", true};
    equalizer.eq_interval = 5;

    SkinPlaylistWindow& playlist = description.playlist_window.emplace();
    playlist.image = "list.bmp";
    playlist.position = {200, 0, 500, 200};
    playlist.resize_rect = {20, 20, 180, 80};
    package.files["list.bmp"] = Plain(200, 100);
    playlist.toolbar = {{0, 0, 140, 20}, "tools.bmp"};
    package.files["tools.bmp"] = Plain(140, 80);
    playlist.scrollbar = {"buttons.bmp", "scroll.bmp", "track.bmp", 4, 0};
    package.files["buttons.bmp"] = Plain(40, 20);
    package.files["scroll.bmp"] = Plain(40, 12);
    package.files["track.bmp"] = Plain(10, 1);
  }
};

std::vector<std::string> Check(Skin& skin) {
  std::vector<SkinFinding> findings;
  CheckSkin(skin.description, skin.package, &findings);
  std::vector<std::string> paths;
  constexpr const char* kKinds[] = {"missing ", "invalid ", "unknown ", "poor "};
  for (const SkinFinding& finding : findings)
    paths.push_back(kKinds[static_cast<int>(finding.kind)] + finding.path);
  return paths;
}

TEST(SkinCheck, SaysNothingOfASkinThatFits) {
  Skin skin = Skin::Good();
  EXPECT_EQ(Check(skin), std::vector<std::string>());
  skin.package.files["play.bmp"] = Plain(48, 48);
  skin.package.files["bar.bmp"] = Plain(60, 4);
  skin.package.files["bar@2x.bmp"] = Plain(120, 8);
  EXPECT_EQ(Check(skin), std::vector<std::string>()) << "other forms that are as good";
}

TEST(SkinCheck, FindsWhatDoesNotFit) {
  using Spoil = void (*)(Skin&);
  const struct {
    Spoil spoil;
    const char* finding;
  } kCases[] = {
      {[](Skin& s) { s.package.files.erase("play.bmp"); }, "missing skin/player_window/play@image"},
      {[](Skin& s) { s.package.files["bar.bmp"].resize(100); },
       "invalid skin/player_window/volume@bar_image"},
      {[](Skin& s) { s.package.files["led.bmp"] = {}; }, "invalid skin/player_window/led@image"},
      {[](Skin& s) { s.package.files["play@2x.bmp"] = Plain(96, 24); }, "poor skin/player_window/play@image"},
      {[](Skin& s) { s.package.files["play@2x.bmp"] = {1}; }, "invalid skin/player_window/play@image"},
      {[](Skin& s) { s.package.files["play.bmp"] = Plain(98, 24); }, "poor skin/player_window/play@image"},
      {[](Skin& s) { s.package.files["play.bmp"] = Plain(120, 24); }, "poor skin/player_window/play@image"},
      {[](Skin& s) { s.package.files["play.bmp"] = Plain(96, 36); }, "poor skin/player_window/play@image"},
      {[](Skin& s) { s.package.files["fill.bmp"] = Plain(59, 10); },
       "poor skin/player_window/volume@fill_image"},
      {[](Skin& s) {
         s.description.player_window->volume->position.bottom = 19;
         s.description.player_window->volume->bar_image = s.description.player_window->volume->fill_image =
             "";
       },
       "poor skin/player_window/volume@thumb_image"},
      {[](Skin& s) { s.package.files["led.bmp"] = Plain(145, 20); }, "poor skin/player_window/led@image"},
      {[](Skin& s) { s.description.player_window->led->position.right = 179; },
       "poor skin/player_window/led@position"},
      {[](Skin& s) { s.description.player_window->info->position.right = 201; },
       "poor skin/player_window/info@position"},
      {[](Skin& s) { s.description.player_window->info->font_size = 21; },
       "poor skin/player_window/info@font_size"},
      {[](Skin& s) { s.description.player_window->info->font_size = -1; },
       "poor skin/player_window/info@font_size"},
      {[](Skin& s) { s.description.equalizer_window->eq_interval = 9; },
       "poor skin/equalizer_window@eq_interval"},
      {[](Skin& s) { s.description.equalizer_window->position.right = 210; },
       "poor skin/equalizer_window@position"},
      {[](Skin& s) { s.description.playlist_window->position.right = 399; },
       "poor skin/playlist_window@position"},
      {[](Skin& s) { s.description.playlist_window->resize_rect.bottom = 101; },
       "poor skin/playlist_window@resize_rect"},
      {[](Skin& s) { s.package.files["tools.bmp"] = Plain(140, 84); },
       "poor skin/playlist_window/toolbar@image"},
      {[](Skin& s) { s.package.files["tools.bmp"] = Plain(147, 80); },
       "poor skin/playlist_window/toolbar@image"},
      {[](Skin& s) { s.package.files["buttons.bmp"] = Plain(40, 21); },
       "poor skin/playlist_window/scrollbar@buttons_image"},
      {[](Skin& s) { s.description.playlist_window->scrollbar->thumb_resize_center = 13; },
       "poor skin/playlist_window/scrollbar@thumb_resize_center"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(&c - kCases);
    Skin skin = Skin::Good();
    c.spoil(skin);
    EXPECT_EQ(Check(skin), std::vector<std::string>{c.finding});
  }
}

TEST(SkinCheck, ContrastIsThatOfTheGuidelines) {
  EXPECT_NEAR(ContrastRatio(0x000000, 0xFFFFFF), 21, 0.001);
  EXPECT_NEAR(ContrastRatio(0xFFFFFF, 0xFFFFFF), 1, 0.001);
  // Known pairs on white: #767676 is the lightest grey that passes; red and blue tell the order of bytes.
  EXPECT_NEAR(ContrastRatio(0x767676, 0xFFFFFF), 4.54, 0.005);
  EXPECT_NEAR(ContrastRatio(0x0000FF, 0xFFFFFF), 4.00, 0.005);
  EXPECT_NEAR(ContrastRatio(0xFF0000, 0xFFFFFF), 8.59, 0.005);
}

TEST(SkinCheck, TextsAreSeenAgainstWhatIsBehindThem) {
  const std::vector<std::string> none;
  const std::vector<std::string> poor = {"poor skin/player_window/info@color"};
  Skin skin = Skin::Good();
  SkinText& info = *skin.description.player_window->info;
  const auto background = [&skin](const std::function<uint32_t(int, int)>& colour) {
    skin.package.files["player.bmp"] = Bmp(200, 100, colour);
  };
  // Bright only outside the text; then a thin line; then a fifth of the text.
  background([](int x, int y) { return y >= 40 && y < 60 && x >= 10 && x < 190 ? 0x202020u : 0xFFFFFFu; });
  EXPECT_EQ(Check(skin), none);
  background([](int, int y) { return y == 50 ? 0xF0F0F0u : 0x202020u; });
  info.position.bottom = 70;
  EXPECT_EQ(Check(skin), none);
  background([](int, int y) { return y >= 50 && y < 56 ? 0xF0F0F0u : 0x202020u; });
  EXPECT_EQ(Check(skin), poor);
  // A background of its own hides the window.
  info.background = 0x000080;
  EXPECT_EQ(Check(skin), none);
  info.background = 0xF0F0F0;
  EXPECT_EQ(Check(skin), poor);
  // Nothing but what is behind the window.
  info.background = kNoColour;
  background([](int, int) { return 0xFF00FFu; });
  skin.description.transparent_colour = 0xFF00FF;
  EXPECT_EQ(Check(skin), std::vector<std::string>{"poor skin/player_window/info@position"});
}

/// What windows paint in the settings' colours, selected rows and the lyric's other lines among it.
TEST(SkinCheck, TheColoursOfTheDefaultSettingsCanBeRead) {
  const Settings settings{RegistryProbe{}};
  const auto colour = [](SettingsColour c) { return static_cast<SkinColour>(c.value); };
  const PlayListLook& list = settings.play_list;
  const SkinColour selected = MixColours(colour(list.color_bkgnd), colour(list.color_hilight), 40);
  for (const SettingsColour text :
       {list.color_text, list.color_hilight, list.color_number, list.color_duration})
    for (const SkinColour background : {colour(list.color_bkgnd), colour(list.color_bkgnd2), selected})
      EXPECT_GE(ContrastRatio(colour(text), background), kLeastTextContrast)
          << std::hex << text.value << " on " << background;
  const LyricLook& lyric = settings.lyric;
  for (const SettingsColour text : {lyric.text_color, lyric.hilight_color})
    EXPECT_GE(ContrastRatio(colour(text), colour(lyric.bkgnd_color)), kLeastTextContrast) << text.value;
}

/// The manual quotes the built-in skin; what it made up itself is not marked as XML there.
TEST(SkinManual, QuotesTheBuiltInSkinAsItIs) {
  const auto read = [](const char* name) {
    std::ifstream file(std::string(MELORIN_SOURCE_DIR) + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const std::string skin = read("/skin/default/Skin.xml");
  std::istringstream manual(read("/docs/skins.md"));
  bool quoting = false;
  int quoted = 0;
  for (std::string line; std::getline(manual, line);) {
    if (line.starts_with("```")) {
      quoting = line.starts_with("```xml");
    } else if (quoting) {
      ++quoted;
      EXPECT_NE(skin.find(line), std::string::npos) << line;
    }
  }
  EXPECT_GT(quoted, 10);
}

}  // namespace
}  // namespace melorin
