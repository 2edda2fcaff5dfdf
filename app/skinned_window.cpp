// SPDX-License-Identifier: MIT
#include "app/skinned_window.h"

#include <windowsx.h>

#include <imm.h>

#include <algorithm>
#include <utility>

#include "app/drop_target.h"
#include "app/message_queue.h"
#include "app/resource.h"
#include "platform/com.h"
#include "ui/window_snap.h"

namespace melorin {
namespace {

constexpr UINT_PTR kTickTimer = 1;

#ifndef WM_DPICHANGED
constexpr UINT WM_DPICHANGED = 0x02E0;
#endif

POINT PointOf(LPARAM lparam) {
  return {GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
}

bool IsDown(int key) {
  return GetKeyState(key) < 0;
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
  const auto drop = [](const MSG&) {};
  TakeMessages(window, WM_CHAR, WM_DEADCHAR, drop);
  TakeMessages(window, WM_SYSCHAR, WM_SYSDEADCHAR, drop);
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
  view_.SetHost(this);
  return true;
}

void SkinnedWindow::Attach(HWND window) {
  window_ = window;
  surface_.Attach(window);
  mouse_.Attach(window);
}

// ---- showing

void SkinnedWindow::Show(bool fade, Activation activation) {
  if (!window_) return;
  const bool was_visible = IsWindowVisible(window_) && !IsIconic(window_);
  shown_ = true;
  surface_.RefreshShape();
  surface_.Appear(fade, was_visible);
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
  mouse_.LetGo();
  mouse_.HideTip();
  SetTick();
  if (fade && IsWindowVisible(window_) && !IsIconic(window_)) {
    surface_.StartDisappearing();
  } else {
    FinishHiding();
  }
}

void SkinnedWindow::FinishHiding() {
  surface_.StopFade();
  if (IsWindowVisible(window_)) ShowWindow(window_, SW_HIDE);
  view_.FreeBitmaps();
}

void SkinnedWindow::Minimize() {
  if (!window_) return;
  shown_ = true;
  surface_.RefreshShape();
  surface_.Appear(false, true);
  ShowWindow(window_, SW_MINIMIZE);
}

void SkinnedWindow::SetCaption(const std::u16string& caption) {
  if (window_) SetWindowTextW(window_, AsWide(caption.c_str()));
}

void SkinnedWindow::SetAlpha(int alpha) {
  surface_.SetAlpha(alpha, window_ && shown_);
}

void SkinnedWindow::OnTimer(WPARAM timer) {
  if (timer == kTickTimer) {
    surface_.ShowStep([this] { view_.OnTick(GetTickCount()); });
    SetTick();
    return;
  }
  if (timer == WindowSurface::kTimer && surface_.OnTimer() && !shown_) FinishHiding();
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
  if (resized) surface_.ShapeChanged(shown_ || IsWindowVisible(window_));
}

void SkinnedWindow::OnSkinChanged() {
  if (!window_) return;
  mouse_.LetGo();
  mouse_.ForgetTip();
  const int32_t scale = view_.Scale();
  SetWindowPos(window_, nullptr, 0, 0, view_.Width() * scale, view_.Height() * scale,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
  surface_.ShapeChanged(shown_ || IsWindowVisible(window_));
  InvalidateRect(window_, nullptr, FALSE);
  SetTick();
  NotifyWinEvent(EVENT_OBJECT_REORDER, window_, OBJID_CLIENT, CHILDID_SELF);
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
    mouse_.LetGo();
    mouse_.HideTip();
  }
  SetTick();
  host_.OnMinimized(Kind(), minimized);
}

// ---- messages

LRESULT CALLBACK SkinnedWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<SkinnedWindow*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
    self->Attach(window);
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
      surface_.Paint();
      return true;
    case WM_ERASEBKGND:
      *result = 1;
      return true;
    case WM_TIMER:
      OnTimer(wparam);
      return true;
    case WM_SETCURSOR:
      *result = LOWORD(lparam) == HTCLIENT && mouse_.ShowEdgeCursor();
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
    case WM_CONTEXTMENU:
      OnContextMenu(lparam);
      return true;
    case WM_DROPFILES:
      OnDrop(reinterpret_cast<HDROP>(wparam));
      return true;
    default:
      break;
  }
  if (message >= WM_KEYFIRST && message <= WM_KEYLAST) return TakeKey(message, wparam);
  return mouse_.Take(message, wparam, lparam) || TakeChange(message, wparam);
}

bool SkinnedWindow::TakeKey(UINT message, WPARAM wparam) {
  if (message == WM_CHAR) return view_.OnCharacter(static_cast<char16_t>(wparam));
  if (message != WM_KEYDOWN && message != WM_SYSKEYDOWN) return false;
  if (wparam == VK_SHIFT || wparam == VK_CONTROL || wparam == VK_MENU) return false;
  if (wparam == VK_ESCAPE && mouse_.TakeBackDrag()) return true;
  const KeyPress key = {static_cast<uint16_t>(wparam), IsDown(VK_CONTROL), IsDown(VK_SHIFT), IsDown(VK_MENU)};
  mouse_.HideTip();
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
      // The task bar offers it in spite of a modal dialog.
      if (IsWindowEnabled(window_)) host_.OnCloseWanted(Kind());
      return true;
    case WM_ACTIVATE:
      view_.SetActive(LOWORD(wparam) != WA_INACTIVE);
      if (LOWORD(wparam) != WA_INACTIVE && !HIWORD(wparam)) host_.OnActivated(Kind());
      return false;
    case WM_ACTIVATEAPP:
      host_.OnProgramActivated(wparam != 0);
      return false;
    case WM_DPICHANGED:
      host_.OnDpiChanged(Kind(), HIWORD(wparam));
      return true;
    case WM_ENABLE:
      host_.OnEnabled(Kind(), wparam != 0);
      return false;
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
      shown_ = false;
      Attach(nullptr);
      return false;
    default:
      return false;
  }
}

// ---- the view's own news

void SkinnedWindow::RepaintArea(const SkinRect& pixels) {
  if (window_) surface_.Invalidate(pixels);
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

// ---- menus and files

void SkinnedWindow::OnContextMenu(LPARAM where) {
  mouse_.HideTip();
  POINT screen = PointOf(where);
  POINT client = screen;
  // From the keyboard there is no point, and whatever lies in the middle of the window is not meant.
  const bool by_key = where == -1;
  if (by_key) {
    client = KeyboardMenuPoint();
    screen = client;
    ClientToScreen(window_, &screen);
  } else {
    ScreenToClient(window_, &client);
  }
  mouse_.LetGo();
  const bool of_window = by_key && !view_.Focused();
  if (of_window || !view_.OnContextMenu(mouse_.PointerAt(client))) host_.OnContextMenu(Kind(), screen);
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

void SkinnedWindow::OnDrop(HDROP drop) {
  POINT point{};
  DragQueryPoint(drop, &point);
  std::vector<std::u16string> paths = DroppedPaths(drop);
  DragFinish(drop);
  const Pointer pointer = mouse_.PointerAt(point);
  host_.OnFilesDropped(Kind(), pointer.x, pointer.y, std::move(paths));
}

}  // namespace melorin
