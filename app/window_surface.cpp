// SPDX-License-Identifier: MIT
#include "app/window_surface.h"

#include <algorithm>
#include <utility>

#include "app/gdi.h"
#include "app/window_shape.h"
#include "skin/bitmap_draw.h"

namespace melorin {
namespace {

constexpr UINT kFadeStepMs = 15;
constexpr int kOpaque = 255;

}  // namespace

void WindowSurface::Paint() {
  const PaintScope paint(window_);
  const RECT& dirty = paint.Dirty();
  if (paint.dc() && !IsRectEmpty(&dirty))
    Draw(paint.dc(), {dirty.left, dirty.top, dirty.right, dirty.bottom});
}

void WindowSurface::Draw(HDC dc, const SkinRect& pixels) {
  const Bitmap& canvas = view_.Compose();
  const SkinRect area = Intersection(pixels, BitmapBounds(canvas));
  if (area.IsEmpty()) return;
  // Only the rows that are wanted are shown to the system: it may copy all it is shown.
  const auto rows = static_cast<UINT>(area.Height());
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = canvas.width;
  info.bmiHeader.biHeight = -area.Height();
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  SetDIBitsToDevice(dc, area.left, area.top, static_cast<DWORD>(area.Width()), rows, area.left, 0, 0, rows,
                    canvas.Row(area.top), &info, DIB_RGB_COLORS);
}

void WindowSurface::ShowStepped() {
  const SkinRect pixels = std::exchange(stepped_, {});
  if (!window_ || pixels.IsEmpty()) return;
  HDC dc = GetDC(window_);
  if (!dc) return;
  Draw(dc, pixels);
  ReleaseDC(window_, dc);
}

void WindowSurface::Invalidate(const SkinRect& pixels) {
  if (stepping_) {
    stepped_ = Union(stepped_, pixels);
    return;
  }
  const RECT area = {pixels.left, pixels.top, pixels.right, pixels.bottom};
  InvalidateRect(window_, &area, FALSE);
}

// ---- shape

void WindowSurface::ShapeChanged(bool seen) {
  shape_is_old_ = !seen;
  if (seen) {
    FindShape();
  } else {
    view_.FreeBitmaps();
  }
}

void WindowSurface::RefreshShape() {
  if (!shape_is_old_) return;
  shape_is_old_ = false;
  FindShape();
}

void WindowSurface::FindShape() {
  GdiObject<HRGN> shape = ShapeOf(view_);
  if (!shape && !shaped_) return;
  shaped_ = static_cast<bool>(shape);
  if (SetWindowRgn(window_, shape.get(), TRUE)) (void)shape.Release();
}

// ---- opacity

void WindowSurface::SetAlpha(int alpha, bool shown) {
  alpha_ = std::clamp(alpha, 0, kOpaque);
  if (!shown) return;
  if (fade_.Runs()) {
    StartFade(alpha_);
  } else {
    ApplyAlpha(alpha_);
  }
}

void WindowSurface::Appear(bool fade, bool visible) {
  if (!fade) {
    StopFade();
    ApplyAlpha(alpha_);
  } else if (!visible || fade_.Runs()) {
    if (!visible) ApplyAlpha(0);
    StartFade(alpha_);
  }
}

void WindowSurface::ApplyAlpha(int alpha) {
  if (alpha == applied_alpha_) return;
  applied_alpha_ = alpha;
  const LONG_PTR style = GetWindowLongPtrW(window_, GWL_EXSTYLE);
  if (alpha == kOpaque) {
    // A layered window costs a copy of itself and a blend at every change.
    SetWindowLongPtrW(window_, GWL_EXSTYLE, style & ~WS_EX_LAYERED);
    InvalidateRect(window_, nullptr, FALSE);
    return;
  }
  if (!(style & WS_EX_LAYERED)) SetWindowLongPtrW(window_, GWL_EXSTYLE, style | WS_EX_LAYERED);
  SetLayeredWindowAttributes(window_, 0, static_cast<BYTE>(alpha), LWA_ALPHA);
}

void WindowSurface::StartFade(int to) {
  fade_.Start(applied_alpha_, to, GetTickCount());
  SetTimer(window_, kTimer, kFadeStepMs, nullptr);
}

void WindowSurface::StopFade() {
  if (!fade_.Runs()) return;
  fade_.Stop();
  KillTimer(window_, kTimer);
}

bool WindowSurface::OnTimer() {
  if (!fade_.Runs()) return false;
  ApplyAlpha(fade_.AlphaAt(GetTickCount()));
  if (fade_.Runs()) return false;
  KillTimer(window_, kTimer);
  return true;
}

}  // namespace melorin
