// SPDX-License-Identifier: MIT
//
// WindowMouse: the mouse over a skinned window. It brings presses, moves and notches to the view, drags the
// window or an edge of it, and shows tips. Thread: the UI thread.
#pragma once

#include <windows.h>

#include "app/skinned_window_host.h"
#include "app/tip_window.h"
#include "ui/window_view.h"

namespace melorin {

class WindowMouse {
 public:
  /// All must outlive this. `place`: where the window is, pixels of the screen, kept up to date by its owner.
  WindowMouse(WindowView& view, SkinnedWindowHost& host, const SkinRect& place)
      : view_(view), host_(host), place_(place) {}
  WindowMouse(const WindowMouse&) = delete;
  WindowMouse& operator=(const WindowMouse&) = delete;

  /// The platform's window; null when it is gone.
  void Attach(HWND window);
  /// True when the message needs nothing of the system's own doing.
  bool Take(UINT message, WPARAM wparam, LPARAM lparam);
  /// True: the mouse is over an edge that it can drag, and looks so.
  bool ShowEdgeCursor();

  /// Gives the mouse back, and so ends a drag where it is.
  void LetGo();
  /// False: none is under way. Else the host has put the window back where it was.
  bool TakeBackDrag();
  void HideTip() { tip_.Hide(); }
  /// What the tip told of is no longer there.
  void ForgetTip() { tip_.Set({}, {}); }

  /// `client`: pixels of the window.
  Pointer PointerAt(POINT client) const;

 private:
  void OnButtonDown(POINT client, bool again);
  void OnButtonUp(POINT client);
  void OnMouseMove(POINT client);
  void OnWheel(POINT screen, int delta);
  void OnCaptureLost();
  void StartDrag(WindowPart part, POINT client);
  void Drag(POINT client);
  void UpdateTip(POINT client);

  WindowView& view_;
  SkinnedWindowHost& host_;
  const SkinRect& place_;
  HWND window_ = nullptr;
  TipWindow tip_;

  bool tracks_leave_ = false;
  bool letting_go_ = false;
  int wheel_ = 0;                  ///< Parts of a notch.
  const Control* told_ = nullptr;  ///< A slider under the mouse's hand, whose value the tip tells.
  bool dragging_ = false;
  WindowPart drag_part_ = WindowPart::kCaption;
  POINT drag_from_{};
  SkinRect drag_place_;
};

}  // namespace melorin
