// SPDX-License-Identifier: MIT
//
// LyricWindowView: the lyric window: caption, buttons, and the lyric.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "doc/settings.h"
#include "ui/lyric_view.h"
#include "ui/tool_window_view.h"

namespace melorin {

/// Thread: the UI thread.
class LyricWindowView final : public ToolWindowView {
 public:
  /// Both must outlive the view.
  LyricWindowView(WindowServices& services, LyricActions& actions)
      : ToolWindowView(SkinWindow::kLyric, services, CommandId::kShowLyric), actions_(actions) {}

  /// Null before the first Wear, and in skins without the element; other ones after each.
  LyricView* Lyric() const { return lyric_view_; }

  void SetLook(const LyricSettings& look);
  void SetLyric(ShownLyric lyric);
  /// See LyricView.
  void SetPosition(int32_t position_ms, int32_t duration_ms, bool runs, uint32_t now_ms);
  void ShowNotice(std::string text_gbk, uint32_t now_ms);
  /// Called while painting: how wide the window would have to be for the longest line, 1x pixels.
  void SetWidthListener(std::function<void(int32_t)> listener) { on_width_ = std::move(listener); }

 private:
  LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) override;
  bool OnWindowWheel(int32_t notches) override;

  LyricActions& actions_;
  LyricView* lyric_view_ = nullptr;
  LyricSettings look_;
  ShownLyric lyric_;
  int32_t position_ms_ = 0;
  int32_t duration_ms_ = 0;
  bool runs_ = false;
  uint32_t now_ms_ = 0;
  std::function<void(int32_t)> on_width_;
};

}  // namespace melorin
