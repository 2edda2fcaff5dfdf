// SPDX-License-Identifier: MIT
//
// PlayerWindowView: the player window and the mini player, which are made of the same elements.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "doc/settings.h"
#include "skin/bitmap.h"
#include "ui/button_control.h"
#include "ui/icon_control.h"
#include "ui/led_control.h"
#include "ui/player_status.h"
#include "ui/slider_control.h"
#include "ui/text_control.h"
#include "ui/window_services.h"
#include "ui/window_view.h"

namespace melorin {

/// Thread: the UI thread.
class PlayerWindowView final : public WindowView {
 public:
  using MakeControl = std::function<std::unique_ptr<Control>()>;

  /// `kind`: kPlayer or kMini. Both others must outlive the view.
  PlayerWindowView(SkinWindow kind, WindowServices& services, PlayerActions& actions);

  /// Repaints what looks different now. The place in the song is the user's while the thumb is dragged.
  void SetStatus(const PlayerStatus& status);
  /// What commands can be used and are checked may have changed.
  void RefreshCommands();

  /// Of the best size that there is, pixels of the screen. Without it the program's own is drawn.
  void SetIcon(Bitmap icon);
  /// ms between two steps of a text that is too long; 0: such texts end in "…", as titles do while nothing
  /// plays.
  void SetSlideInterval(uint32_t ms);
  /// Font and colour of the line of lyrics in the mini player.
  void SetLyricLook(const LyricLook& look);
  /// Makes what goes into the element "visual", at each Wear; until it is given that place stays empty.
  void SetVisual(MakeControl make) { make_visual_ = std::move(make); }
  /// Null where the skin has no such place, and before it is worn.
  Control* Visual() const { return visual_; }

 private:
  LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) override;
  bool OnWindowWheel(int32_t notches) override;

  void AddButtons(const SkinPlayerWindow& window);
  void AddSliders(const SkinPlayerWindow& window);
  void AddTexts(const SkinPlayerWindow& window);
  TextControl* AddText(const char* element, const SkinText& look, const SkinRect& position,
                       std::u16string name);
  ButtonControl* Button(SkinPlayerButton button) const { return buttons_[static_cast<size_t>(button)]; }
  SkinText LyricText(const SkinRect& position) const;

  void ShowStatus();
  void ShowState();
  void ShowSlide();
  void ShowSwitches();
  void ShowTime();
  void ShowProgress();
  void OnProgress(int32_t position_ms, bool final);
  std::u16string ProgressText(int32_t position_ms) const;

  WindowServices& services_;
  PlayerActions& actions_;
  PlayerStatus status_;
  Bitmap icon_;
  uint32_t slide_interval_ms_ = 0;
  LyricLook lyric_look_;
  MakeControl make_visual_;

  // Of the skin that is worn; null where it has no such element.
  std::array<ButtonControl*, kSkinPlayerButtons> buttons_{};
  bool shares_place_ = false;  ///< Play and pause: one of them is seen.
  SliderControl* progress_ = nullptr;
  SliderControl* volume_ = nullptr;
  LedControl* led_ = nullptr;
  IconControl* icon_control_ = nullptr;
  Control* visual_ = nullptr;
  TextControl* info_ = nullptr;
  TextControl* text_status_ = nullptr;
  TextControl* stereo_ = nullptr;
  TextControl* lyric_ = nullptr;
};

}  // namespace melorin
