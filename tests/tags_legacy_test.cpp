// SPDX-License-Identifier: MIT
//
// GBK or Latin-1: titles and names as they are found in real collections, in the bytes that programs wrote.
#include <gtest/gtest.h>

#include "platform/text.h"
#include "tags/legacy_text.h"
#include "tests/tags_build.h"

namespace melorin {
namespace {

using namespace tag_build;

/// To code page 1252; only what the table below needs.
std::string Latin1(std::string_view utf8) {
  std::string out;
  for (const char16_t unit : Utf16FromUtf8(utf8)) {
    const std::pair<char16_t, char> extra[] = {{0x2019, '\x92'}, {0x201C, '\x93'}, {0x201D, '\x94'},
                                               {0x2026, '\x85'}, {0x2013, '\x96'}, {0x0153, '\x9C'},
                                               {0x0161, '\x9A'}, {0x0160, '\x8A'}, {0x017D, '\x8E'}};
    char byte = static_cast<char>(unit);
    for (const auto& [from, to] : extra)
      if (unit == from) byte = to;
    out += byte;
  }
  return out;
}

TEST(LegacyText, WesternStaysWestern) {
  const char* texts[] = {"Björk",
                         "Café",
                         "Beyoncé",
                         "Motörhead",
                         "Mötley Crüe",
                         "MÖTLEY CRÜE",
                         "Sigur Rós",
                         "Ágætis byrjun",
                         "Hüsker Dü",
                         "Édith Piaf",
                         "Non, je ne regrette rien – Édith Piaf",
                         "Françoise Hardy",
                         "Céline Dion",
                         "D'eux",
                         "Déjà vu",
                         "Où sont les femmes",
                         "L'été indien",
                         "Mylène Farmer",
                         "Für Elise",
                         "Die schöne Müllerin",
                         "Grönemeyer",
                         "Röyksopp",
                         "Tiësto",
                         "Ænima",
                         "Queensrÿche",
                         "Blue Öyster Cult",
                         "Antônio Carlos Jobim",
                         "Águas de Março",
                         "João Gilberto",
                         "Canção do Mar",
                         "Coração",
                         "São Paulo",
                         "Maná",
                         "Señorita",
                         "Ojalá que llueva café",
                         "Niño",
                         "¿Dónde están los ladrones?",
                         "¡Ay, Carmela!",
                         "Corazón espinado",
                         "Håkan Hellström",
                         "Året var 1968",
                         "Øde ø",
                         "Blåbærgrød",
                         "Størst av alt",
                         "Märchen",
                         "Straße",
                         "Größenwahn",
                         "Süßer Duft",
                         "Überlin",
                         "Ärzte",
                         "Die Ärzte",
                         "ÄÄRETÖN",
                         "Hääyö",
                         "Määrä",
                         "Þursaflokkurinn",
                         "Góðan daginn",
                         "Fjöllin hafa vakað",
                         "Sœur",
                         "Cœur de loup",
                         "Don’t Stop Believin’",
                         "I´m yours",
                         "“Heroes”",
                         "…Baby One More Time",
                         "25°C",
                         "Nº 5",
                         "L’École",
                         "Špilberk",
                         "naïve",
                         "coöperate",
                         "«Été»",
                         "Él",
                         "Año nuevo",
                         "Été 67",
                         "Àngels",
                         "créée",
                         "Zoë Kravitz"};
  for (const char* text : texts) {
    const std::string bytes = Latin1(text);
    EXPECT_EQ(DecodeLegacy(bytes), text);
  }
}

TEST(LegacyText, GbkBecomesGbk) {
  const char* texts[] = {"你好",
                         "月亮代表我的心",
                         "邓丽君",
                         "周杰伦",
                         "青花瓷",
                         "爱",
                         "雨",
                         "海",
                         "梦",
                         "年",
                         "情",
                         "人",
                         "行",
                         "换",
                         "红豆",
                         "王菲",
                         "Love 爱",
                         "爱 Love",
                         "Hello (Live版)",
                         "Hello(Remix版)",
                         "DJ舞曲",
                         "卡拉OK",
                         "卡拉OK伴奏",
                         "A座",
                         "ＯＫ",
                         "第1集",
                         "No.1 歌曲",
                         "童年（现场）",
                         "《红高粱》",
                         "后来",
                         "後來",
                         "無間道",
                         "愛情",
                         "風繼續吹",
                         "張國榮",
                         "陳奕迅",
                         "鄧麗君",
                         "時間",
                         "離開",
                         "長城",
                         "東風破",
                         "龍的傳人",
                         "陶喆",
                         "李宇春",
                         "朱婧汐",
                         "囧",
                         "周笔畅",
                         "F.I.R.飞儿乐团",
                         "S.H.E",
                         "Beyond 海阔天空",
                         "光輝歲月",
                         "真的愛你",
                         "情人",
                         "喜歡你",
                         "不再犹豫",
                         "01.开场",
                         "女人花",
                         "梅艳芳",
                         "さくら",
                         "中島みゆき",
                         "CD1 老歌",
                         "流行/摇滚",
                         "嗯",
                         "啊",
                         "静止",
                         "停止系统"};
  for (const char* text : texts)
    EXPECT_EQ(DecodeLegacy(GbkFromUtf8(text)), text);
}

TEST(LegacyText, Utf8IsSeen) {
  for (const char* text : {"你好", "月亮", "Café", "Björk", "Señor Niño", "Кино", "Ελλάδα", "さくら", "한국",
                           "Love 爱", "Sigur Rós", "naïve café", "plain"})
    EXPECT_EQ(DecodeLegacy(text), text);
  // Two characters that are UTF-8 by chance.
  EXPECT_EQ(DecodeLegacy(GbkFromUtf8("圣洛")), "圣洛");
}

TEST(LegacyText, ASinglePairFollowsTheTag) {
  const auto tag = [](const std::string& title, const std::string& artist) {
    return ReadAll(Id3v2(3, Frame(3, "TPE1", "\0"s + artist) + Frame(3, "TIT2", "\0"s + title)));
  };
  const std::string wu = GbkFromUtf8("無");
  EXPECT_EQ(tag(wu, GbkFromUtf8("周杰伦"))["Title"], "無");
  EXPECT_EQ(tag(wu, "somebody")["Title"], "\xC5\xB8o");
  EXPECT_EQ(tag("Bj\xF6rk", GbkFromUtf8("周杰伦"))["Title"], "Björk") << "each text is weighed for itself";
}

}  // namespace
}  // namespace melorin
