// SPDX-License-Identifier: MIT
#include "app/player_view.h"

#include <algorithm>
#include <vector>

#include "app/player_text.h"
#include "platform/com.h"

namespace melorin {
namespace {

constexpr COLORREF kBackground = RGB(0xF7, 0xF8, 0xFA);
constexpr COLORREF kText = RGB(0x1F, 0x26, 0x30);
constexpr COLORREF kQuietText = RGB(0x5D, 0x68, 0x76);
constexpr COLORREF kErrorText = RGB(0xB3, 0x2B, 0x2B);
constexpr COLORREF kTrack = RGB(0xD8, 0xDD, 0xE4);
constexpr COLORREF kAccent = RGB(0x1E, 0x8E, 0x7E);

void Fill(HDC dc, const RECT& area, COLORREF color) {
  // The stock brush has a colour of its own for each device context: nothing to create or to free.
  SetDCBrushColor(dc, color);
  FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void Text(HDC dc, const RECT& area, const std::u16string& text, COLORREF color, UINT align) {
  RECT place = area;
  SetTextColor(dc, color);
  DrawTextW(dc, AsWide(text.c_str()), static_cast<int>(text.size()), &place,
            align | DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
}

GdiObject<HFONT> MakeFont(int height, int weight) {
  return GdiObject<HFONT>(CreateFontW(-height, 0, 0, 0, weight, FALSE, FALSE, FALSE, GB2312_CHARSET,
                                      OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                      DEFAULT_PITCH | FF_DONTCARE, L"Microsoft YaHei"));
}

}  // namespace

void PlayerView::Layout(int width, int height, int dpi) {
  if (dpi != dpi_) {
    dpi_ = dpi;
    title_font_ = MakeFont(Scale(20), FW_BOLD);
    text_font_ = MakeFont(Scale(13), FW_NORMAL);
  }
  const auto row = [&](int top, int row_height) {
    return RECT{Scale(16), Scale(top), std::max<LONG>(width - Scale(16), Scale(17)), Scale(top + row_height)};
  };
  client_ = {0, 0, width, height};
  title_ = row(12, 30);
  subtitle_ = row(44, 20);
  details_ = row(64, 20);

  progress_area_ = row(90, 26);
  elapsed_ = total_ = progress_ = progress_area_;
  elapsed_.right = elapsed_.left + Scale(60);
  total_.left = total_.right - Scale(60);
  progress_.left = elapsed_.right;
  progress_.right = std::max(total_.left, progress_.left + 1);
  progress_.top += Scale(10);
  progress_.bottom -= Scale(10);

  const RECT bar = row(126, 36);
  for (size_t i = 0; i < kPlayerButtonCount; ++i) {
    const LONG left = bar.left + Scale(static_cast<int>(i) * 44);
    buttons_[i] = {left, bar.top, left + Scale(36), bar.bottom};
  }
  volume_ = bar;
  volume_.left = buttons_.back().right;
}

bool PlayerView::OnProgress(POINT point) const {
  return PtInRect(&progress_area_, point) && point.x >= progress_.left - Scale(4) &&
         point.x < progress_.right + Scale(4);
}

std::optional<PlayerButton> PlayerView::ButtonAt(POINT point) const {
  for (size_t i = 0; i < kPlayerButtonCount; ++i) {
    if (PtInRect(&buttons_[i], point)) return static_cast<PlayerButton>(i);
  }
  return std::nullopt;
}

void PlayerView::Draw(HDC dc, const PlayerPicture& picture) const {
  Fill(dc, client_, kBackground);
  SetBkMode(dc, TRANSPARENT);
  DrawTexts(dc, picture);
  DrawProgress(dc, picture);
  for (size_t i = 0; i < kPlayerButtonCount; ++i)
    DrawButton(dc, static_cast<PlayerButton>(i), picture.playing);
}

void PlayerView::DrawTexts(HDC dc, const PlayerPicture& picture) const {
  {
    const SelectScope font(dc, title_font_.get());
    Text(dc, title_, picture.title, kText, DT_LEFT);
  }
  const SelectScope font(dc, text_font_.get());
  Text(dc, subtitle_, picture.subtitle, kText, DT_LEFT);
  if (picture.message.empty()) {
    Text(dc, details_, picture.details, kQuietText, DT_LEFT);
  } else {
    Text(dc, details_, picture.message, kErrorText, DT_LEFT);
  }
  Text(dc, volume_, picture.volume, kQuietText, DT_RIGHT);
}

void PlayerView::DrawProgress(HDC dc, const PlayerPicture& picture) const {
  const SelectScope font(dc, text_font_.get());
  const COLORREF color = picture.has_track ? kText : kQuietText;
  Text(dc, elapsed_, picture.has_track ? FormatTime(picture.position_ms) : u"-:--", color, DT_LEFT);
  Text(dc, total_, picture.has_track ? FormatTime(picture.duration_ms) : u"-:--", color, DT_RIGHT);
  Fill(dc, progress_, kTrack);
  if (!picture.has_track || picture.duration_ms == 0) return;
  RECT done = progress_;
  const uint32_t position = std::min(picture.position_ms, picture.duration_ms);
  const int64_t filled = int64_t{ProgressWidth()} * position / picture.duration_ms;
  done.right = done.left + static_cast<LONG>(filled);
  Fill(dc, done, kAccent);
  RECT knob = {done.right - Scale(2), done.top - Scale(5), done.right + Scale(3), done.bottom + Scale(5)};
  Fill(dc, knob, kAccent);
}

void PlayerView::DrawButton(HDC dc, PlayerButton button, bool playing) const {
  const RECT& place = buttons_[static_cast<size_t>(button)];
  Fill(dc, place, kTrack);
  // Signs are drawn on a grid of 16 in the button's middle.
  const int left = (place.left + place.right) / 2 - Scale(8);
  const int top = (place.top + place.bottom) / 2 - Scale(8);
  const auto bar = [&](int x0, int y0, int x1, int y1) {
    Fill(dc, {left + Scale(x0), top + Scale(y0), left + Scale(x1), top + Scale(y1)}, kText);
  };
  const auto triangle = [&](int base, int tip) {
    const std::array<POINT, 3> points = {{{left + Scale(base), top + Scale(1)},
                                          {left + Scale(base), top + Scale(15)},
                                          {left + Scale(tip), top + Scale(8)}}};
    const SelectScope brush(dc, GetStockObject(DC_BRUSH));
    const SelectScope pen(dc, GetStockObject(DC_PEN));
    SetDCBrushColor(dc, kText);
    SetDCPenColor(dc, kText);
    Polygon(dc, points.data(), static_cast<int>(points.size()));
  };
  switch (button) {
    case PlayerButton::kPrevious:
      bar(2, 1, 4, 16);
      triangle(14, 5);
      break;
    case PlayerButton::kPlay:
      if (playing) {
        bar(3, 1, 6, 16);
        bar(10, 1, 13, 16);
      } else {
        triangle(4, 14);
      }
      break;
    case PlayerButton::kStop:
      bar(2, 2, 15, 15);
      break;
    case PlayerButton::kNext:
      triangle(2, 11);
      bar(12, 1, 14, 16);
      break;
  }
}

}  // namespace melorin
