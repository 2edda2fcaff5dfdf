// SPDX-License-Identifier: MIT
//
// Composing whole windows of the default skin, as a repaint would: at 1x and 2x, with texts and without, and
// what merely copying such a bitmap takes.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "skin/skin_images.h"
#include "skin/skin_package.h"
#include "skin/skin_painter.h"
#include "skin/skin_preview.h"
#include "skin/skin_reader.h"
#include "skin/text_painter.h"

namespace melorin {
namespace {

constexpr SkinWindow kWindows[] = {SkinWindow::kPlayer, SkinWindow::kMini, SkinWindow::kLyric,
                                   SkinWindow::kEqualizer, SkinWindow::kPlaylist};

/// The default skin, loaded at a scale.
struct LoadedSkin {
  explicit LoadedSkin(int32_t scale) {
    std::vector<uint8_t> bytes;
    loaded = OpenSkinPackage(kDefaultSkinName, &package) == SkinPackageResult::kOpened &&
             package->Read(kSkinFileName, bytes) &&
             ReadSkinDescription(bytes, description) == SkinReadResult::kRead;
    if (loaded) images = std::make_unique<SkinImages>(*package, description.transparent_colour, scale);
  }
  std::unique_ptr<SkinPackage> package;
  SkinDescription description;
  std::unique_ptr<SkinImages> images;
  bool loaded = false;
};

void SetPixels(benchmark::State& state, size_t pixels) {
  state.counters["pixels"] = static_cast<double>(pixels);
  state.SetItemsProcessed(static_cast<int64_t>(pixels) * state.iterations());
}

/// Arguments: the window, the scale, whether texts are drawn.
void ComposeWindow(benchmark::State& state) {
  LoadedSkin skin(static_cast<int32_t>(state.range(1)));
  if (!skin.loaded) return state.SkipWithError("not loaded");
  const auto text = state.range(2) != 0 ? CreateTextPainter() : nullptr;
  const SkinWindow window = kWindows[state.range(0)];
  size_t pixels = PreviewWindow(skin.description, window, *skin.images, text.get()).pixels.size();
  for (auto _ : state) {
    const Bitmap bitmap = PreviewWindow(skin.description, window, *skin.images, text.get());
    benchmark::DoNotOptimize(bitmap.pixels.data());
  }
  SetPixels(state, pixels);
}

/// The list's background alone, at 600 x 900 and twice that: repeated (1) or stretched (0).
void PaintGrownWindow(benchmark::State& state) {
  const auto scale = static_cast<int32_t>(state.range(0));
  LoadedSkin skin(scale);
  if (!skin.loaded || !skin.description.playlist_window) return state.SkipWithError("not loaded");
  const SkinPlaylistWindow& window = *skin.description.playlist_window;
  Bitmap target(600 * scale, 900 * scale);
  SkinPainter painter(*skin.images, nullptr, target);
  for (auto _ : state) {
    painter.PaintWindow(window.image, window.resize_rect, state.range(1) != 0);
    benchmark::ClobberMemory();
  }
  SetPixels(state, target.pixels.size());
}

void CopyBitmap(benchmark::State& state) {
  const Bitmap from(1200, 1800);
  Bitmap to(1200, 1800);
  for (auto _ : state) {
    to.pixels = from.pixels;
    benchmark::ClobberMemory();
  }
  SetPixels(state, from.pixels.size());
}

BENCHMARK(ComposeWindow)->ArgsProduct({{0, 2, 3, 4}, {1, 2}, {0, 1}})->Unit(benchmark::kMicrosecond);
BENCHMARK(PaintGrownWindow)->ArgsProduct({{1, 2}, {0, 1}})->Unit(benchmark::kMicrosecond);
BENCHMARK(CopyBitmap)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
