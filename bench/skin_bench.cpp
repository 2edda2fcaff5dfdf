// SPDX-License-Identifier: MIT
//
// The built-in skin from its archive to bitmaps, step by step: every file unpacked (beside libzip and beside
// nothing but inflating the same bytes), every image decoded (beside libpng's own simplified reader), the
// whole way to the description and the images of one scale; and the bitmaps of old skins.
#include <benchmark/benchmark.h>
#include <png.h>
#include <zlib.h>
#if !defined(_WIN32)
#include <zip.h>
#endif

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "skin/image_file.h"
#include "skin/skin_package.h"
#include "skin/skin_reader.h"
#include "skin/zip_archive.h"

namespace {

using namespace melorin;
using Bytes = std::vector<uint8_t>;

/// What the archive holds, unpacked.
struct Files {
  std::vector<std::string> names;
  std::vector<Bytes> bytes;
  size_t total = 0;
};
const Files& UnpackedFiles() {
  static const Files files = [] {
    Files made;
    std::unique_ptr<SkinPackage> package;
    if (OpenSkinArchive(DefaultSkinBytes(), &package) != SkinPackageResult::kOpened) return made;
    made.names = package->NamesGbk();
    for (const std::string& name : made.names) {
      package->Read(name, made.bytes.emplace_back());
      made.total += made.bytes.back().size();
    }
    return made;
  }();
  return files;
}

std::vector<const Bytes*> Pngs() {
  std::vector<const Bytes*> pngs;
  for (const Bytes& bytes : UnpackedFiles().bytes)
    if (bytes.size() > 8 && bytes[1] == 'P') pngs.push_back(&bytes);
  return pngs;
}

void Rate(benchmark::State& state, size_t bytes) {
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}

// --- every file out of the archive

void UnpackMelorin(benchmark::State& state) {
  Bytes out;
  for (auto _ : state) {
    std::unique_ptr<SkinPackage> package;
    size_t total = 0;
    if (OpenSkinArchive(DefaultSkinBytes(), &package) == SkinPackageResult::kOpened)
      for (const std::string& name : package->NamesGbk())
        if (package->Read(name, out)) total += out.size();
    if (total == 0 || total != UnpackedFiles().total) return state.SkipWithError("not unpacked");
  }
  Rate(state, UnpackedFiles().total);
}

#if !defined(_WIN32)
void UnpackLibzip(benchmark::State& state) {
  const auto archive = DefaultSkinBytes();
  Bytes out;
  for (auto _ : state) {
    zip_source_t* source = zip_source_buffer_create(archive.data(), archive.size(), 0, nullptr);
    zip_t* zip = zip_open_from_source(source, ZIP_RDONLY, nullptr);
    size_t total = 0;
    for (zip_int64_t i = 0; i < zip_get_num_entries(zip, 0); ++i) {
      zip_stat_t stat;
      zip_stat_index(zip, static_cast<zip_uint64_t>(i), 0, &stat);
      out.resize(stat.size);
      zip_file_t* file = zip_fopen_index(zip, static_cast<zip_uint64_t>(i), 0);
      if (zip_fread(file, out.data(), out.size()) == static_cast<zip_int64_t>(out.size()))
        total += out.size();
      zip_fclose(file);
    }
    zip_discard(zip);
    if (total != UnpackedFiles().total) return state.SkipWithError("not unpacked");
  }
  Rate(state, UnpackedFiles().total);
}
#endif

/// The packed bytes are known already; no directory, no checksums.
void UnpackInflateOnly(benchmark::State& state) {
  ZipArchive archive;
  archive.Open(DefaultSkinBytes());
  Bytes out;
  for (auto _ : state) {
    size_t total = 0;
    for (const ZipEntry& entry : archive.Entries()) {
      out.resize(entry.size);
      z_stream stream = {};
      inflateInit2(&stream, -MAX_WBITS);
      stream.next_in = const_cast<Bytef*>(entry.packed.data());
      stream.avail_in = static_cast<uInt>(entry.packed.size());
      stream.next_out = out.data();
      stream.avail_out = static_cast<uInt>(out.size());
      inflate(&stream, Z_FINISH);
      total += stream.total_out;
      inflateEnd(&stream);
    }
    if (total != UnpackedFiles().total) return state.SkipWithError("not unpacked");
  }
  Rate(state, UnpackedFiles().total);
}

// --- every image of both scales

void DecodeMelorin(benchmark::State& state) {
  const auto pngs = Pngs();
  size_t pixels = 0;
  for (auto _ : state) {
    pixels = 0;
    for (const Bytes* bytes : pngs) {
      Bitmap bitmap;
      if (!DecodeImage(*bytes, kNoColour, bitmap)) return state.SkipWithError("not decoded");
      pixels += bitmap.pixels.size();
    }
    if (pixels == 0) return state.SkipWithError("no images");
  }
  Rate(state, pixels * 4);
}

/// Not multiplied by alpha.
void DecodeLibpng(benchmark::State& state) {
  const auto pngs = Pngs();
  size_t pixels = 0;
  for (auto _ : state) {
    pixels = 0;
    for (const Bytes* bytes : pngs) {
      png_image image = {};
      image.version = PNG_IMAGE_VERSION;
      png_image_begin_read_from_memory(&image, bytes->data(), bytes->size());
      image.format = PNG_FORMAT_BGRA;
      Bitmap bitmap(static_cast<int32_t>(image.width), static_cast<int32_t>(image.height));
      if (!png_image_finish_read(&image, nullptr, bitmap.pixels.data(), 0, nullptr))
        return state.SkipWithError("not decoded");
      pixels += bitmap.pixels.size();
    }
    if (pixels == 0) return state.SkipWithError("no images");
  }
  Rate(state, pixels * 4);
}

// --- what choosing a skin takes

void LoadSkin(benchmark::State& state) {
  const bool twice = state.range(0) == 2;
  size_t pixels = 0;
  for (auto _ : state) {
    pixels = 0;
    std::unique_ptr<SkinPackage> package;
    SkinDescription skin;
    Bytes bytes;
    if (OpenSkinArchive(DefaultSkinBytes(), &package) != SkinPackageResult::kOpened ||
        !package->Read(kSkinFileName, bytes) || ReadSkinDescription(bytes, skin) != SkinReadResult::kRead)
      return state.SkipWithError("not loaded");
    for (const std::string& name : package->NamesGbk()) {
      if (!name.ends_with(".png") || name.ends_with("@2x.png") != twice) continue;
      Bitmap bitmap;
      if (!package->Read(name, bytes) || !DecodeImage(bytes, skin.transparent_colour, bitmap))
        return state.SkipWithError("not loaded");
      pixels += bitmap.pixels.size();
    }
  }
  state.counters["pixels"] = static_cast<double>(pixels);
}

// --- the bitmaps of old skins: 400 x 300, with a transparent colour

std::string OldBitmap(uint32_t bits) {
  const auto le = [](uint32_t value) {
    std::string out(4, '\0');
    for (size_t i = 0; i < 4; ++i)
      out[i] = static_cast<char>(value >> 8 * i);
    return out;
  };
  const std::string palette(bits == 8 ? 1024 : 0, 'p');
  std::string data(300 * 400 * bits / 8, '\0');
  for (size_t i = 0; i < data.size(); ++i)
    data[i] = static_cast<char>(i * 7 >> 3);
  const std::string head = le(40) + le(400) + le(300) + le(bits << 16 | 1) + std::string(24, '\0') + palette;
  return "BM" + le(0) + le(0) + le(static_cast<uint32_t>(14 + head.size())) + head + data;
}

void DecodeBmp(benchmark::State& state) {
  const std::string bytes = OldBitmap(static_cast<uint32_t>(state.range(0)));
  for (auto _ : state) {
    Bitmap bitmap;
    if (!DecodeImage({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, 0xFF00FF, bitmap))
      return state.SkipWithError("not decoded");
    benchmark::DoNotOptimize(bitmap.pixels.data());
  }
  Rate(state, size_t{400} * 300 * 4);
}

/// As many bytes copied into a new bitmap.
void CopyBmp(benchmark::State& state) {
  const std::string bytes = OldBitmap(32);
  for (auto _ : state) {
    Bitmap bitmap(400, 300);
    std::memcpy(bitmap.pixels.data(), bytes.data() + 54, bitmap.pixels.size() * 4);
    benchmark::DoNotOptimize(bitmap.pixels.data());
  }
  Rate(state, size_t{400} * 300 * 4);
}

BENCHMARK(UnpackMelorin)->Unit(benchmark::kMicrosecond);
#if !defined(_WIN32)
BENCHMARK(UnpackLibzip)->Unit(benchmark::kMicrosecond);
#endif
BENCHMARK(UnpackInflateOnly)->Unit(benchmark::kMicrosecond);
BENCHMARK(DecodeMelorin)->Unit(benchmark::kMicrosecond);
BENCHMARK(DecodeLibpng)->Unit(benchmark::kMicrosecond);
BENCHMARK(LoadSkin)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);
BENCHMARK(DecodeBmp)->Arg(8)->Arg(16)->Arg(24)->Arg(32)->Unit(benchmark::kMicrosecond);
BENCHMARK(CopyBmp)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
