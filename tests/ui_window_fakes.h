// SPDX-License-Identifier: MIT
//
// What is around the controls of a window: a program that records what it is asked for, a shell that records
// what is to be repainted, and fonts whose widths are known.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "skin/bitmap_draw.h"
#include "ui/player_status.h"
#include "ui/window_services.h"
#include "ui/window_view.h"

namespace melorin {

class FakeProgram final : public WindowServices, public CommandTarget, public PlayerActions {
 public:
  std::set<CommandId> disabled;
  std::set<CommandId> checked;
  std::function<void(CommandId)> on_execute;

  /// "1009; seek 5000; menu 0 at 12,24"
  std::string Asked() {
    std::string all;
    for (const std::string& one : asked_)
      all += (all.empty() ? "" : "; ") + one;
    asked_.clear();
    return all;
  }

  CommandTarget& Commands() override { return *this; }
  void ShowMenu(MenuKind kind, SkinWindow, int32_t x, int32_t y) override {
    Ask("menu " + std::to_string(static_cast<int>(kind)) + " at " + std::to_string(x) + "," +
        std::to_string(y));
  }
  std::u16string TipOf(CommandId command) override {
    const Command* known = FindCommand(command);
    return known ? PlainCommandText(known->tip ? known->tip : known->text) + u" (K)" : u"?";
  }
  void Execute(CommandId command) override {
    Ask(std::to_string(static_cast<int32_t>(command)));
    if (on_execute) on_execute(command);
  }
  bool IsEnabled(CommandId command) const override { return !disabled.contains(command); }
  bool IsChecked(CommandId command) const override { return checked.contains(command); }
  void SeekTo(uint32_t position_ms) override { Ask("seek " + std::to_string(position_ms)); }
  void SetVolume(int32_t volume) override { Ask("volume " + std::to_string(volume)); }
  void StepVolume(int32_t steps) override { Ask("step " + std::to_string(steps)); }

 private:
  void Ask(std::string what) { asked_.push_back(std::move(what)); }

  std::vector<std::string> asked_;
};

class FakeShell final : public WindowViewHost {
 public:
  std::vector<SkinRect> repainted;
  size_t ticks_changed = 0;
  std::vector<size_t> changed;

  void RepaintArea(const SkinRect& pixels) override { repainted.push_back(pixels); }
  void ViewTickChanged() override { ++ticks_changed; }
  void ControlChanged(size_t control) override { changed.push_back(control); }
  void ControlFocused(size_t) override {}
};

/// Half as wide as high a byte; a text is painted as a bar.
class FakeText final : public TextPainter {
 public:
  std::string text;
  int32_t shift = 0;
  bool ellipsis = false;

  void Draw(Bitmap& target, const SkinRect& area, std::string_view text_gbk, const TextStyle& style,
            int32_t moved) override {
    text = text_gbk;
    shift = moved;
    ellipsis = style.ellipsis;
    FillArea(target, area, PixelOf(style.colour));
  }
  int32_t WidthOf(std::string_view text_gbk, const TextStyle& style) override {
    return static_cast<int32_t>(text_gbk.size()) * style.pixels / 2;
  }
};

inline Pointer MiddleOf(const Control& control) {
  const SkinRect& place = control.Place();
  return {(place.left + place.right) / 2, (place.top + place.bottom) / 2};
}

inline Bitmap CopyOf(const Bitmap& bitmap, const SkinRect& area) {
  Bitmap copy(area.Width(), area.Height());
  DrawCell(copy, BitmapBounds(copy), 0, 0, bitmap, area, Combine::kReplace);
  return copy;
}

}  // namespace melorin
