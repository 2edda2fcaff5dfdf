// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "skin/image_alpha.h"
#include "skin/image_file.h"
#include "tests/skin_zip_builder.h"

namespace melorin {
namespace {

using namespace std::string_literals;
using zip_build::Bytes;
using zip_build::Le16;
using zip_build::Le32;

constexpr uint32_t kRed = 0xFFFF0000;
constexpr uint32_t kGreen = 0xFF00FF00;
constexpr uint32_t kBlue = 0xFF0000FF;
constexpr uint32_t kBlack = 0xFF000000;
constexpr uint32_t kWhite = 0xFFFFFFFF;
constexpr SkinColour kRedKey = 255;

using Pixels = std::vector<uint32_t>;

/// "failed" as no pixels at all.
Pixels Decoded(const std::string& bytes, int32_t width, int32_t height, SkinColour transparent = kNoColour) {
  Bitmap bitmap(1, 1);
  if (!DecodeImage(Bytes(bytes), transparent, bitmap)) {
    EXPECT_TRUE(bitmap.IsEmpty());
    return {};
  }
  EXPECT_EQ(bitmap.width, width);
  EXPECT_EQ(bitmap.height, height);
  return bitmap.pixels;
}

struct Bmp {
  int32_t width = 5;
  int32_t height = 2;
  uint32_t bits = 24;
  std::string data;
  uint32_t compression = 0;
  std::string masks = {};
  std::string palette = {};
  uint32_t colours = 0;
  uint32_t header = 40;

  std::string Build() const {
    std::string info = Le32(header);
    if (header == 12) {
      info += Le16(static_cast<uint32_t>(width)) + Le16(static_cast<uint32_t>(height)) + Le16(1) + Le16(bits);
    } else {
      info += Le32(static_cast<uint32_t>(width)) + Le32(static_cast<uint32_t>(height)) + Le16(1) +
              Le16(bits) + Le32(compression) + Le32(0) + Le32(2835) + Le32(2835) + Le32(colours) + Le32(0) +
              masks;
      if (info.size() < header) info.resize(header);
    }
    info += palette;
    const auto at = static_cast<uint32_t>(14 + info.size());
    return "BM" + Le32(static_cast<uint32_t>(at + data.size())) + Le32(0) + Le32(at) + info + data;
  }
};

std::string Rgb32(uint32_t r, uint32_t g, uint32_t b) {
  return Le32(r) + Le32(g) + Le32(b);
}

// The picture of most cases: red, green, blue, black, white over the same from right to left.
const Pixels kPicture = {kRed, kGreen, kBlue, kBlack, kWhite, kWhite, kBlack, kBlue, kGreen, kRed};
const std::string kPalette4 = "\0\0\xFF\0\0\xFF\0\0\xFF\0\0\0\0\0\0\0\xFF\xFF\xFF\0"s;
const std::string kPalette3 = "\0\0\xFF\0\xFF\0\xFF\0\0\0\0\0\xFF\xFF\xFF"s + std::string(33, '\0');

std::string Rows(uint32_t step, const std::array<uint32_t, 5>& colours, bool top_down = false) {
  std::string there;
  std::string back;
  for (size_t i = 0; i < 5; ++i) {
    there += Le32(colours[i]).substr(0, step);
    back += Le32(colours[4 - i]).substr(0, step);
  }
  there.resize((there.size() + 3) / 4 * 4);
  back.resize((back.size() + 3) / 4 * 4);
  return top_down ? there + back : back + there;
}

TEST(SkinImage, ReadsEveryKindOfBmp) {
  const std::string rows24 = Rows(3, {0xFF0000, 0x00FF00, 0x0000FF, 0, 0xFFFFFF});
  const std::string rows32 = Rows(4, {0xFF0000, 0x00FF00, 0x0000FF, 0, 0xFFFFFF});
  const std::string opaque32 = Rows(4, {kRed, kGreen, kBlue, kBlack, kWhite});
  const std::string rows555 = Rows(2, {0x7C00, 0x03E0, 0x001F, 0, 0x7FFF});
  const std::string rows565 = Rows(2, {0xF800, 0x07E0, 0x001F, 0, 0xFFFF});
  const std::string rows8 = Rows(1, {0, 1, 2, 3, 4});
  const std::string rows4 = "\x43\x21\x00\0\x01\x23\x40\0"s;
  const std::string masks565 = Rgb32(0xF800, 0x07E0, 0x1F);
  const struct {
    const char* what;
    Bmp bmp;
  } kCases[] = {
      {"24 bits", {.data = rows24}},
      {"24 bits, the end not filled up", {.data = rows24.substr(0, 31)}},
      {"24 bits from the top", {.height = -2, .data = Rows(3, {0xFF0000, 0xFF00, 0xFF, 0, 0xFFFFFF}, true)}},
      {"24 bits, OS/2", {.data = rows24, .header = 12}},
      {"24 bits, Windows 5", {.data = rows24, .header = 124}},
      {"32 bits without alpha", {.bits = 32, .data = rows32}},
      {"32 bits with alpha", {.bits = 32, .data = opaque32}},
      {"32 bits, fields",
       {.bits = 32, .data = rows32, .compression = 3, .masks = Rgb32(0xFF0000, 0xFF00, 0xFF)}},
      {"32 bits, ten a colour",
       {.bits = 32,
        .data = Rows(4, {0x3FF, 0xFFC00, 0x3FF00000, 0, 0x3FFFFFFF}),
        .compression = 3,
        .masks = Rgb32(0x3FF, 0xFFC00, 0x3FF00000)}},
      {"32 bits, fields with alpha, Windows 5",
       {.bits = 32,
        .data = opaque32,
        .compression = 3,
        .masks = Rgb32(0xFF0000, 0xFF00, 0xFF) + Le32(kBlack),
        .header = 124}},
      {"16 bits", {.bits = 16, .data = rows555}},
      {"16 bits, fields", {.bits = 16, .data = rows565, .compression = 3, .masks = masks565}},
      {"16 bits, fields, Windows 4",
       {.bits = 16, .data = rows565, .compression = 3, .masks = masks565, .header = 108}},
      {"8 bits", {.bits = 8, .data = rows8, .palette = kPalette4, .colours = 5}},
      {"8 bits, coded",
       {.bits = 8,
        .data = "\0\5\4\3\2\1\0\0\0\0\1\0\1\1\1\2\1\3\1\4\0\0\0\1"s,
        .compression = 1,
        .palette = kPalette4,
        .colours = 5}},
      {"4 bits", {.bits = 4, .data = rows4, .palette = kPalette4, .colours = 5}},
      {"4 bits, OS/2", {.bits = 4, .data = rows4, .palette = kPalette3, .header = 12}},
      {"4 bits, coded, with runs too long and no end",
       {.bits = 4,
        .data = "\0\5\x43\x21\x00\0\0\0\2\x01\2\x23\xFF\x44"s,
        .compression = 2,
        .palette = kPalette4,
        .colours = 5}},
  };
  for (const auto& test : kCases)
    EXPECT_EQ(Decoded(test.bmp.Build(), 5, 2), kPicture) << test.what;

  // One bit, over a byte's edge; black and white stand in the palette.
  const Bmp one = {
      .width = 10, .height = 1, .bits = 1, .data = "\xA0\x40\0\0"s, .palette = "\0\0\0\0\xFF\xFF\xFF\0"s};
  EXPECT_EQ(Decoded(one.Build(), 10, 1),
            (Pixels{kWhite, kBlack, kWhite, kBlack, kBlack, kBlack, kBlack, kBlack, kBlack, kWhite}));
  // What a jump leaves out stays transparent.
  const Bmp jump = {
      .bits = 8, .data = "\0\2\1\1\2\1\0\1"s, .compression = 1, .palette = kPalette4, .colours = 5};
  EXPECT_EQ(Decoded(jump.Build(), 5, 2), (Pixels{0, kGreen, kGreen, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(SkinImage, TurnsAlphaAndTheKeyIntoTransparency) {
  const auto bmp = [](const std::array<uint32_t, 4>& pixels) {
    std::string data;
    for (const uint32_t pixel : pixels)
      data += Le32(pixel);
    return Bmp{.width = 4, .height = 1, .bits = 32, .data = data}.Build();
  };
  EXPECT_EQ(Decoded(bmp({0x80FF0000, 0x00FFFFFF, 0x01FFFFFF, 0xFF123456}), 4, 1),
            (Pixels{0x80800000, 0, 0x01010101, 0xFF123456}));
  // The key counts by the colour in the file, whatever its alpha, and to the last bit.
  EXPECT_EQ(Decoded(bmp({0x80FF0000, 0xFFFF0000, 0xFFFE0000, 0xFFFF0001}), 4, 1, kRedKey),
            (Pixels{0, 0, 0xFFFE0000, 0xFFFF0001}));
  EXPECT_EQ(Decoded(bmp({0xFF0000, 0, 0xFFFFFF, 0xFF00}), 4, 1, kRedKey),
            (Pixels{0, kBlack, kWhite, kGreen}));
}

TEST(SkinImage, MultipliesAndDividesWithoutLoss) {
  for (uint32_t alpha = 0; alpha < 256; ++alpha) {
    for (uint32_t colour = 0; colour < 256; ++colour) {
      const uint32_t straight = alpha << 24 | colour << 16 | colour << 8 | (255 - colour);
      const uint32_t pixel = Premultiplied(straight);
      ASSERT_LE(pixel >> 16 & 255, alpha);
      ASSERT_EQ(Premultiplied(Straight(pixel)), pixel);
    }
  }
}

TEST(SkinImage, RefusesBmpsThatAreNone) {
  const std::string data(4000, '\0');
  const struct {
    const char* what;
    std::string bytes;
  } kCases[] = {
      {"nothing", ""},
      {"two letters", "BM"},
      {"no width", Bmp{.width = 0, .data = data}.Build()},
      {"no height", Bmp{.height = 0, .data = data}.Build()},
      {"a negative width", Bmp{.width = -5, .data = data}.Build()},
      {"the least height", Bmp{.height = INT32_MIN, .data = data}.Build()},
      {"too wide", Bmp{.width = 8193, .height = 1, .bits = 1, .data = data}.Build()},
      {"too many pixels",
       Bmp{.width = 8192, .height = 2049, .bits = 8, .data = data, .compression = 1}.Build()},
      {"2 bits", Bmp{.bits = 2, .data = data}.Build()},
      {"run lengths of 24 bits", Bmp{.data = data, .compression = 1}.Build()},
      {"run lengths from the top", Bmp{.height = -2, .bits = 8, .data = data, .compression = 1}.Build()},
      {"a photograph inside", Bmp{.data = data, .compression = 4}.Build()},
      {"fields with gaps", Bmp{.bits = 16, .data = data, .compression = 3, .masks = Rgb32(5, 8, 16)}.Build()},
      {"fields outside",
       Bmp{.bits = 16, .data = data, .compression = 3, .masks = Rgb32(1, 2, 65536)}.Build()},
      {"an unknown header", Bmp{.data = data, .header = 16}.Build()},
      {"16 bits, OS/2", Bmp{.bits = 16, .data = data, .header = 12}.Build()},
      {"run lengths without an end", Bmp{.bits = 8, .data = "\5\1\0\0\1"s, .compression = 1}.Build()},
      {"run lengths cut off in a jump", Bmp{.bits = 8, .data = "\0\2\1"s, .compression = 1}.Build()},
      {"run lengths cut off in pixels", Bmp{.bits = 8, .data = "\0\5\1\1"s, .compression = 1}.Build()},
  };
  for (const auto& test : kCases)
    EXPECT_EQ(Decoded(test.bytes, 0, 0), Pixels{}) << test.what;

  const std::string whole = Bmp{.data = Rows(3, {1, 2, 3, 4, 5})}.Build();
  for (size_t size = 0; size + 1 < whole.size(); ++size)
    EXPECT_EQ(Decoded(whole.substr(0, size), 0, 0), Pixels{}) << size;
}

// --- PNG

struct Png {
  int32_t width = 0;
  int32_t height = 0;
  int bits = 8;
  int colour_type = PNG_COLOR_TYPE_RGB;
  std::vector<std::string> rows;
  bool interlaced = false;
  std::vector<png_color> palette = {};
  std::string alpha = {};     ///< Of the palette.
  int transparent_gray = -1;  ///< The grey that is transparent.

  std::string Build() const {
    std::string out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &out,
        [](png_structp self, png_bytep bytes, size_t size) {
          static_cast<std::string*>(png_get_io_ptr(self))->append(reinterpret_cast<char*>(bytes), size);
        },
        nullptr);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), bits,
                 colour_type, interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    if (!alpha.empty()) png_set_tRNS(png, info, Bytes(alpha).data(), static_cast<int>(alpha.size()), nullptr);
    if (transparent_gray >= 0) {
      png_color_16 colour = {};
      colour.gray = static_cast<png_uint_16>(transparent_gray);
      png_set_tRNS(png, info, nullptr, 0, &colour);
    }
    // Values of a gamma must not change the colours.
    png_set_gAMA(png, info, 1.0);
    png_write_info(png, info);
    std::vector<png_bytep> lines;
    for (const std::string& row : rows)
      lines.push_back(const_cast<png_bytep>(Bytes(row).data()));
    png_write_image(png, lines.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return out;
  }
};

TEST(SkinImage, ReadsEveryKindOfPng) {
  const std::vector<png_color> palette = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
  const struct {
    const char* what;
    Png png;
    Pixels expected;
  } kCases[] = {
      {"colour", {.width = 2, .height = 1, .rows = {"\xFF\0\0\1\2\3"s}}, {kRed, 0xFF010203}},
      {"colour and alpha",
       {.width = 2, .height = 1, .colour_type = PNG_COLOR_TYPE_RGB_ALPHA, .rows = {"\xFF\0\0\x80\1\2\3\0"s}},
       {0x80800000, 0}},
      {"16 bits", {.width = 1, .height = 1, .bits = 16, .rows = {"\xFF\xFF\x80\x80\0\0"s}}, {0xFFFF8000}},
      {"grey, 1 bit",
       {.width = 3, .height = 1, .bits = 1, .colour_type = PNG_COLOR_TYPE_GRAY, .rows = {"\xA0"s}},
       {kWhite, kBlack, kWhite}},
      {"grey, 4 bits, one of them transparent",
       {.width = 2,
        .height = 1,
        .bits = 4,
        .colour_type = PNG_COLOR_TYPE_GRAY,
        .rows = {"\x1F"s},
        .transparent_gray = 1},
       {0, kWhite}},
      {"grey and alpha",
       {.width = 1, .height = 1, .colour_type = PNG_COLOR_TYPE_GRAY_ALPHA, .rows = {"\xFF\x40"s}},
       {0x40404040}},
      {"palette, 2 bits",
       {.width = 3,
        .height = 1,
        .bits = 2,
        .colour_type = PNG_COLOR_TYPE_PALETTE,
        .rows = {"\x18"s},
        .palette = palette},
       {kRed, kGreen, kBlue}},
      {"palette with alpha",
       {.width = 3,
        .height = 1,
        .colour_type = PNG_COLOR_TYPE_PALETTE,
        .rows = {"\0\1\2"s},
        .palette = palette,
        .alpha = "\x80\0"s},
       {0x80800000, 0, kBlue}},
      {"interlaced",
       {.width = 5,
        .height = 2,
        .colour_type = PNG_COLOR_TYPE_PALETTE,
        .rows = {"\0\1\2\0\1"s, "\1\0\2\1\0"s},
        .interlaced = true,
        .palette = palette},
       {kRed, kGreen, kBlue, kRed, kGreen, kGreen, kRed, kBlue, kGreen, kRed}},
  };
  for (const auto& test : kCases)
    EXPECT_EQ(Decoded(test.png.Build(), test.png.width, test.png.height), test.expected) << test.what;
}

TEST(SkinImage, RefusesPngsThatAreNone) {
  const std::string whole =
      Png{.width = 5, .height = 2, .rows = {std::string(15, 'a'), std::string(15, 'b')}}.Build();
  ASSERT_EQ(Decoded(whole, 5, 2).size(), 10u);
  for (size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(Decoded(whole.substr(0, size), 0, 0), Pixels{}) << size;
  // Whatever byte of the pixels changes, a checksum says so.
  const size_t pixels = whole.find("IDAT");
  for (size_t i = pixels; i < whole.size(); ++i) {
    std::string changed = whole;
    changed[i] ^= 0x10;
    EXPECT_EQ(Decoded(changed, 0, 0), Pixels{}) << i;
  }
  // A size is easily claimed: 8000 by 2000 pixels from the same few bytes.
  std::string claimed = whole;
  claimed.replace(16, 8, "\0\0\x1F\x40\0\0\x07\xD0"s);
  const uint32_t crc = zip_build::Crc(claimed.substr(12, 17));
  claimed.replace(29, 4, Le32(crc));
  std::reverse(claimed.begin() + 29, claimed.begin() + 33);
  EXPECT_EQ(Decoded(claimed, 0, 0), Pixels{});
}

TEST(SkinImage, WritesPngsThatReadTheSame) {
  Bitmap opaque(300, 2);
  for (size_t i = 0; i < opaque.pixels.size(); ++i)
    opaque.pixels[i] = kBlack | static_cast<uint32_t>(i * 7919);
  Bitmap clear(256, 256);
  for (uint32_t alpha = 0; alpha < 256; ++alpha)
    for (uint32_t colour = 0; colour < 256; ++colour)
      clear.Row(static_cast<int32_t>(alpha))[colour] =
          Premultiplied(alpha << 24 | colour << 16 | (255 - colour));
  for (const Bitmap& bitmap : {opaque, clear}) {
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(EncodePng(bitmap, bytes));
    EXPECT_EQ(Decoded({bytes.begin(), bytes.end()}, bitmap.width, bitmap.height), bitmap.pixels);
  }
  std::vector<uint8_t> bytes(3);
  EXPECT_FALSE(EncodePng(Bitmap(), bytes));
  EXPECT_TRUE(bytes.empty());
}

}  // namespace
}  // namespace melorin
