// SPDX-License-Identifier: MIT
//
// SkinnedWindow: the platform's window over a WindowView: a pop-up without a frame, in the shape of the skin.
// It sorts the messages: what is seen is its WindowSurface's, the mouse its WindowMouse's, and what concerns
// more than one window its host's; keys, place and life are here. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <cstdint>
#include <memory>
#include <string>

#include "app/accessible_window.h"
#include "app/skinned_window_host.h"
#include "app/window_mouse.h"
#include "app/window_surface.h"
#include "ui/window_view.h"

namespace melorin {

class SkinnedWindow final : private WindowViewHost {
 public:
  /// The view and the host must outlive the window.
  SkinnedWindow(WindowView& view, SkinnedWindowHost& host)
      : view_(view), host_(host), surface_(view), mouse_(view, host, place_) {}
  ~SkinnedWindow();
  SkinnedWindow(const SkinnedWindow&) = delete;
  SkinnedWindow& operator=(const SkinnedWindow&) = delete;

  struct Traits {
    const wchar_t* class_name;
    const wchar_t* caption;
    bool on_task_bar;
  };
  /// Makes the window, hidden, in the size of the view, which wears its skin already. False when the platform
  /// refuses.
  bool Create(HINSTANCE instance, HWND owner, const Traits& traits);

  HWND Handle() const { return window_; }
  WindowView& View() { return view_; }
  SkinWindow Kind() const { return view_.Kind(); }

  // ---- showing

  /// True from Show to Hide, be the window still fading.
  bool IsShown() const { return shown_; }
  bool IsMinimized() const { return minimized_; }
  enum class Activation { kActivate, kLeave };
  void Show(bool fade, Activation activation);
  void Hide(bool fade);
  void Minimize();
  void SetCaption(const std::u16string& caption);
  /// 0 to 255 while shown and not fading.
  void SetAlpha(int alpha);
  void SetTopMost(bool top_most);
  bool IsTopMost() const { return top_most_; }

  // ---- place and size, pixels of the screen

  /// Where the window is, or will be when it is no longer minimised.
  const SkinRect& Place() const { return place_; }
  /// The left top corner.
  void MoveTo(int32_t left, int32_t top);
  /// Sizes that the view does not take are brought to the nearest it does; the edges that `part` does not
  /// move stay. kCaption: left and top stay.
  void SetPlace(const SkinRect& place, WindowPart part = WindowPart::kCaption);
  /// The view wears another skin, maybe at another scale. Left and top stay.
  void OnSkinChanged();

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  // Each is true when the message needs nothing of the system's own doing.
  bool Take(UINT message, WPARAM wparam, LPARAM lparam, LRESULT* result);
  bool TakeKey(UINT message, WPARAM wparam);
  bool TakeChange(UINT message, WPARAM wparam);

  void RepaintArea(const SkinRect& pixels) override;
  void ViewTickChanged() override;
  void ControlChanged(size_t control) override;
  void ControlFocused(size_t control) override;

  void Attach(HWND window);
  void OnTimer(WPARAM timer);
  void FinishHiding();
  void SetTick();
  void OnContextMenu(LPARAM where);
  POINT KeyboardMenuPoint() const;
  void OnDrop(HDROP drop);
  void OnPositionChanged();
  void OnAccessibleAction(size_t control, LPARAM part);

  WindowView& view_;
  SkinnedWindowHost& host_;
  HWND window_ = nullptr;
  SkinRect place_;
  WindowSurface surface_;
  WindowMouse mouse_;
  std::unique_ptr<AccessibleWindow> accessible_;  ///< Made when somebody asks.

  bool shown_ = false;
  bool minimized_ = false;
  bool top_most_ = false;
  UINT tick_ms_ = 0;  ///< Of the timer that runs; 0: none.
};

}  // namespace melorin
