// SPDX-License-Identifier: MIT
//
// How the plain player window looks: a layout for a dpi, and drawing what there is to show. Knows no player.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "app/gdi.h"

namespace melorin {

enum class PlayerButton { kPrevious, kPlay, kStop, kNext };
inline constexpr size_t kPlayerButtonCount = 4;

struct PlayerPicture {
  std::u16string title;
  std::u16string subtitle;  ///< Artist and album.
  std::u16string details;   ///< Format and device.
  std::u16string message;   ///< An error; shown in the place of the details.
  std::u16string volume;
  uint32_t position_ms = 0;
  uint32_t duration_ms = 0;
  bool playing = false;  ///< Shows the pause sign.
  bool has_track = false;
  bool operator==(const PlayerPicture&) const = default;
};

/// Thread: the UI thread.
class PlayerView {
 public:
  /// Lays everything out for a client area at that dpi (96 is 100 %).
  void Layout(int width, int height, int dpi);
  static SIZE ClientSize(int dpi) { return {MulDiv(460, dpi, 96), MulDiv(176, dpi, 96)}; }

  void Draw(HDC dc, const PlayerPicture& picture) const;

  /// What changes with the position, for a repaint of just that.
  RECT ProgressArea() const { return progress_area_; }
  /// The line itself; clicks may miss it by a few pixels.
  bool OnProgress(POINT point) const;
  int ProgressLeft() const { return progress_.left; }
  int ProgressWidth() const { return progress_.right - progress_.left; }
  std::optional<PlayerButton> ButtonAt(POINT point) const;

 private:
  int Scale(int value) const { return MulDiv(value, dpi_, 96); }
  void DrawTexts(HDC dc, const PlayerPicture& picture) const;
  void DrawProgress(HDC dc, const PlayerPicture& picture) const;
  void DrawButton(HDC dc, PlayerButton button, bool playing) const;

  int dpi_ = 0;
  RECT client_{};
  RECT title_{}, subtitle_{}, details_{}, progress_area_{}, progress_{}, elapsed_{}, total_{}, volume_{};
  std::array<RECT, kPlayerButtonCount> buttons_{};
  GdiObject<HFONT> title_font_;
  GdiObject<HFONT> text_font_;
};

}  // namespace melorin
