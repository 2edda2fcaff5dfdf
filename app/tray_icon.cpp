// SPDX-License-Identifier: MIT
#include "app/tray_icon.h"

#include <shellapi.h>
#include <windowsx.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "app/resource.h"
#include "platform/com.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr UINT kIconId = 1;
#ifndef NOTIFYICON_VERSION_4
constexpr UINT NOTIFYICON_VERSION_4 = 4;
#endif
#ifndef NIF_SHOWTIP
constexpr UINT NIF_SHOWTIP = 0x80;
#endif
#ifndef NIN_SELECT
constexpr UINT NIN_SELECT = WM_USER;
constexpr UINT NIN_KEYSELECT = WM_USER + 1;
#endif

template <size_t size>
void CopyCut(std::u16string_view text, WCHAR (&target)[size]) {
  const std::u16string_view cut = CutText(text, size - 1);
  *std::copy(cut.begin(), cut.end(), target) = 0;
}

HICON OwnIcon() {
  HANDLE icon = LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_MELORIN), IMAGE_ICON,
                           GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), LR_SHARED);
  return icon ? static_cast<HICON>(icon) : LoadIconW(nullptr, IDI_APPLICATION);
}

HICON IconOfFile(const std::u16string& path) {
  HANDLE icon = LoadImageW(nullptr, AsWide(path.c_str()), IMAGE_ICON, GetSystemMetrics(SM_CXSMICON),
                           GetSystemMetrics(SM_CYSMICON), LR_LOADFROMFILE);
  if (icon) return static_cast<HICON>(icon);
  HICON small_icon = nullptr;
  return ExtractIconExW(AsWide(path.c_str()), 0, nullptr, &small_icon, 1) == 1 ? small_icon : nullptr;
}

}  // namespace

TrayEvent TrayMessages::Decode(bool has_version_4, WPARAM wparam, LPARAM lparam) {
  TrayEvent event;
  UINT what = static_cast<UINT>(lparam);
  if (has_version_4) {
    what = LOWORD(lparam);
    event.at = POINT{GET_X_LPARAM(wparam), GET_Y_LPARAM(wparam)};
  }
  switch (what) {
    case WM_LBUTTONDOWN:
      second_of_two_ = false;
      break;
    case WM_LBUTTONDBLCLK:
      second_of_two_ = true;
      break;
    case WM_MBUTTONUP:
      event.action = TrayAction::kMiddle;
      break;
    // The new version tells of a choice and of a menu, by the mouse or not, after the mouse's own messages.
    case NIN_SELECT:
    case NIN_KEYSELECT:
      event.action = has_version_4 ? TrayAction::kClick : TrayAction::kNone;
      break;
    case WM_CONTEXTMENU:
      event.action = has_version_4 ? TrayAction::kMenu : TrayAction::kNone;
      break;
    case WM_LBUTTONUP:
      event.action = has_version_4 ? TrayAction::kNone : TrayAction::kClick;
      break;
    case WM_RBUTTONUP:
      event.action = has_version_4 ? TrayAction::kNone : TrayAction::kMenu;
      break;
    default:
      break;
  }
  if (event.action == TrayAction::kClick && what != NIN_KEYSELECT && std::exchange(second_of_two_, false))
    event.action = TrayAction::kNone;
  return event;
}

std::u16string_view CutText(std::u16string_view text, size_t most) {
  if (text.size() <= most) return text;
  const bool splits_pair = most > 0 && (text[most - 1] & 0xFC00) == 0xD800;
  return text.substr(0, splits_pair ? most - 1 : most);
}

TrayIcon::TrayIcon(HWND window, UINT message)
    : window_(window), message_(message), taskbar_created_(RegisterWindowMessageW(L"TaskbarCreated")) {}

bool TrayIcon::Show() {
  wanted_ = true;
  if (!shown_) shown_ = Add();
  return shown_;
}

void TrayIcon::Hide() {
  wanted_ = false;
  if (!shown_) return;
  shown_ = false;
  NOTIFYICONDATAW data{};
  data.cbSize = sizeof(data);
  data.hWnd = window_;
  data.uID = kIconId;
  Shell_NotifyIconW(NIM_DELETE, &data);
}

void TrayIcon::SetTip(std::u16string_view text) {
  if (tip_ == text) return;
  tip_ = text;
  Modify(NIF_TIP | NIF_SHOWTIP);
}

void TrayIcon::SetIconFile(const std::string& path_gbk) {
  // Asked for after every change of settings; the file may lie on a slow disk.
  if (path_gbk == icon_file_gbk_) return;
  icon_file_gbk_ = path_gbk;
  // The shown icon must live until it is replaced.
  HICON icon = path_gbk.empty() ? nullptr : IconOfFile(Utf16FromGbk(path_gbk));
  OwnedIcon old;
  old.Reset(icon_.Exchange(icon));
  Modify(NIF_ICON);
}

void TrayIcon::ShowBalloon(std::u16string_view title, std::u16string_view text) {
  balloon_title_ = title;
  balloon_text_ = text;
  Modify(NIF_INFO);
}

bool TrayIcon::OnTaskbarCreated(UINT message) {
  if (taskbar_created_ == 0 || message != taskbar_created_) return false;
  if (wanted_) shown_ = Add();
  return true;
}

bool TrayIcon::Add() {
  NOTIFYICONDATAW data{};
  data.cbSize = sizeof(data);
  data.hWnd = window_;
  data.uID = kIconId;
  data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP | NIF_SHOWTIP;
  data.uCallbackMessage = message_;
  data.hIcon = icon_.get() ? icon_.get() : OwnIcon();
  CopyCut(tip_, data.szTip);
  // A busy desktop may add the icon after it seemed to fail.
  if (!Shell_NotifyIconW(NIM_ADD, &data) && !Shell_NotifyIconW(NIM_MODIFY, &data)) return false;
  data.uVersion = NOTIFYICON_VERSION_4;
  has_version_4_ = Shell_NotifyIconW(NIM_SETVERSION, &data) != FALSE;
  return true;
}

void TrayIcon::Modify(UINT flags) {
  if (!shown_) return;
  NOTIFYICONDATAW data{};
  data.cbSize = sizeof(data);
  data.hWnd = window_;
  data.uID = kIconId;
  data.uFlags = flags;
  data.hIcon = icon_.get() ? icon_.get() : OwnIcon();
  CopyCut(tip_, data.szTip);
  CopyCut(balloon_title_, data.szInfoTitle);
  CopyCut(balloon_text_, data.szInfo);
  data.dwInfoFlags = NIIF_INFO;
  Shell_NotifyIconW(NIM_MODIFY, &data);
}

}  // namespace melorin
