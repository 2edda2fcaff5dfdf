// SPDX-License-Identifier: MIT
#include "skin/bmp_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "skin/image_file.h"
#include "skin/little_endian.h"

namespace melorin {
namespace {

static_assert(std::endian::native == std::endian::little, "rows are copied");

constexpr size_t kFileHeader = 14;
constexpr uint32_t kCoreHeader = 12;
constexpr uint32_t kInfoHeader = 40;
constexpr uint32_t kHeaderWithAlphaMask = 56;
constexpr uint32_t kLongestHeader = 124;
constexpr uint32_t kOpaque = 0xFF000000;

enum Compression : uint32_t {
  kPlain = 0,
  kRunLength8 = 1,
  kRunLength4 = 2,
  kBitFields = 3,
  kAlphaBitFields = 6,
};

/// One colour of a pixel with bit fields, as 8 bits.
class Channel {
 public:
  /// False when the mask's bits do not lie side by side or outside the pixel.
  bool SetMask(uint32_t mask, uint32_t bits_a_pixel) {
    if (mask == 0) return true;
    int shift = std::countr_zero(mask);
    int bits = std::countr_one(mask >> shift);
    if (std::popcount(mask) != bits || static_cast<uint32_t>(shift + bits) > bits_a_pixel) return false;
    if (bits > 8) {
      shift += bits - 8;
      bits = 8;
    }
    shift_ = shift;
    most_ = (1u << bits) - 1;
    for (uint32_t i = 0; i <= most_; ++i)
      values_[i] = static_cast<uint8_t>((i * 255 + most_ / 2) / most_);
    return true;
  }
  uint32_t Of(uint32_t pixel) const { return values_[pixel >> shift_ & most_]; }

 private:
  int shift_ = 0;
  uint32_t most_ = 0;
  std::array<uint8_t, 256> values_{};
};

struct Header {
  int32_t width = 0;
  int32_t height = 0;
  bool top_down = false;
  uint32_t bits = 0;
  uint32_t compression = kPlain;
  size_t pixels_at = 0;
  std::array<uint32_t, 256> palette{};  ///< Black where the file has no entry.
  Channel red, green, blue, alpha;
  bool as_it_stands = false;  ///< The file's pixels are ours already.
};

bool TakeSize(int64_t width, int64_t height, Header& out) {
  out.top_down = height < 0;
  height = height < 0 ? -height : height;
  if (width <= 0 || height == 0 || width > kLongestImageSide || height > kLongestImageSide ||
      width * height > kMostImagePixels)
    return false;
  out.width = static_cast<int32_t>(width);
  out.height = static_cast<int32_t>(height);
  return true;
}

bool IsKnown(const Header& header) {
  const uint32_t bits = header.bits;
  switch (header.compression) {
    case kPlain:
      return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    case kRunLength8:
      return bits == 8 && !header.top_down;
    case kRunLength4:
      return bits == 4 && !header.top_down;
    case kBitFields:
    case kAlphaBitFields:
      return bits == 16 || bits == 32;
    default:
      return false;
  }
}

/// The masks of the pixel's colours. They stand at the same place behind the shortest header and in the
/// longer.
bool TakeMasks(std::span<const uint8_t> bytes, uint32_t header_size, Header& out) {
  std::array<uint32_t, 4> masks{};
  if (out.compression == kPlain) {
    if (out.bits == 16)
      masks = {0x7C00, 0x03E0, 0x001F, 0};
    else
      masks = {0xFF0000, 0x00FF00, 0x0000FF, kOpaque};
  } else {
    const size_t count = out.compression == kAlphaBitFields || header_size >= kHeaderWithAlphaMask ? 4 : 3;
    const size_t masks_at = kFileHeader + kInfoHeader;
    if (bytes.size() < masks_at + count * 4) return false;
    for (size_t i = 0; i < count; ++i)
      masks[i] = Little32(bytes, masks_at + i * 4);
  }
  out.as_it_stands = out.bits == 32 && masks == std::array<uint32_t, 4>{0xFF0000, 0xFF00, 0xFF, kOpaque};
  return out.red.SetMask(masks[0], out.bits) && out.green.SetMask(masks[1], out.bits) &&
         out.blue.SetMask(masks[2], out.bits) && out.alpha.SetMask(masks[3], out.bits);
}

void TakePalette(std::span<const uint8_t> bytes, size_t at, size_t count, size_t entry_size, Header& out) {
  for (size_t i = 0; i < out.palette.size(); ++i) {
    const size_t entry = at + i * entry_size;
    const bool there = i < count && entry + 3 <= bytes.size();
    out.palette[i] =
        kOpaque |
        (there ? static_cast<uint32_t>(bytes[entry + 2] << 16 | bytes[entry + 1] << 8 | bytes[entry]) : 0);
  }
}

bool TakeHeader(std::span<const uint8_t> bytes, Header& out) {
  if (bytes.size() < kFileHeader + kCoreHeader) return false;
  out.pixels_at = Little32(bytes, 10);
  const uint32_t size = Little32(bytes, kFileHeader);
  const auto signed32 = [&](size_t at) { return static_cast<int32_t>(Little32(bytes, at)); };

  if (size == kCoreHeader) {
    if (!TakeSize(Little16(bytes, 18), Little16(bytes, 20), out)) return false;
    out.bits = Little16(bytes, 24);
    if (!IsKnown(out) || out.bits == 16 || out.bits == 32) return false;
    if (out.bits <= 8) TakePalette(bytes, kFileHeader + size, size_t{1} << out.bits, 3, out);
    return true;
  }
  if (size < kInfoHeader || size > kLongestHeader || bytes.size() < kFileHeader + size) return false;
  if (!TakeSize(signed32(18), signed32(22), out)) return false;
  out.bits = Little16(bytes, 28);
  out.compression = Little32(bytes, 30);
  if (!IsKnown(out)) return false;
  if (out.bits == 16 || out.bits == 32) return TakeMasks(bytes, size, out);
  if (out.bits <= 8) {
    const size_t used = Little32(bytes, 46);
    const size_t all = size_t{1} << out.bits;
    TakePalette(bytes, kFileHeader + size, used == 0 ? all : std::min(used, all), 4, out);
  }
  return true;
}

/// One row of pixels that are not run-length coded. `row` holds all of them.
void TakeRow(const Header& header, const uint8_t* row, uint32_t* out) {
  const auto width = static_cast<size_t>(header.width);
  switch (header.bits) {
    case 1:
    case 4:
    case 8: {
      const size_t bits = header.bits;
      const unsigned mask = (1u << bits) - 1;
      for (size_t x = 0; x < width; ++x) {
        const size_t bit = x * bits;
        out[x] = header.palette[row[bit / 8] >> (8 - bits - bit % 8) & mask];
      }
      return;
    }
    case 24:
      for (size_t x = 0; x < width; ++x, row += 3)
        out[x] = kOpaque | static_cast<uint32_t>(row[2] << 16 | row[1] << 8 | row[0]);
      return;
    default: {
      if (header.as_it_stands) {
        std::memcpy(out, row, width * sizeof *out);
        return;
      }
      const size_t step = header.bits / 8;
      for (size_t x = 0; x < width; ++x, row += step) {
        const uint32_t low = static_cast<uint32_t>(row[0] | row[1] << 8);
        const uint32_t pixel = step == 2 ? low : low | static_cast<uint32_t>(row[2] | row[3] << 8) << 16;
        out[x] = header.alpha.Of(pixel) << 24 | header.red.Of(pixel) << 16 | header.green.Of(pixel) << 8 |
                 header.blue.Of(pixel);
      }
    }
  }
}

bool ReadRows(const Header& header, std::span<const uint8_t> data, Bitmap& out) {
  const size_t used = (static_cast<size_t>(header.width) * header.bits + 7) / 8;
  const size_t stride = (used + 3) / 4 * 4;
  const auto height = static_cast<size_t>(header.height);
  // Some programs leave out what fills up the last row.
  if (data.size() < stride * (height - 1) + used) return false;
  out = Bitmap(header.width, header.height);
  for (size_t i = 0; i < height; ++i) {
    const auto y = static_cast<int32_t>(header.top_down ? i : height - 1 - i);
    TakeRow(header, data.data() + i * stride, out.Row(y));
  }
  return true;
}

/// A position in the image that run-length data moves.
class Pen {
 public:
  explicit Pen(Bitmap& target) : target_(target) {}
  /// False, and nothing happens, outside the image.
  bool Draw(uint32_t pixel) {
    if (x_ >= target_.width || row_ >= target_.height) return false;
    target_.Row(target_.height - 1 - row_)[x_++] = pixel;
    return true;
  }
  void EndRow() {
    x_ = 0;
    ++row_;
  }
  void Jump(int32_t right, int32_t up) {
    x_ = std::min(x_ + right, target_.width);
    row_ = std::min(row_ + up, target_.height);
  }
  bool AtEnd() const { return row_ >= target_.height || (row_ == target_.height - 1 && x_ >= target_.width); }

 private:
  Bitmap& target_;
  int32_t x_ = 0;
  int32_t row_ = 0;  // From the bottom.
};

bool ReadRuns(const Header& header, std::span<const uint8_t> data, Bitmap& out) {
  constexpr uint8_t kEndOfRow = 0;
  constexpr uint8_t kEndOfImage = 1;
  constexpr uint8_t kJump = 2;
  const bool half = header.compression == kRunLength4;
  out = Bitmap(header.width, header.height);
  Pen pen(out);
  size_t at = 0;
  while (data.size() - at >= 2) {
    const uint8_t count = data[at];
    const uint8_t value = data[at + 1];
    at += 2;
    if (count != 0) {
      const uint32_t pixels[2] = {header.palette[half ? value >> 4 : value],
                                  header.palette[half ? value & 15 : value]};
      for (unsigned i = 0; i < count && pen.Draw(pixels[i % 2]); ++i)
        continue;
    } else if (value == kEndOfRow) {
      pen.EndRow();
    } else if (value == kEndOfImage) {
      return true;
    } else if (value == kJump) {
      if (data.size() - at < 2) return false;
      pen.Jump(data[at], data[at + 1]);
      at += 2;
    } else {
      const size_t used = half ? (value + 1u) / 2 : value;
      if (data.size() - at < used) return false;
      for (unsigned i = 0; i < value; ++i) {
        const uint8_t byte = data[at + (half ? i / 2 : i)];
        pen.Draw(header.palette[!half ? byte : i % 2 == 0 ? byte >> 4 : byte & 15]);
      }
      at += std::min((used + 1) / 2 * 2, data.size() - at);
    }
    if (pen.AtEnd()) return true;
  }
  return false;
}

/// Alpha that nobody filled in is not meant.
void SettleAlpha(Bitmap& bitmap) {
  for (const uint32_t pixel : bitmap.pixels)
    if ((pixel & kOpaque) != 0) return;
  for (uint32_t& pixel : bitmap.pixels)
    pixel |= kOpaque;
}

}  // namespace

bool LooksLikeBmp(std::span<const uint8_t> bytes) {
  return bytes.size() >= 2 && bytes[0] == 'B' && bytes[1] == 'M';
}

bool ReadBmp(std::span<const uint8_t> bytes, Bitmap& out) {
  Header header;
  if (!LooksLikeBmp(bytes) || !TakeHeader(bytes, header)) return false;
  if (header.pixels_at < kFileHeader || header.pixels_at > bytes.size()) return false;
  const auto data = bytes.subspan(header.pixels_at);
  if (header.compression == kRunLength8 || header.compression == kRunLength4)
    return ReadRuns(header, data, out);
  if (!ReadRows(header, data, out)) return false;
  if (header.bits == 16 || header.bits == 32) SettleAlpha(out);
  return true;
}

}  // namespace melorin
