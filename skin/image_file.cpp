// SPDX-License-Identifier: MIT
#include "skin/image_file.h"

#include <algorithm>
#include <new>

#include "skin/bmp_reader.h"
#include "skin/image_alpha.h"
#include "skin/png_image.h"

namespace melorin {

bool DecodeImage(std::span<const uint8_t> bytes, SkinColour transparent, Bitmap& out) try {
  out = Bitmap();
  Bitmap image;
  const bool whole = LooksLikePng(bytes) ? ReadPng(bytes, image) : ReadBmp(bytes, image);
  if (!whole) return false;
  FinishPixels(image.pixels, transparent);
  out = std::move(image);
  return true;
} catch (const std::bad_alloc&) {
  out = Bitmap();
  return false;
}

bool EncodePng(const Bitmap& bitmap, std::vector<uint8_t>& out) try {
  out.clear();
  if (bitmap.IsEmpty()) return false;
  Bitmap straight = bitmap;
  for (uint32_t& pixel : straight.pixels)
    pixel = Straight(pixel);
  if (WritePng(straight, out)) return true;
  out.clear();
  return false;
} catch (const std::bad_alloc&) {
  out.clear();
  return false;
}

}  // namespace melorin
