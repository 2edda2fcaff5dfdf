// SPDX-License-Identifier: MIT
#include "app/window_mouse.h"

#include <windowsx.h>

#include <utility>

#include "ui/window_snap.h"

namespace melorin {
namespace {

POINT PointOf(LPARAM lparam) {
  return {GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
}

int32_t FloorDivide(int32_t value, int32_t by) {
  return value >= 0 ? value / by : -((by - 1 - value) / by);
}

bool IsDown(int key) {
  return GetKeyState(key) < 0;
}

LPCWSTR CursorOf(WindowPart part) {
  switch (part) {
    case WindowPart::kLeft:
    case WindowPart::kRight:
      return IDC_SIZEWE;
    case WindowPart::kTop:
    case WindowPart::kBottom:
      return IDC_SIZENS;
    case WindowPart::kTopLeft:
    case WindowPart::kBottomRight:
      return IDC_SIZENWSE;
    case WindowPart::kTopRight:
    case WindowPart::kBottomLeft:
      return IDC_SIZENESW;
    case WindowPart::kControl:
    case WindowPart::kCaption:
      break;
  }
  return nullptr;
}

}  // namespace

void WindowMouse::Attach(HWND window) {
  window_ = window;
  if (window) {
    tip_.SetOwner(window);
  } else {
    tip_.Destroy();
  }
}

bool WindowMouse::TakeBackDrag() {
  if (!dragging_) return false;
  host_.OnDragTo(view_.Kind(), drag_part_, drag_place_);
  LetGo();
  return true;
}

bool WindowMouse::Take(UINT message, WPARAM wparam, LPARAM lparam) {
  // What is held is told of by nothing but its value.
  if (message >= WM_MOUSEFIRST && message <= WM_MBUTTONDBLCLK && !dragging_ && !view_.IsPressed())
    tip_.Relay(message, wparam, lparam);
  switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      OnButtonDown(PointOf(lparam), message == WM_LBUTTONDBLCLK);
      return true;
    case WM_LBUTTONUP:
      OnButtonUp(PointOf(lparam));
      return true;
    case WM_MBUTTONUP:
      view_.OnMiddleClick(PointerAt(PointOf(lparam)));
      return true;
    case WM_MOUSEMOVE:
      OnMouseMove(PointOf(lparam));
      return true;
    case WM_MOUSELEAVE:
      tracks_leave_ = false;
      view_.OnLeave();
      tip_.Set({}, {});
      return true;
    case WM_MOUSEWHEEL:
      OnWheel(PointOf(lparam), GET_WHEEL_DELTA_WPARAM(wparam));
      return true;
    case WM_ENTERMENULOOP:
      // It would be shown above the menu.
      tip_.Set({}, {});
      return false;
    case WM_CAPTURECHANGED:
      if (reinterpret_cast<HWND>(lparam) != window_) OnCaptureLost();
      return true;
    default:
      return false;
  }
}

Pointer WindowMouse::PointerAt(POINT client) const {
  const int32_t scale = view_.Scale();
  return {FloorDivide(client.x, scale), FloorDivide(client.y, scale), IsDown(VK_CONTROL), IsDown(VK_SHIFT)};
}

void WindowMouse::OnButtonDown(POINT client, bool again) {
  const Pointer pointer = PointerAt(client);
  const WindowPart part = view_.PartAt(pointer.x, pointer.y);
  if (part != WindowPart::kControl) {
    StartDrag(part, client);
    return;
  }
  const Control* control = view_.TipAt(pointer.x, pointer.y).second;
  told_ = control && control->Role() == ControlRole::kSlider ? control : nullptr;
  SetCapture(window_);
  if (again) {
    view_.OnDoubleClick(pointer);
  } else {
    view_.OnPress(pointer);
  }
  // A press may have shown a menu, or made the controls anew.
  if (!view_.IsPressed()) {
    LetGo();
  } else {
    UpdateTip(client);
  }
}

void WindowMouse::OnButtonUp(POINT client) {
  const Pointer pointer = PointerAt(client);
  const bool was_pressed = view_.IsPressed();
  told_ = nullptr;
  // Before the click: a dialog that it opens needs the mouse.
  letting_go_ = true;
  if (GetCapture() == window_) ReleaseCapture();
  letting_go_ = false;
  if (dragging_) {
    dragging_ = false;
    host_.OnDragEnd(view_.Kind());
    return;
  }
  tip_.Hide();
  if (was_pressed) view_.OnRelease(pointer);
}

void WindowMouse::OnMouseMove(POINT client) {
  if (dragging_) {
    Drag(client);
    return;
  }
  if (!tracks_leave_) {
    TRACKMOUSEEVENT track = {sizeof(track), TME_LEAVE, window_, 0};
    tracks_leave_ = TrackMouseEvent(&track) != FALSE;
  }
  view_.OnMove(PointerAt(client));
  UpdateTip(client);
}

void WindowMouse::OnWheel(POINT screen, int delta) {
  if ((delta > 0) != (wheel_ > 0)) wheel_ = 0;
  wheel_ += delta;
  const int notches = wheel_ / WHEEL_DELTA;
  if (notches == 0) return;
  wheel_ -= notches * WHEEL_DELTA;
  POINT client = screen;
  ScreenToClient(window_, &client);
  view_.OnWheel(PointerAt(client), notches);
  UpdateTip(client);
}

void WindowMouse::OnCaptureLost() {
  if (letting_go_) return;
  told_ = nullptr;
  if (std::exchange(dragging_, false)) host_.OnDragEnd(view_.Kind());
  view_.OnCancel();
  tip_.Hide();
}

void WindowMouse::LetGo() {
  if (window_ && GetCapture() == window_) ReleaseCapture();
}

bool WindowMouse::ShowEdgeCursor() {
  POINT client;
  if (!GetCursorPos(&client) || !ScreenToClient(window_, &client)) return false;
  const Pointer pointer = PointerAt(client);
  const LPCWSTR cursor = CursorOf(view_.PartAt(pointer.x, pointer.y));
  if (!cursor) return false;
  SetCursor(LoadCursorW(nullptr, cursor));
  return true;
}

void WindowMouse::StartDrag(WindowPart part, POINT client) {
  tip_.Hide();
  dragging_ = true;
  drag_part_ = part;
  drag_from_ = client;
  ClientToScreen(window_, &drag_from_);
  drag_place_ = place_;
  SetCapture(window_);
  host_.OnDragStart(view_.Kind(), part);
}

void WindowMouse::Drag(POINT client) {
  POINT now = client;
  ClientToScreen(window_, &now);
  const int32_t dx = now.x - drag_from_.x;
  const int32_t dy = now.y - drag_from_.y;
  SkinRect wanted = drag_place_;
  if (drag_part_ == WindowPart::kCaption) {
    wanted = Moved(drag_place_, dx, dy);
  } else {
    if (MovesLeft(drag_part_)) wanted.left += dx;
    if (MovesRight(drag_part_)) wanted.right += dx;
    if (MovesTop(drag_part_)) wanted.top += dy;
    if (MovesBottom(drag_part_)) wanted.bottom += dy;
  }
  host_.OnDragTo(view_.Kind(), drag_part_, wanted);
  // Sizes change before the eye, however busy the mouse is.
  if (drag_part_ != WindowPart::kCaption) UpdateWindow(window_);
}

void WindowMouse::UpdateTip(POINT client) {
  const int32_t scale = view_.Scale();
  const Pointer pointer = PointerAt(client);
  if (view_.IsPressed()) {
    const std::u16string value = told_ ? told_->Value() : std::u16string();
    if (value.empty()) return;
    POINT screen = client;
    ClientToScreen(window_, &screen);
    tip_.Track(value, screen);
    return;
  }
  const auto [text, control] = view_.TipAt(pointer.x, pointer.y);
  tip_.Set(text, control ? ScaledPosition(control->Place(), scale) : SkinRect{});
}

}  // namespace melorin
