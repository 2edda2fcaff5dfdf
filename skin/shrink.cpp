// SPDX-License-Identifier: MIT
#include "skin/shrink.h"

#include <algorithm>
#include <vector>

namespace melorin {
namespace {

/// The part of a row (or column) of `from` pixels that one of the `to` pixels of its copy covers. A pixel of
/// the row weighs `to`, so that each of the copy is `from` altogether.
struct Cover {
  int32_t first = 0;
  int32_t last = 0;
  uint64_t first_weight = 0;
  uint64_t last_weight = 0;
  uint64_t inner_weight = 0;

  uint64_t WeightOf(int32_t i) const {
    return i == first ? first_weight : i == last ? last_weight : inner_weight;
  }
};

std::vector<Cover> Covers(int32_t from, int32_t to) {
  std::vector<Cover> covers(static_cast<size_t>(to));
  for (int32_t i = 0; i < to; ++i) {
    const int64_t begin = int64_t{i} * from;
    const int64_t end = begin + from;
    Cover& cover = covers[static_cast<size_t>(i)];
    cover.first = static_cast<int32_t>(begin / to);
    cover.last = static_cast<int32_t>((end - 1) / to);
    cover.inner_weight = static_cast<uint64_t>(to);
    cover.first_weight = static_cast<uint64_t>(std::min((int64_t{cover.first} + 1) * to, end) - begin);
    cover.last_weight = static_cast<uint64_t>(end - int64_t{cover.last} * to);
  }
  return covers;
}

Bitmap Shrunk(const Bitmap& from, int32_t width, int32_t height) {
  const std::vector<Cover> columns = Covers(from.width, width);
  const std::vector<Cover> rows = Covers(from.height, height);
  const uint64_t whole = static_cast<uint64_t>(from.width) * static_cast<uint64_t>(from.height);
  Bitmap to(width, height);
  for (int32_t y = 0; y < height; ++y) {
    const Cover& row = rows[static_cast<size_t>(y)];
    for (int32_t x = 0; x < width; ++x) {
      const Cover& column = columns[static_cast<size_t>(x)];
      uint64_t sums[4] = {};
      for (int32_t v = row.first; v <= row.last; ++v) {
        const uint64_t weight = row.WeightOf(v);
        const uint32_t* pixels = from.Row(v);
        for (int32_t u = column.first; u <= column.last; ++u) {
          const uint64_t both = weight * column.WeightOf(u);
          for (int i = 0; i < 4; ++i)
            sums[i] += both * (pixels[u] >> 8 * i & 255);
        }
      }
      uint32_t pixel = 0;
      for (int i = 0; i < 4; ++i)
        pixel |= static_cast<uint32_t>((sums[i] + whole / 2) / whole) << 8 * i;
      to.Row(y)[x] = pixel;
    }
  }
  return to;
}

}  // namespace

Bitmap ShrunkToFit(const Bitmap& bitmap, int32_t width, int32_t height) {
  if (bitmap.IsEmpty() || width <= 0 || height <= 0) return {};
  if (bitmap.width <= width && bitmap.height <= height) return bitmap;
  const int64_t wide = bitmap.width;
  const int64_t high = bitmap.height;
  if (wide * height >= high * width)
    return Shrunk(bitmap, width,
                  static_cast<int32_t>(std::max<int64_t>((high * width + wide / 2) / wide, 1)));
  return Shrunk(bitmap, static_cast<int32_t>(std::max<int64_t>((wide * height + high / 2) / high, 1)),
                height);
}

}  // namespace melorin
