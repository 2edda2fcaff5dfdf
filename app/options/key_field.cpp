// SPDX-License-Identifier: MIT
#include "app/options/key_field.h"

#include <windows.h>

#include <imm.h>

#include <iterator>
#include <memory>
#include <string>

#include "app/gdi.h"
#include "app/hot_keys.h"
#include "platform/com.h"
#include "ui/command_table.h"

namespace melorin {
namespace {

constexpr uint16_t kAlt = 1;
constexpr uint16_t kShift = 4;

/// A modifier, a lock, or a key that an input method has taken.
bool IsNoKey(WPARAM key) {
  switch (key) {
    case VK_SHIFT:
    case VK_CONTROL:
    case VK_MENU:
    case VK_LSHIFT:
    case VK_RSHIFT:
    case VK_LCONTROL:
    case VK_RCONTROL:
    case VK_LMENU:
    case VK_RMENU:
    case VK_LWIN:
    case VK_RWIN:
    case VK_CAPITAL:
    case VK_NUMLOCK:
    case VK_PROCESSKEY:
      return true;
    default:
      return key == 0 || key > 0xFE;
  }
}

/// What moves in the dialog, ends it or closes windows of the system.
bool IsDialogs(WPARAM key) {
  const uint16_t modifiers = KeyStrokeOf(key).modifiers;
  const bool plain = (modifiers & ~kShift) == 0;
  if (plain && (key == VK_TAB || key == VK_ESCAPE || key == VK_RETURN)) return true;
  return key == VK_F4 && modifiers == kAlt;
}

class KeyField {
 public:
  explicit KeyField(HWND window) : window_(window) {
    // Keys are wanted as they are pressed, so no input method may take them.
    ImmAssociateContext(window, nullptr);
  }

  const KeyStroke& Key() const { return key_; }
  void ShowKey(const KeyStroke& key) {
    if (key == key_) return;
    key_ = key;
    const std::u16string text = KeyText(key);
    SetWindowTextW(window_, AsWide(text.c_str()));
    InvalidateRect(window_, nullptr, TRUE);
  }

  LRESULT Handle(UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
      case WM_GETDLGCODE: {
        const auto* asked = reinterpret_cast<const MSG*>(lparam);
        const bool dialogs = asked && asked->message == WM_KEYDOWN && IsDialogs(asked->wParam);
        return dialogs ? 0 : DLGC_WANTALLKEYS | DLGC_WANTCHARS | DLGC_WANTARROWS;
      }
      case WM_KEYDOWN:
      case WM_SYSKEYDOWN:
        if (IsDialogs(wparam)) break;
        if (!IsNoKey(wparam)) {
          ShowKey(KeyStrokeOf(wparam));
          Notify(kKeyChosen);
        }
        return 0;
      case WM_KEYUP:
      case WM_SYSKEYUP:
      case WM_CHAR:
      case WM_SYSCHAR:
        return 0;
      case WM_APPCOMMAND:
        return TRUE;  // A media key that is being chosen plays nothing.
      case WM_LBUTTONDOWN:
        SetFocus(window_);
        return 0;
      case WM_SETFOCUS:
      case WM_KILLFOCUS:
        InvalidateRect(window_, nullptr, TRUE);
        Notify(message == WM_SETFOCUS ? kKeyEntered : kKeyLeft);
        return 0;
      case WM_ENABLE:
        InvalidateRect(window_, nullptr, TRUE);
        return 0;
      case WM_SETFONT:
        font_ = reinterpret_cast<HFONT>(wparam);
        return 0;
      case WM_GETFONT:
        return reinterpret_cast<LRESULT>(font_);
      case WM_PAINT:
        Paint();
        return 0;
      default:
        break;
    }
    return DefWindowProcW(window_, message, wparam, lparam);
  }

 private:
  void Notify(UINT code) const {
    SendMessageW(GetParent(window_), WM_COMMAND,
                 MAKEWPARAM(static_cast<WORD>(GetDlgCtrlID(window_)), static_cast<WORD>(code)),
                 reinterpret_cast<LPARAM>(window_));
  }

  void Paint() {
    const PaintScope paint(window_);
    const bool enabled = IsWindowEnabled(window_) != FALSE;
    const bool focused = GetFocus() == window_;
    RECT area;
    GetClientRect(window_, &area);
    FillRect(paint.dc(), &area, GetSysColorBrush(enabled ? COLOR_WINDOW : COLOR_BTNFACE));
    const SelectScope font(paint.dc(),
                           font_ ? static_cast<HGDIOBJ>(font_) : GetStockObject(DEFAULT_GUI_FONT));
    std::u16string text = KeyText(key_);
    const bool asks = text.empty() && focused;
    if (asks) text = u"请按下热键";
    if (text.empty()) text = u"无";
    SetBkMode(paint.dc(), TRANSPARENT);
    SetTextColor(paint.dc(), GetSysColor(key_.key == 0 || !enabled ? COLOR_GRAYTEXT : COLOR_WINDOWTEXT));
    InflateRect(&area, -3, 0);
    DrawTextW(paint.dc(), AsWide(text.c_str()), static_cast<int>(text.size()), &area,
              DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
    if (!focused) return;
    GetClientRect(window_, &area);
    FrameRect(paint.dc(), &area, GetSysColorBrush(COLOR_HIGHLIGHT));
  }

  HWND window_;
  HFONT font_ = nullptr;
  KeyStroke key_;
};

KeyField* FieldOf(HWND window) {
  return reinterpret_cast<KeyField*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  try {
    if (message == WM_NCCREATE)
      SetWindowLongPtrW(window, GWLP_USERDATA,
                        reinterpret_cast<LONG_PTR>(std::make_unique<KeyField>(window).release()));
    KeyField* field = FieldOf(window);
    if (field && message == WM_NCDESTROY) {
      SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      const std::unique_ptr<KeyField> last(field);
      return DefWindowProcW(window, message, wparam, lparam);
    }
    if (field) return field->Handle(message, wparam, lparam);
  } catch (...) {
    // Memory has run out; the message is lost.
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

}  // namespace

void RegisterKeyField() {
  WNDCLASSEXW window_class{};
  window_class.cbSize = sizeof window_class;
  window_class.style = CS_HREDRAW | CS_VREDRAW;
  window_class.lpfnWndProc = Procedure;
  window_class.hInstance = GetModuleHandleW(nullptr);
  window_class.hCursor = LoadCursor(nullptr, IDC_ARROW);
  window_class.lpszClassName = kKeyFieldClass;
  RegisterClassExW(&window_class);  // Fails when it is registered already.
}

KeyStroke KeyOfField(HWND field) {
  return FieldOf(field)->Key();
}

void ShowKeyInField(HWND field, const KeyStroke& key) {
  FieldOf(field)->ShowKey(key);
}

bool IsKeyField(HWND window) {
  wchar_t name[32] = {};
  GetClassNameW(window, name, static_cast<int>(std::size(name)));
  return lstrcmpW(name, kKeyFieldClass) == 0;
}

bool KeyFieldWants(const MSG& message) {
  return !IsDialogs(message.wParam);
}

}  // namespace melorin
