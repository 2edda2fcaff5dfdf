// SPDX-License-Identifier: MIT
//
// WindowSurface: what is seen of a skinned window: its picture, its shape, and how opaque it is, which fades
// when the window comes and goes. Thread: the UI thread.
#pragma once

#include <windows.h>

#include "app/fade_ramp.h"
#include "ui/window_view.h"

namespace melorin {

class WindowSurface {
 public:
  /// The window's timer that steps the fades.
  static constexpr UINT_PTR kTimer = 2;

  /// The view must outlive this.
  explicit WindowSurface(WindowView& view) : view_(view) {}
  WindowSurface(const WindowSurface&) = delete;
  WindowSurface& operator=(const WindowSurface&) = delete;

  /// The platform's window; null when it is gone. Nothing else may be called without one.
  void Attach(HWND window) { window_ = window; }

  /// For WM_PAINT.
  void Paint();
  /// `pixels` of the window are another by the next WM_PAINT.
  void Invalidate(const SkinRect& pixels);
  /// Does what moves the view, and shows at once what it has made another: for the frames of a motion the
  /// way over update regions and WM_PAINT would cost more than the picture.
  template <class Step>
  void ShowStep(Step step) {
    stepping_ = true;
    step();
    stepping_ = false;
    ShowStepped();
  }

  /// The shape of the view has changed. Finding it takes a bitmap, which a window that is not `seen` does
  /// without until RefreshShape.
  void ShapeChanged(bool seen);
  void RefreshShape();

  /// 0 to 255 where nothing fades. It shows when the window is `shown`.
  void SetAlpha(int alpha, bool shown);
  /// Before the window is shown. `visible`: it still is, or was all the time.
  void Appear(bool fade, bool visible);
  /// The timer tells when it has disappeared.
  void StartDisappearing() { StartFade(0); }
  void StopFade();
  /// True when a fade has come to its end.
  bool OnTimer();

 private:
  void ShowStepped();
  void Draw(HDC dc, const SkinRect& pixels);
  void FindShape();
  void ApplyAlpha(int alpha);
  void StartFade(int to);

  WindowView& view_;
  HWND window_ = nullptr;
  bool stepping_ = false;
  SkinRect stepped_;  ///< What the step has made another, in pixels of the window.
  bool shaped_ = false;
  bool shape_is_old_ = true;
  int alpha_ = 255;
  int applied_alpha_ = 255;
  FadeRamp fade_;
};

}  // namespace melorin
