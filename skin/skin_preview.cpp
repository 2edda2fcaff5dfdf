// SPDX-License-Identifier: MIT
#include "skin/skin_preview.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "skin/bitmap_draw.h"
#include "skin/preview_window.h"

namespace melorin {

namespace {

// The sheet, in 1x pixels. Windows that are larger than any sane one are cut.
constexpr uint32_t kSheetPixel = 0xFFDDE1E6;
constexpr int32_t kSpace = 24;
constexpr int32_t kLargestOnSheet = 1200;

/// From above.
const std::vector<SkinWindow> kColumns[] = {
    {SkinWindow::kPlayer, SkinWindow::kPlaylist, SkinWindow::kEqualizer},
    {SkinWindow::kMini, SkinWindow::kLyric}};

struct Column {
  std::vector<Bitmap> windows;
  int32_t width = 0;
  int32_t height = 0;  ///< With the space below each window.
};

}  // namespace

Bitmap PreviewWindow(const SkinDescription& skin, SkinWindow window, SkinImages& images, TextPainter* text) {
  switch (window) {
    case SkinWindow::kPlayer:
      if (skin.player_window) return PreviewPlayer(*skin.player_window, images, text);
      break;
    case SkinWindow::kMini:
      if (skin.mini_window) return PreviewPlayer(*skin.mini_window, images, text);
      break;
    case SkinWindow::kLyric:
      if (skin.lyric_window) return PreviewLyric(*skin.lyric_window, images, text);
      break;
    case SkinWindow::kEqualizer:
      if (skin.equalizer_window) return PreviewEqualizer(*skin.equalizer_window, images, text);
      break;
    case SkinWindow::kPlaylist:
      if (skin.playlist_window) return PreviewPlaylist(*skin.playlist_window, images, text);
      break;
  }
  return {};
}

Bitmap PreviewSheet(const SkinDescription& skin, SkinImages& images, TextPainter* text) {
  const int32_t space = kSpace * images.Scale();
  const int32_t largest = kLargestOnSheet * images.Scale();
  std::vector<Column> columns;
  int32_t width = space;
  int32_t height = 0;
  for (const std::vector<SkinWindow>& names : kColumns) {
    Column column;
    for (const SkinWindow name : names) {
      Bitmap window = PreviewWindow(skin, name, images, text);
      if (window.IsEmpty()) continue;
      column.width = std::max(column.width, std::min(window.width, largest));
      column.height += std::min(window.height, largest) + space;
      column.windows.push_back(std::move(window));
    }
    if (column.windows.empty()) continue;
    width += column.width + space;
    height = std::max(height, column.height);
    columns.push_back(std::move(column));
  }
  if (columns.empty()) return {};

  Bitmap sheet(width, space + height);
  FillArea(sheet, BitmapBounds(sheet), kSheetPixel, Combine::kReplace);
  int32_t x = space;
  for (const Column& column : columns) {
    int32_t y = space;
    for (const Bitmap& window : column.windows) {
      DrawCell(sheet, {x, y, x + largest, y + largest}, x, y, window, BitmapBounds(window));
      y += std::min(window.height, largest) + space;
    }
    x += column.width + space;
  }
  return sheet;
}

}  // namespace melorin
