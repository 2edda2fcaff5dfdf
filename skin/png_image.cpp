// SPDX-License-Identifier: MIT
#include "skin/png_image.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "skin/image_file.h"

namespace melorin {
namespace {

static_assert(std::endian::native == std::endian::little, "the bytes B, G, R, A are one pixel");

constexpr size_t kSignatureSize = 8;
// Of what a chunk beside the pixels may unpack to, and how many may be kept.
constexpr png_alloc_size_t kLargestChunk = 1 << 20;
constexpr png_uint_32 kMostChunks = 100;
// No byte of deflated data unpacks to more.
constexpr uint64_t kMostFromADeflatedByte = 1032;

// libpng leaves by longjmp. Nothing with a destructor may live in a function that it jumps out of: what does
// lives in the callers.

[[noreturn]] void OnError(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}
void OnWarning(png_structp, png_const_charp) {}

struct Reading {
  std::span<const uint8_t> bytes;
  size_t at = 0;
  png_structp png = nullptr;
  png_infop info = nullptr;

  explicit Reading(std::span<const uint8_t> all) : bytes(all) {
    png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    if (png) info = png_create_info_struct(png);
  }
  ~Reading() {
    if (png) png_destroy_read_struct(&png, &info, nullptr);
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;
};

void TakeBytes(png_structp png, png_bytep out, size_t size) {
  auto* reading = static_cast<Reading*>(png_get_io_ptr(png));
  if (size > reading->bytes.size() - reading->at) png_error(png, "truncated");
  std::memcpy(out, reading->bytes.data() + reading->at, size);
  reading->at += size;
}

/// Reads up to the pixels and sets up their form.
bool ReadHeader(Reading& reading, int& passes) {
  png_structp png = reading.png;
  png_infop info = reading.info;
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_read_fn(png, &reading, TakeBytes);
  png_set_user_limits(png, kLongestImageSide, kLongestImageSide);
  png_set_chunk_malloc_max(png, kLargestChunk);
  png_set_chunk_cache_max(png, kMostChunks);
  // Texts and profiles may be packed, and nothing here looks at them.
  static constexpr png_byte kPassedOver[] = "iCCP\0iTXt\0tEXt\0zTXt\0sPLT\0eXIf";
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kPassedOver, sizeof(kPassedOver) / 5);
  // The chunks have checksums of their own, of the packed bytes; one of all the pixels costs a fifth of the
  // time.
  png_set_option(png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
  png_read_info(png, info);
  png_set_expand(png);
  png_set_scale_16(png);
  png_set_gray_to_rgb(png);
  png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
  png_set_bgr(png);
  passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  return true;
}

bool ReadPixels(Reading& reading, int passes, Bitmap& out) {
  png_structp png = reading.png;
  if (setjmp(png_jmpbuf(png))) return false;
  for (int pass = 0; pass < passes; ++pass)
    for (int32_t y = 0; y < out.height; ++y)
      png_read_row(png, reinterpret_cast<png_bytep>(out.Row(y)), nullptr);
  png_read_end(png, nullptr);
  return true;
}

struct Writing {
  std::vector<uint8_t>& out;
  png_structp png = nullptr;
  png_infop info = nullptr;

  explicit Writing(std::vector<uint8_t>& target) : out(target) {
    png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    if (png) info = png_create_info_struct(png);
  }
  ~Writing() {
    if (png) png_destroy_write_struct(&png, &info);
  }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;

  bool Append(const uint8_t* bytes, size_t size) noexcept try {
    out.insert(out.end(), bytes, bytes + size);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
};

void GiveBytes(png_structp png, png_bytep bytes, size_t size) {
  if (!static_cast<Writing*>(png_get_io_ptr(png))->Append(bytes, size)) png_error(png, "no memory");
}
void Flush(png_structp) {}

bool Write(Writing& writing, const Bitmap& straight, bool opaque) {
  png_structp png = writing.png;
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_write_fn(png, &writing, GiveBytes, Flush);
  png_set_IHDR(png, writing.info, static_cast<png_uint_32>(straight.width),
               static_cast<png_uint_32>(straight.height), 8,
               opaque ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, writing.info);
  png_set_bgr(png);
  if (opaque) png_set_filler(png, 0, PNG_FILLER_AFTER);
  for (int32_t y = 0; y < straight.height; ++y)
    png_write_row(png, reinterpret_cast<png_const_bytep>(straight.Row(y)));
  png_write_end(png, nullptr);
  return true;
}

}  // namespace

bool LooksLikePng(std::span<const uint8_t> bytes) {
  return bytes.size() >= kSignatureSize && png_sig_cmp(bytes.data(), 0, kSignatureSize) == 0;
}

bool ReadPng(std::span<const uint8_t> bytes, Bitmap& out) {
  Reading reading(bytes);
  int passes = 0;
  if (!reading.info || !ReadHeader(reading, passes)) return false;
  const auto width = static_cast<int64_t>(png_get_image_width(reading.png, reading.info));
  const auto height = static_cast<int64_t>(png_get_image_height(reading.png, reading.info));
  if (width * height > kMostImagePixels) return false;
  if (png_get_rowbytes(reading.png, reading.info) != static_cast<size_t>(width) * 4) return false;
  // A pixel has at least one bit.
  if (static_cast<uint64_t>(width * height) / 8 > bytes.size() * kMostFromADeflatedByte) return false;
  out = Bitmap(static_cast<int32_t>(width), static_cast<int32_t>(height));
  return ReadPixels(reading, passes, out);
}

bool WritePng(const Bitmap& straight, std::vector<uint8_t>& out) {
  out.clear();
  Writing writing(out);
  if (!writing.info) return false;
  const bool opaque = std::all_of(straight.pixels.begin(), straight.pixels.end(),
                                  [](uint32_t pixel) { return pixel >> 24 == 255; });
  return Write(writing, straight, opaque);
}

}  // namespace melorin
