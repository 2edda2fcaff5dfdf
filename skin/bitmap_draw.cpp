// SPDX-License-Identifier: MIT
#include "skin/bitmap_draw.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace melorin {

namespace {

void CombineRow(uint32_t* to, const uint32_t* from, int32_t count, Combine combine) {
  if (combine == Combine::kReplace) {
    std::memcpy(to, from, static_cast<size_t>(count) * sizeof(uint32_t));
    return;
  }
  for (int32_t i = 0; i < count; ++i) {
    const uint32_t alpha = from[i] >> 24;
    if (alpha == 255)
      to[i] = from[i];
    else if (alpha != 0)
      to[i] = PixelOver(to[i], from[i]);
  }
}

/// Where each pixel of an area reads its cell when the cell is stretched over it, along one axis: positions
/// in 1/256 of a pixel.
struct StretchAxis {
  int32_t cell_low;
  int32_t last;  ///< The cell's last pixel, in 1/256.
  int64_t step;  ///< In 1/65536.
  int64_t first;

  StretchAxis(int32_t low, int32_t length, int32_t area_length)
      : cell_low(low), last((length - 1) << 8), step((int64_t{length} << 16) / area_length) {
    // The middles of the first pixels lie on each other when the lengths are equal.
    first = (step - 65536) / 2;
  }
  /// Pixel of the source, and how much of 256 its neighbour counts.
  std::pair<int32_t, uint32_t> At(int32_t i) const {
    const auto at = static_cast<int32_t>(std::clamp<int64_t>((first + step * i) >> 8, 0, last));
    return {cell_low + (at >> 8), static_cast<uint32_t>(at & 255)};
  }
};

/// `part` of 256 is `b`.
uint32_t MixPixels(uint32_t a, uint32_t b, uint32_t part) {
  constexpr uint32_t kPair = 0x00FF00FF;
  const uint32_t rest = 256 - part;
  const uint32_t low = ((a & kPair) * rest + (b & kPair) * part + 0x00800080) >> 8;
  const uint32_t high = ((a >> 8) & kPair) * rest + ((b >> 8) & kPair) * part + 0x00800080;
  return (low & kPair) | (high & ~kPair);
}

/// Columns of a stretched cell that are drawn together: few enough for the stack and the nearest cache.
constexpr int32_t kStripWidth = 256;

/// Rows of the source within a strip, each stretched across once, though many rows of the target lie between
/// it and the next.
class StretchedRows {
 public:
  StretchedRows(const Bitmap& source, const StretchAxis& across, int32_t first, int32_t count)
      : source_(source), across_(across), first_(first), count_(count) {}

  const uint32_t* Row(int32_t y) {
    const auto slot = static_cast<size_t>(y & 1);
    if (held_[slot] != y) {
      held_[slot] = y;
      const uint32_t* from = source_.Row(y);
      for (int32_t i = 0; i < count_; ++i) {
        const auto [x, part] = across_.At(first_ + i);
        rows_[slot][i] = part != 0 ? MixPixels(from[x], from[x + 1], part) : from[x];
      }
    }
    return rows_[slot];
  }

 private:
  const Bitmap& source_;
  const StretchAxis& across_;
  const int32_t first_;
  const int32_t count_;
  int32_t held_[2] = {-1, -1};
  uint32_t rows_[2][kStripWidth];
};

void MixRows(uint32_t* to, const uint32_t* a, const uint32_t* b, uint32_t b_part, int32_t count,
             Combine combine) {
  if (combine == Combine::kReplace) {
    for (int32_t i = 0; i < count; ++i)
      to[i] = MixPixels(a[i], b[i], b_part);
  } else {
    for (int32_t i = 0; i < count; ++i)
      to[i] = PixelOver(to[i], MixPixels(a[i], b[i], b_part));
  }
}

}  // namespace

SkinRect BitmapBounds(const Bitmap& bitmap) {
  return {0, 0, bitmap.width, bitmap.height};
}

SkinRect Intersection(const SkinRect& a, const SkinRect& b) {
  SkinRect both = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                   std::min(a.bottom, b.bottom)};
  both.right = std::max(both.right, both.left);
  both.bottom = std::max(both.bottom, both.top);
  return both;
}

SkinRect Union(const SkinRect& a, const SkinRect& b) {
  if (a.IsEmpty()) return b;
  if (b.IsEmpty()) return a;
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

uint32_t PixelOf(SkinColour colour, uint32_t alpha) {
  const auto value = static_cast<uint32_t>(colour);
  const uint32_t opaque = 0xFF000000 | (value & 255) << 16 | (value & 0xFF00) | (value >> 16 & 255);
  return ScalePixel(opaque, alpha);
}

SkinColour MixColours(SkinColour from, SkinColour to, uint32_t part) {
  const auto mixed =
      ScalePixel(static_cast<uint32_t>(from), 255 - part) + ScalePixel(static_cast<uint32_t>(to), part);
  return static_cast<SkinColour>(mixed & 0x00FFFFFF);
}

void FillArea(Bitmap& target, const SkinRect& area, uint32_t pixel, Combine combine) {
  const SkinRect part = Intersection(area, BitmapBounds(target));
  if (part.IsEmpty()) return;
  const bool replace = combine == Combine::kReplace || pixel >> 24 == 255;
  for (int32_t y = part.top; y < part.bottom; ++y) {
    uint32_t* row = target.Row(y);
    if (replace)
      std::fill(row + part.left, row + part.right, pixel);
    else
      std::transform(row + part.left, row + part.right, row + part.left,
                     [pixel](uint32_t below) { return PixelOver(below, pixel); });
  }
}

void FillGradient(Bitmap& target, const SkinRect& area, SkinColour top, SkinColour bottom) {
  const int32_t last = std::max(area.Height() - 1, 1);
  const SkinRect part = Intersection(area, BitmapBounds(target));
  for (int32_t y = part.top; y < part.bottom; ++y) {
    const auto down = static_cast<uint32_t>(int64_t{255} * (y - area.top) / last);
    FillArea(target, {part.left, y, part.right, y + 1}, PixelOf(MixColours(top, bottom, down)));
  }
}

void DrawCell(Bitmap& target, const SkinRect& clip, int32_t x, int32_t y, const Bitmap& source,
              const SkinRect& cell, Combine combine) {
  const SkinRect from = Intersection(cell, BitmapBounds(source));
  if (from.IsEmpty()) return;
  const int32_t right = x - cell.left;
  const int32_t down = y - cell.top;
  const SkinRect part =
      Intersection(Intersection(clip, BitmapBounds(target)),
                   {from.left + right, from.top + down, from.right + right, from.bottom + down});
  for (int32_t row = part.top; row < part.bottom && part.Width() > 0; ++row)
    CombineRow(target.Row(row) + part.left, source.Row(row - down) + (part.left - right), part.Width(),
               combine);
}

void DrawTiled(Bitmap& target, const SkinRect& area, const Bitmap& source, const SkinRect& cell,
               Combine combine) {
  const SkinRect from = Intersection(cell, BitmapBounds(source));
  const SkinRect part = Intersection(area, BitmapBounds(target));
  if (from.IsEmpty() || part.IsEmpty()) return;
  const int32_t first = (part.left - area.left) % from.Width();
  for (int32_t y = part.top; y < part.bottom; ++y) {
    uint32_t* to = target.Row(y);
    const uint32_t* row = source.Row(from.top + (y - area.top) % from.Height()) + from.left;
    for (int32_t x = part.left, skip = first; x < part.right; skip = 0) {
      const int32_t count = std::min(from.Width() - skip, part.right - x);
      CombineRow(to + x, row + skip, count, combine);
      x += count;
    }
  }
}

void DrawStretched(Bitmap& target, const SkinRect& area, const Bitmap& source, const SkinRect& cell,
                   Combine combine) {
  const SkinRect from = Intersection(cell, BitmapBounds(source));
  const SkinRect part = Intersection(area, BitmapBounds(target));
  if (from.IsEmpty() || part.IsEmpty()) return;
  if (from.Width() == area.Width() && from.Height() == area.Height())
    return DrawCell(target, area, area.left, area.top, source, from, combine);
  const StretchAxis across(from.left, from.Width(), area.Width());
  const StretchAxis down(from.top, from.Height(), area.Height());
  for (int32_t x = part.left; x < part.right; x += kStripWidth) {
    const int32_t count = std::min(kStripWidth, part.right - x);
    StretchedRows rows(source, across, x - area.left, count);
    for (int32_t y = part.top; y < part.bottom; ++y) {
      const auto [source_y, below_part] = down.At(y - area.top);
      const uint32_t* row = rows.Row(source_y);
      if (below_part == 0)
        CombineRow(target.Row(y) + x, row, count, combine);
      else
        MixRows(target.Row(y) + x, row, rows.Row(source_y + 1), below_part, count, combine);
    }
  }
}

Bitmap EnlargedBitmap(const Bitmap& source, int32_t times) {
  Bitmap large(source.width * times, source.height * times);
  for (int32_t y = 0; y < source.height; ++y) {
    const uint32_t* from = source.Row(y);
    uint32_t* first = large.Row(y * times);
    for (int32_t x = 0; x < source.width; ++x)
      std::fill_n(first + static_cast<ptrdiff_t>(x) * times, times, from[x]);
    for (int32_t again = 1; again < times; ++again)
      std::copy_n(first, large.width, large.Row(y * times + again));
  }
  return large;
}

}  // namespace melorin
