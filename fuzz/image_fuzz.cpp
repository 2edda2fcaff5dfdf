// SPDX-License-Identifier: MIT
//
// Any bytes as an image, with a transparent colour when the first byte is odd: what is decoded is a whole
// bitmap whose colours are multiplied by alpha, and it is the same once more after the way through a PNG.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "skin/image_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  if (size == 0) return 0;
  Bitmap bitmap;
  if (!DecodeImage({data + 1, size - 1}, data[0] % 2 != 0 ? 0xFF : kNoColour, bitmap)) {
    if (!bitmap.IsEmpty()) std::abort();
    return 0;
  }
  if (bitmap.width <= 0 || bitmap.height <= 0 ||
      bitmap.pixels.size() != static_cast<size_t>(bitmap.width) * static_cast<size_t>(bitmap.height))
    std::abort();
  for (const uint32_t pixel : bitmap.pixels)
    for (int shift = 0; shift < 24; shift += 8)
      if ((pixel >> shift & 255) > pixel >> 24) std::abort();
  if (bitmap.pixels.size() > 100000) return 0;  // Packing takes its time.
  std::vector<uint8_t> png;
  Bitmap again;
  if (!EncodePng(bitmap, png) || !DecodeImage(png, kNoColour, again)) std::abort();
  if (again.width != bitmap.width || again.pixels != bitmap.pixels) std::abort();
  return 0;
}
