// SPDX-License-Identifier: MIT
//
// LyricView: the lyric of what plays, moving with it. The skin's element "lyric" of the lyric window. Between
// two reports of the position it goes on by itself, and it rests while nothing moves.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "doc/settings.h"
#include "lyrics/lyric_doc.h"
#include "ui/control.h"
#include "ui/lyric_clock.h"
#include "ui/lyric_layout.h"

namespace melorin {

/// Thread: the UI thread.
class LyricActions {
 public:
  virtual void SeekToLyric(uint32_t position_ms) = 0;
  /// The whole lyric half a second sooner or later.
  virtual void MoveLyric(bool earlier) = 0;
  /// At a point of the window.
  virtual void ShowLyricMenu(int32_t x, int32_t y) = 0;

 protected:
  ~LyricActions() = default;
};

/// What is shown. The document is not changed while it is.
struct ShownLyric {
  /// With timed lines; or only with plain text, which scrolls evenly with the song; null: neither.
  std::shared_ptr<const LyricDoc> doc;
  /// Shown while there is no document: the song's title, and why there is nothing. Each is a line.
  std::string title_gbk;
  std::string message_gbk;
};

class LyricView final : public Control {
 public:
  /// The actions must outlive the view.
  explicit LyricView(LyricActions& actions) : actions_(actions) {}

  void SetLook(const LyricSettings& look);
  void SetLyric(ShownLyric lyric);
  /// Where the song is. `duration_ms`: 0: not known. `now_ms`: of the clock of OnTick.
  void SetPosition(int32_t position_ms, int32_t duration_ms, bool runs, uint32_t now_ms);
  /// Tells something over the lyric for a moment.
  void ShowNotice(std::string text_gbk, uint32_t now_ms);
  /// Called while painting when the longest line needs another width in 1x pixels, margins included.
  void SetWidthListener(std::function<void(int32_t)> listener) { on_width_ = std::move(listener); }

  bool IsDragging() const { return drag_ == Drag::kLines; }
  /// The current line as it is shown; empty between the lines and without times.
  const std::string& LineGbk() const;
  /// Where the lyric is, in pixels of the screen along its way; for tests.
  int32_t Way() const { return shown_.way; }

  // ---- Control

  void Paint(const PaintContext& context) override;
  /// Where there is nothing to be dragged the window is moved.
  bool TakesPointAt(int32_t x, int32_t y) const override;
  void OnPress(const Pointer& pointer) override;
  void OnDrag(const Pointer& pointer) override;
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override;
  void OnDoubleClick(const Pointer& pointer) override;
  bool OnWheel(const Pointer& pointer, int32_t notches) override;
  bool OnContextMenu(const Pointer& pointer) override;
  std::u16string TipAt(int32_t, int32_t) const override { return {}; }
  /// The arrow keys seek from line to line.
  bool TakesFocus() const override { return IsTimed() && look_.drag_lyric != 0; }
  bool TakesFocusByMouse() const override { return false; }
  bool OnKey(const KeyPress& key) override;
  ControlRole Role() const override { return ControlRole::kText; }
  std::u16string Value() const override;
  uint32_t TickMs() const override { return tick_ms_; }
  void OnTick(uint32_t now_ms) override;

 private:
  enum class Drag { kNone, kPressed, kLines };
  /// What is to be seen at a moment; the same state looks the same.
  struct State {
    size_t line = 0;         ///< Lit; the number of lines: none.
    int32_t way = 0;         ///< What lies in the middle of the view.
    int32_t sung = 0;        ///< Pixels of the lit line, in karaoke mode.
    int32_t lit = 0;         ///< 0 to 255: how far the line has become light, and the one before dark.
    int32_t target_ms = -1;  ///< Where a drag would seek to.
    bool notice = false;
    bool operator==(const State&) const = default;
  };
  /// The text of a row, 0 to 255 for each pixel.
  struct Mask {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> cover;
  };
  /// Where a row is, in pixels of the window, and how many of its own are sung.
  struct PlacedRow {
    size_t row = 0;
    int32_t x = 0;
    int32_t y = 0;
    int32_t sung = 0;
  };
  struct Ink {
    SkinColour colour = 0;
    uint32_t alpha = 255;
  };

  void OnPlaced() override;
  bool IsTimed() const { return lyric_.doc && !lyric_.doc->Lines().empty(); }
  bool IsSideways() const { return look_.scroll_mode != 0 && lyric_.doc; }
  bool CanDrag() const;
  void MakeTexts();
  void Forget();
  void EnsureLayout(const PaintContext& context);
  int32_t HalfView() const;
  /// The way at a time, without what the mouse has moved.
  int32_t WayAt(int32_t time_ms, State* state) const;
  int32_t TimeAt(int32_t way) const;
  int32_t OwnWay() const;
  State StateAt(uint32_t now_ms) const;
  void Show(uint32_t now_ms);
  void RepaintChange(const State& before);
  void Glide(uint32_t elapsed_ms);
  void ScheduleTick();
  int64_t NextChangeMs() const;
  uint32_t TickFor(const State& state) const;
  void MoveBy(int32_t pixels);

  void PaintGround(const PaintContext& context) const;
  /// The rows of a line whose first `sung` pixels are; calls `act` with each.
  template <class Act>
  void ForRows(size_t line, int32_t sung, Act act) const;
  int32_t MaskWidth(size_t row) const;
  SkinRect RowPixels(const PlacedRow& row) const;
  SkinRect LinePixels(size_t line) const;
  /// Where the lit line changes its colour when it is sung up to here instead of there.
  SkinRect SungPixels(int32_t from, int32_t to) const;
  SkinRect TextPixels() const;
  void PaintRow(const PaintContext& context, const PlacedRow& placed);
  const Mask& MaskOf(const PaintContext& context, size_t row);
  Ink InkOf(size_t line, int32_t distance) const;
  void PaintTarget(const PaintContext& context) const;
  void PaintNotice(const PaintContext& context) const;
  void PaintLabel(const PaintContext& context, const SkinRect& around, int32_t align,
                  const std::string& text_gbk) const;

  LyricActions& actions_;
  LyricSettings look_;
  ShownLyric lyric_;
  std::vector<std::string> texts_;  ///< As they are shown, of lines, plain text or message.
  LyricClock clock_;
  int32_t duration_ms_ = 0;
  uint32_t now_ms_ = 0;
  std::function<void(int32_t)> on_width_;
  int32_t told_width_ = 0;

  // Pixels of the screen; made when painting, which knows the scale and the fonts.
  LyricLayout layout_;
  CharacterWidths widths_;
  LyricLayout::Measures measures_;
  TextStyle style_;
  TextPainter* text_ = nullptr;
  int32_t scale_ = 1;
  bool laid_out_ = false;
  SkinRect text_pixels_;                    ///< All that the text reaches while it scrolls.
  std::unordered_map<size_t, Mask> masks_;  ///< Of the rows in view.
  Bitmap sheet_;                            ///< Where masks are drawn.
  State shown_;

  Drag drag_ = Drag::kNone;
  Pointer pressed_at_;
  int32_t drag_from_ = 0;  ///< The way at the press.
  int32_t drag_way_ = 0;
  double offset_ = 0;       ///< How far the lyric is away from where the song is.
  double offset_goal_ = 0;  ///< Where it glides to.
  bool moved_ = false;      ///< The user has, since the last tick.
  uint32_t moved_ms_ = 0;   ///< When that was.
  std::string notice_gbk_;
  uint32_t notice_since_ = 0;
  uint32_t tick_ms_ = 0;
};

}  // namespace melorin
