// SPDX-License-Identifier: MIT
#include "app/find_edit.h"

#include <commctrl.h>

#include <string>
#include <utility>

#include "platform/com.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr UINT_PTR kSubclass = 1;
/// Longer than any title.
constexpr WPARAM kMostText = 200;

std::u16string TextOf(HWND window) {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return std::u16string(AsChar16(text.c_str()), text.size());
}

}  // namespace

FindEdit::~FindEdit() {
  if (window_) RemoveWindowSubclass(window_, ParentProcedure, kSubclass);
  if (edit_) DestroyWindow(edit_);
}

bool FindEdit::Create(HWND window) {
  window_ = window;
  if (!SetWindowSubclass(window, ParentProcedure, kSubclass, reinterpret_cast<DWORD_PTR>(this))) return false;
  edit_ = CreateWindowExW(0, WC_EDITW, nullptr, WS_CHILD | ES_AUTOHSCROLL, 0, 0, 0, 0, window, nullptr,
                          nullptr, nullptr);
  if (!edit_) return false;
  SendMessageW(edit_, EM_LIMITTEXT, kMostText, 0);
  return SetWindowSubclass(edit_, EditProcedure, kSubclass, reinterpret_cast<DWORD_PTR>(this)) != FALSE;
}

void FindEdit::Update(HWND window) {
  if (desk_.View().FindBarPlace().IsEmpty()) {
    Hide();
    return;
  }
  if (!edit_ && !Create(window)) return;
  Fit();
  ShowWindow(edit_, SW_SHOWNA);
  SendMessageW(edit_, EM_SETSEL, 0, -1);
  SetFocus(edit_);
}

void FindEdit::Follow() {
  // Its own flag: the window around it may be hidden.
  if (edit_ && (GetWindowLongPtrW(edit_, GWL_STYLE) & WS_VISIBLE)) Fit();
}

void FindEdit::Fit() {
  const PlaylistWindowView& view = desk_.View();
  const SkinRect place = view.FindBarPlace();
  const int32_t scale = view.Scale();
  const ListLook& look = view.Look();
  GdiObject<HFONT> font(CreateFontW(-look.font_pixels * scale, 0, 0, 0, look.font_weight, FALSE, FALSE, FALSE,
                                    DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                                    DEFAULT_PITCH, AsWide(Utf16FromGbk(look.font_gbk).c_str())));
  background_ = GdiObject<HBRUSH>(CreateSolidBrush(static_cast<COLORREF>(look.background)));
  SendMessageW(edit_, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), FALSE);
  // The control has let go of the one before.
  font_ = std::move(font);
  place_ = place;
  scale_ = scale;
  SetWindowPos(edit_, nullptr, place.left * scale, place.top * scale, place.Width() * scale,
               place.Height() * scale, SWP_NOZORDER | SWP_NOACTIVATE);
  InvalidateRect(edit_, nullptr, TRUE);
}

void FindEdit::Hide() {
  if (!edit_) return;
  if (GetFocus() == edit_) SetFocus(window_);
  ShowWindow(edit_, SW_HIDE);
}

bool FindEdit::TakeKey(WPARAM key) {
  switch (key) {
    case VK_RETURN:
      desk_.FindAccepted();
      return true;
    case VK_ESCAPE:
      desk_.CloseFind();
      return true;
    case VK_F3:
    case VK_DOWN:
      if (desk_.IsEnabled(CommandId::kFindNext)) desk_.Execute(CommandId::kFindNext);
      return true;
    default:
      return false;
  }
}

HBRUSH FindEdit::Colour(HDC dc) {
  const ListLook& look = desk_.View().Look();
  SetTextColor(dc, static_cast<COLORREF>(look.text));
  SetBkColor(dc, static_cast<COLORREF>(look.background));
  return background_.get();
}

LRESULT CALLBACK FindEdit::EditProcedure(HWND edit, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                                         DWORD_PTR self) noexcept {
  try {
    if (message == WM_KEYDOWN && reinterpret_cast<FindEdit*>(self)->TakeKey(wparam)) return 0;
  } catch (...) {
    return 0;
  }
  // Their characters would make the control beep.
  if (message == WM_CHAR && (wparam == VK_RETURN || wparam == VK_ESCAPE)) return 0;
  return DefSubclassProc(edit, message, wparam, lparam);
}

LRESULT CALLBACK FindEdit::ParentProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                                           DWORD_PTR data) noexcept {
  auto* self = reinterpret_cast<FindEdit*>(data);
  const bool shown = self->edit_ && IsWindowVisible(self->edit_);
  try {
    switch (message) {
      case WM_COMMAND:
        if (reinterpret_cast<HWND>(lparam) == self->edit_ && HIWORD(wparam) == EN_CHANGE) {
          self->desk_.FindTextChanged(TextOf(self->edit_));
          return 0;
        }
        break;
      case WM_CTLCOLOREDIT:
        if (reinterpret_cast<HWND>(lparam) == self->edit_)
          return reinterpret_cast<LRESULT>(self->Colour(reinterpret_cast<HDC>(wparam)));
        break;
      case WM_KEYDOWN:
        if (!shown || wparam != VK_ESCAPE || GetCapture() == window) break;
        self->desk_.CloseFind();
        return 0;
      case WM_LBUTTONDOWN:
      case WM_RBUTTONDOWN:
        // The rest of the window has no control of the system's that would take the keyboard.
        if (shown) SetFocus(window);
        break;
      case WM_NCDESTROY:
        // With the window goes the control.
        RemoveWindowSubclass(window, ParentProcedure, kSubclass);
        self->window_ = nullptr;
        self->edit_ = nullptr;
        break;
      case WM_WINDOWPOSCHANGED: {
        const LRESULT result = DefSubclassProc(window, message, wparam, lparam);
        const PlaylistWindowView& view = self->desk_.View();
        if (shown && (!(view.FindBarPlace() == self->place_) || view.Scale() != self->scale_)) self->Fit();
        return result;
      }
      default:
        break;
    }
  } catch (...) {
    return 0;
  }
  return DefSubclassProc(window, message, wparam, lparam);
}

}  // namespace melorin
