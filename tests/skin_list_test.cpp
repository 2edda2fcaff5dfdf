// SPDX-License-Identifier: MIT
#include "skin/skin_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "skin/image_file.h"
#include "skin/shrink.h"
#include "skin/skin_package.h"
#include "tests/playlist_test_folder.h"
#include "tests/skin_zip_builder.h"

namespace melorin {
namespace {

std::string Description(const std::string& attributes, const std::string& windows = "") {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<skin " + attributes + ">" + windows + "</skin>";
}

std::string OneColourPng(int32_t width, int32_t height, uint32_t pixel) {
  Bitmap bitmap(width, height);
  std::fill(bitmap.pixels.begin(), bitmap.pixels.end(), pixel);
  std::vector<uint8_t> png;
  EXPECT_TRUE(EncodePng(bitmap, png));
  return {png.begin(), png.end()};
}

std::string Skin(const std::string& xml, std::vector<zip_build::Entry> more = {}) {
  more.push_back({.name = "Skin.xml", .data = xml, .deflate = true});
  return zip_build::Archive{.entries = more}.Build();
}

Bitmap ThumbnailOf(std::string path, int32_t width, int32_t height) {
  SkinListEntry entry;
  entry.path_gbk = std::move(path);
  return SkinThumbnail(entry, width, height);
}

TEST(SkinList, HoldsWhatCanBeLoadedByName) {
  const TestFolder folder;
  folder.Write("zz.zip", Skin(Description("version=\"2\" name=\"蓝\" author=\"Lan\"")));
  folder.Write("No Name.v2.SKN", Skin(Description("version=\"2\" author=\"nobody\"")));
  MakeDirectory(folder.Path("folder.zip skin"));
  folder.Write("folder.zip skin/Skin.xml", Description("version=\"2\" name=\"alpha\""));
  folder.Write("old.zip", Skin(Description("version=\"1\" name=\"old\"")));
  folder.Write("empty.zip", zip_build::Archive{}.Build());
  folder.Write("broken.skn", "PK\3\4");
  folder.Write("other.rar", Skin(Description("version=\"2\" name=\"other\"")));
  MakeDirectory(folder.Path("nothing in it"));

  const std::vector<SkinListEntry> skins = ListSkins(folder.Path());
  const struct {
    const char* package;
    const char* name_utf8;
    const char* author;
  } kExpected[] = {{"", "Melorin", "Melorin"},
                   {"folder.zip skin", "alpha", ""},
                   {"No Name.v2.SKN", "No Name.v2", "nobody"},
                   {"zz.zip", "蓝", "Lan"}};
  ASSERT_EQ(skins.size(), std::size(kExpected));
  for (size_t i = 0; i < skins.size(); ++i) {
    EXPECT_EQ(skins[i].package_name_gbk, kExpected[i].package);
    EXPECT_EQ(Utf8FromGbk(skins[i].name_gbk), kExpected[i].name_utf8);
    EXPECT_EQ(Utf8FromGbk(skins[i].author_gbk), kExpected[i].author);
  }
  EXPECT_EQ(ListSkins(folder.Path("missing")).size(), 1u) << "the built-in skin is always there";
}

TEST(SkinList, ThumbnailsComeFromTheirFileOrTheWindow) {
  const TestFolder folder;
  const std::string window = "<player_window image=\"back.png\"/>";
  const std::string xml = Description("version=\"2\" name=\"n\"", window);
  const zip_build::Entry back = {.name = "back.png", .data = OneColourPng(300, 100, 0xFF112233)};
  folder.Write("a.zip",
               Skin(xml, {back, {.name = "Thumbnail.png", .data = OneColourPng(80, 80, 0xFF445566)}}));
  folder.Write("b.zip", Skin(xml, {back, {.name = "thumbnail.png", .data = "no image"}}));
  folder.Write("c.zip", Skin(Description("version=\"2\"")));
  const struct {
    const char* package;
    int32_t width;
    int32_t height;
    uint32_t pixel;
  } kCases[] = {{"a.zip", 40, 40, 0xFF445566}, {"b.zip", 60, 20, 0xFF112233}, {"c.zip", 0, 0, 0}};
  for (const auto& c : kCases) {
    const Bitmap picture = ThumbnailOf(folder.Path(c.package), 60, 40);
    EXPECT_EQ(picture.width, c.width) << c.package;
    EXPECT_EQ(picture.height, c.height) << c.package;
    if (picture.IsEmpty()) continue;
    EXPECT_EQ(picture.pixels[picture.pixels.size() / 2], c.pixel) << c.package;
  }
  EXPECT_TRUE(ThumbnailOf(folder.Path("gone.zip"), 60, 40).IsEmpty());
  const Bitmap built_in = ThumbnailOf(kDefaultSkinName, 160, 120);
  EXPECT_EQ(built_in.width, 160);
}

TEST(SkinList, ShrinksByTheMeanOfAnArea) {
  Bitmap bitmap(3, 2);
  bitmap.pixels = {0xFF000000, 0xFF0000FF, 0xFFFFFF00, 0x00000000, 0xFF0000FF, 0xFFFFFF00};
  // One and a half columns each, both rows.
  const Bitmap half = ShrunkToFit(bitmap, 2, 9);
  EXPECT_EQ(half.width, 2);
  EXPECT_EQ(half.height, 1);
  EXPECT_EQ(half.pixels, (std::vector<uint32_t>{0xAA000055, 0xFFAAAA55}));
  EXPECT_EQ(ShrunkToFit(bitmap, 1, 1).pixels, (std::vector<uint32_t>{0xD5555555}));
  EXPECT_EQ(ShrunkToFit(bitmap, 3, 2).pixels, bitmap.pixels);
  EXPECT_EQ(ShrunkToFit(Bitmap(5000, 2), 100, 100).height, 1);
  EXPECT_TRUE(ShrunkToFit(bitmap, 0, 5).IsEmpty());
  EXPECT_TRUE(ShrunkToFit(Bitmap(), 5, 5).IsEmpty());
}

}  // namespace
}  // namespace melorin
