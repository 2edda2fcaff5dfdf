// SPDX-License-Identifier: MIT
//
// The lyric, equalizer and playlist windows, while a song plays.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include "doc/settings.h"
#include "skin/bitmap_draw.h"
#include "skin/preview_window.h"

namespace melorin {

namespace {

PreviewCanvas ToolCanvas(const SkinToolWindow& window, SkinImages& images, TextPainter* text) {
  // Widths of any numbers: the difference needs more room than they do.
  const auto side = [&](int32_t low, int32_t high) {
    if (window.resize_rect.IsEmpty()) return int32_t{0};
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{high} - low, 0, 1 << 20));
  };
  const SkinRect& place = window.position;
  return {images, text, window.image, side(place.left, place.right), side(place.top, place.bottom)};
}

// Lyrics.

constexpr std::array<const char*, 13> kLines = {
    "清晨的街还没有醒来", "面包店先亮起了灯",   "我背着旧旧的吉他",   "把昨天的话轻轻唱完",
    "窗外的雨停在屋檐下", "你说的话我都还记得", "我们沿着河边走回家", "风把云吹成一朵浪花",
    "明天又是新的一页",   "等一个很晴的清晨",   "再唱一遍这首老歌",   "声音轻轻落在心上",
    "街角那盏灯慢慢亮起"};
constexpr size_t kCurrentLine = 6;
/// Of 255, for each line of distance from the current one: how far a text goes towards the background.
constexpr int32_t kFadeStep = 16;
constexpr int32_t kMostFade = 112;

SkinColour LineColour(const LyricSettings& look, int32_t distance) {
  if (distance == 0) return ColourOf(look.hilight_color);
  const int32_t fade = look.fade_index != 0 ? std::min((std::abs(distance) - 1) * kFadeStep, kMostFade) : 0;
  return MixColours(ColourOf(look.text_color), ColourOf(look.bkgnd_color), static_cast<uint32_t>(fade));
}

void PaintLines(PreviewCanvas& canvas, const SkinRect& area) {
  const LyricSettings look;
  canvas.Fill(area, ColourOf(look.bkgnd_color));
  const int32_t row = std::abs(look.font.height) * 5 / 4 + look.row_interval;
  const int32_t middle = area.top + (area.Height() - row) / 2;
  for (size_t i = 0; i < kLines.size(); ++i) {
    const int32_t distance = static_cast<int32_t>(i) - static_cast<int32_t>(kCurrentLine);
    const int32_t top = middle + distance * row;
    if (top < area.top || top + row > area.bottom) continue;
    canvas.PaintText({area.left, top, area.right, top + row}, look.font, LineColour(look, distance),
                     kAlignCentre | kAlignVCentre, kLines[i]);
  }
}

// The list.

struct Row {
  const char* title;
  const char* duration;
};
constexpr std::array<Row, 12> kRows = {{{"林间小调 - 清晨的风", "3:42"},
                                        {"青石乐队 - 城南旧事", "4:05"},
                                        {kPreviewSong, "4:29"},
                                        {"北岸 - 海边的来信", "5:11"},
                                        {"小满 - 夏夜萤火", "3:18"},
                                        {"山谷合唱团 - 远方的家", "4:47"},
                                        {"Paper Boats - Slow Rivers", "3:56"},
                                        {"夜航 - 第七个路口", "4:20"},
                                        {"林间小调 - 落叶归处", "3:33"},
                                        {"苏打绿洲 - 一杯薄荷水", "2:58"},
                                        {"Northern Lamp - Quiet Hours", "6:02"},
                                        {"青石乐队 - 雨后初晴", "4:14"}}};
constexpr size_t kPlayingRow = 2;
constexpr size_t kSelectedRow = 4;
constexpr int32_t kRowHeight = 20;
constexpr int32_t kNumberWidth = 26;
constexpr int32_t kDurationWidth = 44;
constexpr int32_t kMargin = 6;

void PaintRow(PreviewCanvas& canvas, const SkinRect& place, size_t index) {
  const PlayListSettings look;
  const SkinColour background = ColourOf(index % 2 == 0 ? look.color_bkgnd : look.color_bkgnd2);
  const SkinColour accent = ColourOf(look.color_hilight);
  canvas.Fill(place, index == kSelectedRow ? MixColours(background, accent, 40) : background);
  // Rows that are cut at the lower edge keep their texts in their middle.
  const SkinRect row = {place.left, place.top, place.right, place.top + kRowHeight};
  const bool playing = index == kPlayingRow;
  const SkinColour number = playing ? accent : ColourOf(look.color_number);
  const SkinColour title = playing ? accent : ColourOf(look.color_text);
  const SkinColour duration = playing ? accent : ColourOf(look.color_duration);
  const int32_t title_left = row.left + kNumberWidth + kMargin;
  const int32_t title_right = row.right - kDurationWidth - kMargin;
  canvas.PaintText({row.left, row.top, row.left + kNumberWidth, row.bottom}, look.font, number,
                   kAlignRight | kAlignVCentre, std::to_string(index + 1) + ".");
  canvas.PaintText({title_left, row.top, title_right, row.bottom}, look.font, title,
                   kAlignLeft | kAlignVCentre, kRows[index].title);
  canvas.PaintText({title_right + kMargin, row.top, row.right - kMargin, row.bottom}, look.font, duration,
                   kAlignRight | kAlignVCentre, kRows[index].duration);
}

void PaintRows(PreviewCanvas& canvas, const SkinRect& area) {
  const PlayListSettings look;
  canvas.Fill(area, ColourOf(look.color_bkgnd));
  for (size_t i = 0; i < kRows.size(); ++i) {
    const int32_t top = area.top + static_cast<int32_t>(i) * kRowHeight;
    if (top + kRowHeight > area.bottom) break;
    PaintRow(canvas, {area.left, top, area.right, top + kRowHeight}, i);
  }
}

// The equalizer.

constexpr std::array<double, EqualizerBands::kBands> kCurve = {0.78, 0.74, 0.66, 0.55, 0.47,
                                                               0.45, 0.52, 0.61, 0.70, 0.73};
constexpr double kMiddle = 0.5;

}  // namespace

Bitmap PreviewLyric(const SkinLyricWindow& window, SkinImages& images, TextPainter* text) {
  PreviewCanvas canvas = ToolCanvas(window, images, text);
  canvas.Painter().PaintWindow(window.image, window.resize_rect, window.resize_tile != 0);
  canvas.PaintCaption(window, "歌词");
  canvas.PaintButton(window.ontop);
  if (window.lyric) PaintLines(canvas, canvas.Grown(window.lyric->position));
  return canvas.Take();
}

Bitmap PreviewEqualizer(const SkinEqualizerWindow& window, SkinImages& images, TextPainter* text) {
  PreviewCanvas canvas = ToolCanvas(window, images, text);
  canvas.Painter().PaintWindow(window.image, window.resize_rect, window.resize_tile != 0);
  canvas.PaintCaption(window, "均衡器");
  canvas.PaintButton(window.enabled, true);
  canvas.PaintButton(window.profile);
  canvas.PaintButton(window.reset);
  canvas.PaintSlider(window.balance, kMiddle);
  canvas.PaintSlider(window.surround, 0.3);
  canvas.PaintSlider(window.preamp, kMiddle);
  if (window.eqfactor) {
    for (size_t band = 0; band < kCurve.size(); ++band) {
      const SkinRect place =
          EqualizerBandPosition(window.eqfactor->position, window.eq_interval, static_cast<int32_t>(band));
      canvas.Painter().PaintSlider(place, *window.eqfactor, {kCurve[band], ControlState::kNormal});
    }
  }
  return canvas.Take();
}

Bitmap PreviewPlaylist(const SkinPlaylistWindow& window, SkinImages& images, TextPainter* text) {
  PreviewCanvas canvas = ToolCanvas(window, images, text);
  canvas.Painter().PaintWindow(window.image, window.resize_rect, window.resize_tile != 0);
  canvas.PaintCaption(window, "播放列表");
  if (window.toolbar)
    canvas.Painter().PaintToolbar(canvas.Placed(window.toolbar->position, window.toolbar->align),
                                  window.toolbar->image, -1, ControlState::kNormal);
  if (window.playlist) {
    SkinRect rows = canvas.Grown(window.playlist->position);
    const int32_t bar_width = window.scrollbar ? canvas.Painter().ScrollBarWidth(*window.scrollbar) : 0;
    const SkinRect bar = ScrollBarPosition(rows, bar_width);
    rows.right = bar.left;
    PaintRows(canvas, rows);
    if (window.scrollbar) canvas.Painter().PaintScrollBar(bar, *window.scrollbar, {0, 0.6});
  }
  return canvas.Take();
}

}  // namespace melorin
