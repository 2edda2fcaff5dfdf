// SPDX-License-Identifier: MIT
#include "app/skinned_window.h"

#include <windowsx.h>

#include <imm.h>

#include <algorithm>
#include <utility>

#include "app/gdi.h"
#include "app/resource.h"
#include "app/window_shape.h"
#include "platform/com.h"
#include "skin/skin_layout.h"
#include "ui/window_snap.h"

namespace melorin {
namespace {

constexpr UINT_PTR kTickTimer = 1;
constexpr UINT_PTR kFadeTimer = 2;
constexpr UINT kFadeStepMs = 15;
constexpr int kOpaque = 255;

#ifndef WM_DPICHANGED
constexpr UINT WM_DPICHANGED = 0x02E0;
#endif

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

bool RegisterWindowClass(HINSTANCE instance, const wchar_t* name, WNDPROC procedure) {
  const auto icon = [&](int width, int height) {
    return static_cast<HICON>(
        LoadImageW(instance, MAKEINTRESOURCEW(IDI_MELORIN), IMAGE_ICON, width, height, LR_SHARED));
  };
  WNDCLASSEXW window_class{};
  window_class.cbSize = sizeof(window_class);
  window_class.style = CS_DBLCLKS;
  window_class.lpfnWndProc = procedure;
  window_class.hInstance = instance;
  window_class.hCursor = LoadCursor(nullptr, IDC_ARROW);
  window_class.hIcon = icon(GetSystemMetrics(SM_CXICON), GetSystemMetrics(SM_CYICON));
  window_class.hIconSm = icon(GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON));
  window_class.lpszClassName = name;
  return RegisterClassExW(&window_class) || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

/// The characters that the key which has just been handled would still bring.
void DropCharacters(HWND window) {
  MSG message;
  while (PeekMessageW(&message, window, WM_CHAR, WM_DEADCHAR, PM_REMOVE) ||
         PeekMessageW(&message, window, WM_SYSCHAR, WM_SYSDEADCHAR, PM_REMOVE)) {
  }
}

}  // namespace

SkinnedWindow::~SkinnedWindow() {
  view_.SetHost(nullptr);
  if (window_) DestroyWindow(window_);
}

bool SkinnedWindow::Create(HINSTANCE instance, HWND owner, const Traits& traits) {
  if (!RegisterWindowClass(instance, traits.class_name, Procedure)) return false;
  const DWORD style = WS_POPUP | WS_CLIPCHILDREN | (traits.on_task_bar ? WS_SYSMENU | WS_MINIMIZEBOX : 0u);
  const DWORD ex_style = WS_EX_ACCEPTFILES | (traits.on_task_bar ? WS_EX_APPWINDOW : WS_EX_TOOLWINDOW);
  place_ = {0, 0, view_.Width() * view_.Scale(), view_.Height() * view_.Scale()};
  if (!CreateWindowExW(ex_style, traits.class_name, traits.caption, style, 0, 0, place_.right, place_.bottom,
                       owner, nullptr, instance, this))
    return false;
  // Keys are commands here, so no input method may take them.
  ImmAssociateContext(window_, nullptr);
  tip_.SetOwner(window_);
  view_.SetHost(this);
  return true;
}

// ---- showing

void SkinnedWindow::Show(bool fade, Activation activation) {
  if (!window_) return;
  const bool was_visible = IsWindowVisible(window_) && !IsIconic(window_);
  shown_ = true;
  if (shape_is_old_) ShapeWindow();
  if (!fade) {
    StopFade();
    ApplyAlpha(alpha_);
  } else if (!was_visible || fade_.Runs()) {
    if (!was_visible) ApplyAlpha(0);
    StartFade(alpha_);
  }
  const bool activate = activation == Activation::kActivate;
  if (IsIconic(window_)) {
    ShowWindow(window_, activate ? SW_RESTORE : SW_SHOWNOACTIVATE);
  } else {
    ShowWindow(window_, activate ? SW_SHOW : SW_SHOWNA);
  }
  if (activate) SetForegroundWindow(window_);
  SetTick();
}

void SkinnedWindow::Hide(bool fade) {
  if (!window_) return;
  shown_ = false;
  LetGo();
  tip_.Hide();
  SetTick();
  if (fade && IsWindowVisible(window_) && !IsIconic(window_)) {
    StartFade(0);
  } else {
    FinishHiding();
  }
}

void SkinnedWindow::FinishHiding() {
  StopFade();
  if (IsWindowVisible(window_)) ShowWindow(window_, SW_HIDE);
  view_.FreeBitmaps();
}

void SkinnedWindow::Minimize() {
  if (!window_) return;
  shown_ = true;
  StopFade();
  ApplyAlpha(alpha_);
  if (shape_is_old_) ShapeWindow();
  ShowWindow(window_, SW_MINIMIZE);
}

void SkinnedWindow::SetCaption(const std::u16string& caption) {
  if (window_) SetWindowTextW(window_, AsWide(caption.c_str()));
}

void SkinnedWindow::SetAlpha(int alpha) {
  alpha_ = std::clamp(alpha, 0, kOpaque);
  if (!shown_) return;
  if (fade_.Runs()) {
    StartFade(alpha_);
  } else {
    ApplyAlpha(alpha_);
  }
}

void SkinnedWindow::ApplyAlpha(int alpha) {
  if (!window_ || alpha == applied_alpha_) return;
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

void SkinnedWindow::StartFade(int to) {
  fade_.Start(applied_alpha_, to, GetTickCount());
  SetTimer(window_, kFadeTimer, kFadeStepMs, nullptr);
}

void SkinnedWindow::StopFade() {
  if (!fade_.Runs()) return;
  fade_.Stop();
  KillTimer(window_, kFadeTimer);
}

void SkinnedWindow::OnTimer(WPARAM timer) {
  if (timer == kTickTimer) {
    view_.OnTick(GetTickCount());
    SetTick();
    return;
  }
  if (timer != kFadeTimer || !fade_.Runs()) return;
  const int alpha = fade_.AlphaAt(GetTickCount());
  ApplyAlpha(alpha);
  if (fade_.Runs()) return;
  KillTimer(window_, kFadeTimer);
  if (!shown_) FinishHiding();
}

void SkinnedWindow::SetTopMost(bool top_most) {
  top_most_ = top_most;
  if (window_)
    SetWindowPos(window_, top_most ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

void SkinnedWindow::SetTick() {
  const UINT wanted = window_ && shown_ && !minimized_ ? view_.TickMs() : 0;
  if (wanted == tick_ms_) return;
  tick_ms_ = wanted;
  if (wanted) {
    SetTimer(window_, kTickTimer, wanted, nullptr);
  } else if (window_) {
    KillTimer(window_, kTickTimer);
  }
}

// ---- place and size

void SkinnedWindow::MoveTo(int32_t left, int32_t top) {
  if (window_) SetWindowPos(window_, nullptr, left, top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void SkinnedWindow::SetPlace(const SkinRect& place, WindowPart part) {
  if (!window_) return;
  const int32_t scale = view_.Scale();
  view_.Resize(place.Width() / scale, place.Height() / scale);
  const int32_t width = view_.Width() * scale;
  const int32_t height = view_.Height() * scale;
  const int32_t left = MovesLeft(part) ? place.right - width : place.left;
  const int32_t top = MovesTop(part) ? place.bottom - height : place.top;
  const bool resized = width != place_.Width() || height != place_.Height();
  SetWindowPos(window_, nullptr, left, top, width, height,
               SWP_NOZORDER | SWP_NOACTIVATE | (resized ? SWP_NOCOPYBITS : SWP_NOSIZE));
  if (resized) ShapeWindow();
}

void SkinnedWindow::OnSkinChanged() {
  if (!window_) return;
  LetGo();
  tip_.Set({}, {});
  const int32_t scale = view_.Scale();
  SetWindowPos(window_, nullptr, 0, 0, view_.Width() * scale, view_.Height() * scale,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
  ShapeWindow();
  InvalidateRect(window_, nullptr, FALSE);
  SetTick();
  NotifyWinEvent(EVENT_OBJECT_REORDER, window_, OBJID_CLIENT, CHILDID_SELF);
}

void SkinnedWindow::ShapeWindow() {
  // Finding the shape takes a bitmap, which a hidden window does without.
  shape_is_old_ = !shown_ && !IsWindowVisible(window_);
  if (shape_is_old_) {
    view_.FreeBitmaps();
    return;
  }
  GdiObject<HRGN> shape = ShapeOf(view_);
  if (!shape && !shaped_) return;
  shaped_ = static_cast<bool>(shape);
  if (SetWindowRgn(window_, shape.get(), TRUE)) (void)shape.Release();
}

void SkinnedWindow::OnPositionChanged() {
  const bool minimized = IsIconic(window_) != FALSE;
  if (!minimized) {
    RECT rect;
    GetWindowRect(window_, &rect);
    const SkinRect place = {rect.left, rect.top, rect.left + view_.Width() * view_.Scale(),
                            rect.top + view_.Height() * view_.Scale()};
    if (place != place_) {
      place_ = place;
      host_.OnPlaced(Kind());
    }
  }
  if (minimized == minimized_) return;
  minimized_ = minimized;
  if (minimized) {
    LetGo();
    tip_.Hide();
  }
  SetTick();
  host_.OnMinimized(Kind(), minimized);
}

// ---- messages

LRESULT CALLBACK SkinnedWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<SkinnedWindow*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
    self->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* self = reinterpret_cast<SkinnedWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self) {
    try {
      LRESULT result = 0;
      if (self->Take(message, wparam, lparam, &result)) return result;
    } catch (...) {
      // Memory has run out; the message is lost, the window lives on.
    }
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

bool SkinnedWindow::Take(UINT message, WPARAM wparam, LPARAM lparam, LRESULT* result) {
  switch (message) {
    case WM_PAINT:
      Paint();
      return true;
    case WM_ERASEBKGND:
      *result = 1;
      return true;
    case WM_TIMER:
      OnTimer(wparam);
      return true;
    case WM_SETCURSOR:
      *result = LOWORD(lparam) == HTCLIENT && ShowEdgeCursor();
      return *result != 0;
    case WM_APPCOMMAND:
      *result = host_.OnMediaCommand(GET_APPCOMMAND_LPARAM(lparam));
      return *result != 0;
    case WM_GETOBJECT:
      if (static_cast<LONG>(lparam) != OBJID_CLIENT) return false;
      if (!accessible_) accessible_ = std::make_unique<AccessibleWindow>(window_, view_);
      *result = accessible_->OnGetObject(wparam);
      return true;
    case kAccessibleActionMessage:
      OnAccessibleAction(wparam, lparam);
      return true;
    case WM_DROPFILES:
      OnDrop(reinterpret_cast<HDROP>(wparam));
      return true;
    default:
      break;
  }
  if (message >= WM_KEYFIRST && message <= WM_KEYLAST) return TakeKey(message, wparam);
  return TakeMouse(message, wparam, lparam) || TakeChange(message, wparam);
}

bool SkinnedWindow::TakeMouse(UINT message, WPARAM wparam, LPARAM lparam) {
  if (message >= WM_MOUSEFIRST && message <= WM_MBUTTONDBLCLK) tip_.Relay(message, wparam, lparam);
  switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      OnButtonDown(PointOf(lparam), message == WM_LBUTTONDBLCLK);
      return true;
    case WM_LBUTTONUP:
      OnButtonUp(PointOf(lparam));
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
    case WM_CONTEXTMENU:
      OnContextMenu(lparam);
      return true;
    case WM_CAPTURECHANGED:
      if (reinterpret_cast<HWND>(lparam) != window_) OnCaptureLost();
      return true;
    default:
      return false;
  }
}

bool SkinnedWindow::TakeKey(UINT message, WPARAM wparam) {
  if (message == WM_CHAR) return view_.OnCharacter(static_cast<char16_t>(wparam));
  if (message != WM_KEYDOWN && message != WM_SYSKEYDOWN) return false;
  if (wparam == VK_SHIFT || wparam == VK_CONTROL || wparam == VK_MENU) return false;
  if (dragging_ && wparam == VK_ESCAPE) {
    host_.OnDragTo(Kind(), drag_part_, drag_place_);
    LetGo();
    return true;
  }
  const KeyPress key = {static_cast<uint16_t>(wparam), IsDown(VK_CONTROL), IsDown(VK_SHIFT), IsDown(VK_MENU)};
  tip_.Hide();
  if (view_.OnKey(key)) return true;
  if (!host_.OnHotKey(key)) return false;
  DropCharacters(window_);
  return true;
}

bool SkinnedWindow::TakeChange(UINT message, WPARAM wparam) {
  switch (message) {
    case WM_WINDOWPOSCHANGED:
      OnPositionChanged();
      return false;
    case WM_SYSCOMMAND:
      if ((wparam & 0xFFF0) != SC_MINIMIZE) return false;
      host_.OnMinimizeWanted(Kind());
      return true;
    case WM_CLOSE:
      host_.OnCloseWanted(Kind());
      return true;
    case WM_ACTIVATE:
      if (LOWORD(wparam) != WA_INACTIVE && !HIWORD(wparam)) host_.OnActivated(Kind());
      return false;
    case WM_ACTIVATEAPP:
      host_.OnProgramActivated(wparam != 0);
      return false;
    case WM_DPICHANGED:
      host_.OnDpiChanged(Kind(), HIWORD(wparam));
      return true;
    case WM_DISPLAYCHANGE:
      host_.OnScreensChanged(Kind());
      return false;
    case WM_SETTINGCHANGE:
      if (wparam == SPI_SETWORKAREA) host_.OnScreensChanged(Kind());
      return false;
    case WM_NCDESTROY:
      // With its owner, it may be.
      accessible_.reset();
      SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
      view_.SetHost(nullptr);
      tip_.Destroy();
      shown_ = false;
      window_ = nullptr;
      return false;
    default:
      return false;
  }
}

// ---- painting

void SkinnedWindow::Paint() {
  const PaintScope paint(window_);
  const RECT& dirty = paint.Dirty();
  if (!paint.dc() || IsRectEmpty(&dirty)) return;
  const Bitmap& canvas = view_.Compose();
  const int left = std::max<int>(dirty.left, 0);
  const int top = std::max<int>(dirty.top, 0);
  const int right = std::min<int>(dirty.right, canvas.width);
  const int bottom = std::min<int>(dirty.bottom, canvas.height);
  if (right <= left || bottom <= top) return;
  // Only the rows that are wanted are shown to the system: it may copy all it is shown.
  const int rows = bottom - top;
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = canvas.width;
  info.bmiHeader.biHeight = -rows;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  SetDIBitsToDevice(paint.dc(), left, top, static_cast<DWORD>(right - left), static_cast<DWORD>(rows), left,
                    0, 0, static_cast<UINT>(rows), canvas.Row(top), &info, DIB_RGB_COLORS);
}

void SkinnedWindow::RepaintArea(const SkinRect& pixels) {
  if (!window_) return;
  const RECT area = {pixels.left, pixels.top, pixels.right, pixels.bottom};
  InvalidateRect(window_, &area, FALSE);
}

void SkinnedWindow::ViewTickChanged() {
  SetTick();
}

void SkinnedWindow::ControlChanged(size_t control) {
  if (window_ && shown_ && !minimized_) NotifyControlChanged(window_, view_, control);
}

void SkinnedWindow::ControlFocused(size_t control) {
  if (window_ && shown_ && !minimized_) NotifyControlFocused(window_, control);
}

void SkinnedWindow::OnAccessibleAction(size_t control, LPARAM part) {
  // The skin may have changed since.
  if (control >= view_.ControlCount()) return;
  Control& target = view_.ControlAtIndex(control);
  if (!target.IsEnabled() || !target.IsVisible()) return;
  if (part < 0) {
    target.DoDefault();
  } else if (static_cast<size_t>(part) < target.PartCount()) {
    target.DoPart(static_cast<size_t>(part));
  }
}

// ---- the mouse

Pointer SkinnedWindow::PointerAt(POINT client) const {
  const int32_t scale = view_.Scale();
  return {FloorDivide(client.x, scale), FloorDivide(client.y, scale), IsDown(VK_CONTROL), IsDown(VK_SHIFT)};
}

void SkinnedWindow::OnButtonDown(POINT client, bool again) {
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

void SkinnedWindow::OnButtonUp(POINT client) {
  const Pointer pointer = PointerAt(client);
  const bool was_pressed = view_.IsPressed();
  told_ = nullptr;
  // Before the click: a dialog that it opens needs the mouse.
  letting_go_ = true;
  if (GetCapture() == window_) ReleaseCapture();
  letting_go_ = false;
  if (dragging_) {
    dragging_ = false;
    host_.OnDragEnd(Kind());
    return;
  }
  tip_.Hide();
  if (was_pressed) view_.OnRelease(pointer);
}

void SkinnedWindow::OnMouseMove(POINT client) {
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

void SkinnedWindow::OnWheel(POINT screen, int delta) {
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

void SkinnedWindow::OnContextMenu(LPARAM where) {
  tip_.Hide();
  POINT screen = PointOf(where);
  POINT client = screen;
  // From the keyboard there is no point.
  if (where == -1) {
    client = KeyboardMenuPoint();
    screen = client;
    ClientToScreen(window_, &screen);
  } else {
    ScreenToClient(window_, &client);
  }
  LetGo();
  if (!view_.OnContextMenu(PointerAt(client))) host_.OnContextMenu(Kind(), screen);
}

POINT SkinnedWindow::KeyboardMenuPoint() const {
  const Control* focused = view_.Focused();
  SkinRect place = focused ? focused->Place() : SkinRect{0, 0, view_.Width(), view_.Height()};
  if (focused) {
    const size_t count = focused->PartCount();
    for (size_t i = 0; i < count; ++i) {
      if (!focused->IsPartSelected(i)) continue;
      const SkinRect part = focused->PartPlace(i);
      if (part.IsEmpty()) continue;
      place = part;
      break;
    }
  }
  const int32_t scale = view_.Scale();
  return {(place.left + std::min(place.Width() / 2, 24)) * scale, (place.top + place.Height() / 2) * scale};
}

void SkinnedWindow::OnCaptureLost() {
  if (letting_go_) return;
  told_ = nullptr;
  if (std::exchange(dragging_, false)) host_.OnDragEnd(Kind());
  view_.OnCancel();
  tip_.Hide();
}

void SkinnedWindow::LetGo() {
  if (window_ && GetCapture() == window_) ReleaseCapture();
}

bool SkinnedWindow::ShowEdgeCursor() {
  POINT client;
  if (!GetCursorPos(&client) || !ScreenToClient(window_, &client)) return false;
  const Pointer pointer = PointerAt(client);
  const LPCWSTR cursor = CursorOf(view_.PartAt(pointer.x, pointer.y));
  if (!cursor) return false;
  SetCursor(LoadCursorW(nullptr, cursor));
  return true;
}

void SkinnedWindow::StartDrag(WindowPart part, POINT client) {
  tip_.Hide();
  dragging_ = true;
  drag_part_ = part;
  drag_from_ = client;
  ClientToScreen(window_, &drag_from_);
  drag_place_ = place_;
  SetCapture(window_);
  host_.OnDragStart(Kind(), part);
}

void SkinnedWindow::Drag(POINT client) {
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
  host_.OnDragTo(Kind(), drag_part_, wanted);
  // Sizes change before the eye, however busy the mouse is.
  if (drag_part_ != WindowPart::kCaption) UpdateWindow(window_);
}

void SkinnedWindow::UpdateTip(POINT client) {
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

void SkinnedWindow::OnDrop(HDROP drop) {
  POINT point{};
  DragQueryPoint(drop, &point);
  std::vector<std::u16string> paths;
  const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
  for (UINT i = 0; i < count; ++i) {
    std::wstring path(DragQueryFileW(drop, i, nullptr, 0) + 1, L'\0');
    path.resize(DragQueryFileW(drop, i, path.data(), static_cast<UINT>(path.size())));
    paths.emplace_back(AsChar16(path.c_str()), path.size());
  }
  DragFinish(drop);
  const Pointer pointer = PointerAt(point);
  host_.OnFilesDropped(Kind(), pointer.x, pointer.y, std::move(paths));
}

}  // namespace melorin
