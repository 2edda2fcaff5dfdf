// SPDX-License-Identifier: MIT
#include "app/options/options_frame.h"

#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <utility>

#include "app/options/key_field.h"
#include "doc/settings_location.h"
#include "platform/com.h"

#ifndef WM_DPICHANGED
constexpr UINT WM_DPICHANGED = 0x02E0;
#endif

namespace melorin {
namespace {

struct PageKind {
  const char16_t* title;
  std::unique_ptr<OptionsPage> (*make)();
};
/// By OptionsPageId.
constexpr PageKind kPages[kOptionsPages] = {
    {u"常规", MakeGeneralPage},          {u"播放", MakePlaybackPage},
    {u"音频设备", MakeDevicePage},       {u"热键", MakeHotKeyPage},
    {u"视觉效果", MakeVisualPage},       {u"播放列表", MakePlayListPage},
    {u"列表外观", MakePlayListLookPage}, {u"标签", MakeTagPage},
    {u"歌词显示", MakeLyricPage},        {u"歌词文件", MakeLyricFilePage},
    {u"网络", MakeNetworkPage},          {u"格式转换", MakeConvertPage},
    {u"插件", MakePluginPage},           {u"皮肤", MakeSkinPage},
    {u"文件关联", MakeFileTypePage},     {u"关于", MakeAboutPage},
};

constexpr int kListId = 100;
constexpr int kDefaultsId = 101;

// Dialog units.
constexpr int kMargin = 7;
constexpr int kListWidth = 76;
constexpr int kEntryHeight = 15;
constexpr int kPageWidth = 312;
constexpr int kPageHeight = 262;
constexpr int kButtonHeight = 15;
constexpr int kButtonWidth = 56;

struct FrameTemplate {
  DLGTEMPLATE dialog;
  WORD menu = 0;
  WORD window_class = 0;
  wchar_t title[3] = L"选项";
};

HWND MakeControl(HWND parent, const wchar_t* window_class, const wchar_t* text, DWORD style, int id,
                 DWORD ex_style = 0) {
  return CreateWindowExW(ex_style, window_class, text, WS_CHILD | WS_VISIBLE | WS_TABSTOP | style, 0, 0, 0, 0,
                         parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr),
                         nullptr);
}

void Move(HWND window, int x, int y, int width, int height) {
  SetWindowPos(window, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

/// In the middle of the screen where the owner is.
RECT Centred(HWND owner, int width, int height) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTOPRIMARY), &monitor);
  const RECT& work = monitor.rcWork;
  const LONG left = std::max(work.left, work.left + (work.right - work.left - width) / 2);
  const LONG top = std::max(work.top, work.top + (work.bottom - work.top - height) / 2);
  return {left, top, left + width, top + height};
}

}  // namespace

OptionsFrame::OptionsFrame(HWND owner, OptionsHost& host, CountedChoosers& choosers,
                           std::function<void()> closed)
    : owner_(owner),
      host_(host),
      choosers_(choosers),
      closed_(std::move(closed)),
      defaults_(RegistryProbe()),
      font_(std::make_unique<DialogFont>(DpiOfWindow(owner))) {
  FillFolders(defaults_, host_.DataFolderGbk());
  FrameTemplate frame{};
  frame.dialog.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
  CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &frame.dialog, owner, Procedure,
                             reinterpret_cast<LPARAM>(this));
}

OptionsFrame::~OptionsFrame() {
  closed_ = nullptr;
  if (window_) DestroyWindow(window_);
}

void OptionsFrame::MakeControls() {
  list_ = MakeControl(window_, WC_LISTBOXW, L"",
                      WS_VSCROLL | LBS_NOTIFY | LBS_OWNERDRAWFIXED | LBS_HASSTRINGS | LBS_NOINTEGRALHEIGHT,
                      kListId, WS_EX_CLIENTEDGE);
  for (const PageKind& page : kPages)
    SendMessageW(list_, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(page.title));
  defaults_button_ = MakeControl(window_, WC_BUTTONW, L"恢复默认值(&D)", BS_PUSHBUTTON, kDefaultsId);
  close_button_ = MakeControl(window_, WC_BUTTONW, L"关闭(&C)", BS_DEFPUSHBUTTON, IDCANCEL);
}

void OptionsFrame::Lay(const RECT* place) {
  const DialogFont& font = *font_;
  const int margin_x = font.X(kMargin);
  const int margin_y = font.Y(kMargin);
  const int list_width = font.X(kListWidth);
  const int page_height = font.Y(kPageHeight);
  page_area_ = {2 * margin_x + list_width, margin_y, 2 * margin_x + list_width + font.X(kPageWidth),
                margin_y + page_height};
  const int buttons_y = page_area_.bottom + margin_y;
  const int button_height = font.Y(kButtonHeight);
  RECT whole = {0, 0, page_area_.right + margin_x, buttons_y + button_height + margin_y};
  AdjustWindowRectEx(&whole, static_cast<DWORD>(GetWindowLongW(window_, GWL_STYLE)), FALSE,
                     static_cast<DWORD>(GetWindowLongW(window_, GWL_EXSTYLE)));
  const int width = whole.right - whole.left;
  const int height = whole.bottom - whole.top;
  const RECT spot = place ? *place : Centred(owner_, width, height);
  Move(window_, spot.left, spot.top, width, height);

  for (const HWND control : {list_, defaults_button_, close_button_})
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
  SendMessageW(list_, LB_SETITEMHEIGHT, 0, font.Y(kEntryHeight));
  Move(list_, margin_x, margin_y, list_width, page_height);
  const int defaults_width =
      std::max(font.X(kButtonWidth), font.TextWidth(u"恢复默认值(&D)") + font.X(kMargin) * 2);
  Move(defaults_button_, page_area_.left, buttons_y, defaults_width, button_height);
  const int close_width = font.X(kButtonWidth);
  Move(close_button_, page_area_.right - close_width, buttons_y, close_width, button_height);
}

PageWindow* OptionsFrame::Current() {
  return current_ < 0 ? nullptr : pages_[static_cast<size_t>(current_)].get();
}

void OptionsFrame::Show(OptionsPageId page) {
  SelectPage(static_cast<int32_t>(page));
  ShowWindow(window_, SW_SHOW);
  SetForegroundWindow(window_);
}

void OptionsFrame::SelectPage(int32_t page) {
  if (page < 0 || page >= kOptionsPages) page = 0;
  SendMessageW(list_, LB_SETCURSEL, static_cast<WPARAM>(page), 0);
  if (page == current_) return;
  std::unique_ptr<PageWindow>& slot = pages_[static_cast<size_t>(page)];
  if (!slot) {
    slot =
        std::make_unique<PageWindow>(window_, page_area_.right - page_area_.left,
                                     PageContext{host_, choosers_, defaults_, *font_}, kPages[page].make());
    // Behind the list in the order of the tab key, before the buttons.
    if (slot->IsMade())
      SetWindowPos(slot->Window(), list_, page_area_.left, page_area_.top, page_area_.right - page_area_.left,
                   page_area_.bottom - page_area_.top, SWP_NOACTIVATE);
  }
  if (PageWindow* before = Current()) before->Show(false);
  current_ = page;
  EnableWindow(defaults_button_, slot->HasDefaults() ? TRUE : FALSE);
  slot->Show(true);

  int32_t& last = host_.Values().history.last_active_page;
  if (std::exchange(last, page) != page) host_.SettingsChanged(SettingsPart::kHistory);
}

void OptionsFrame::StepPage(int32_t step) {
  SelectPage((current_ + step + kOptionsPages) % kOptionsPages);
}

void OptionsFrame::Refresh() {
  PageWindow* page = Current();
  if (window_ && page) page->Refresh();
}

bool OptionsFrame::TakesMessage(MSG& message) {
  if (!window_ || (message.hwnd != window_ && !IsChild(window_, message.hwnd))) return false;
  const bool key_down = message.message == WM_KEYDOWN || message.message == WM_SYSKEYDOWN;
  if (key_down && IsKeyField(message.hwnd) && KeyFieldWants(message)) {
    // No character may come of it: with Alt that would choose a control.
    DispatchMessageW(&message);
    return true;
  }
  if (message.message == WM_KEYDOWN && GetKeyState(VK_CONTROL) < 0) {
    if (message.wParam == VK_TAB) return StepPage(GetKeyState(VK_SHIFT) < 0 ? -1 : 1), true;
    if (message.wParam == VK_NEXT) return StepPage(1), true;
    if (message.wParam == VK_PRIOR) return StepPage(-1), true;
  }
  return IsDialogMessageW(window_, &message) != FALSE;
}

INT_PTR CALLBACK OptionsFrame::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (message == WM_INITDIALOG) SetWindowLongPtrW(window, DWLP_USER, lparam);
  auto* self = reinterpret_cast<OptionsFrame*>(GetWindowLongPtrW(window, DWLP_USER));
  if (!self) return FALSE;
  try {
    if (message == WM_INITDIALOG) self->window_ = window;
    return self->Handle(message, wparam, lparam);
  } catch (...) {
    // Memory has run out; the message is lost, the dialog lives on.
    return FALSE;
  }
}

INT_PTR OptionsFrame::Handle(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_INITDIALOG:
      MakeControls();
      Lay(nullptr);
      SetFocus(list_);
      return FALSE;
    case WM_COMMAND:
      if (LOWORD(wparam) == kListId && HIWORD(wparam) == LBN_SELCHANGE)
        SelectPage(static_cast<int32_t>(SendMessageW(list_, LB_GETCURSEL, 0, 0)));
      if (LOWORD(wparam) == kDefaultsId && Current()) Current()->Reset();
      if (LOWORD(wparam) == IDCANCEL || LOWORD(wparam) == IDOK) DestroyWindow(window_);
      return TRUE;
    case WM_CLOSE:
      DestroyWindow(window_);
      return TRUE;
    case WM_ACTIVATE:
      if (LOWORD(wparam) != WA_INACTIVE) Refresh();
      return FALSE;
    case WM_DRAWITEM:
      DrawEntry(*reinterpret_cast<const DRAWITEMSTRUCT*>(lparam));
      return TRUE;
    case WM_DPICHANGED:
      OnDpiChanged(HIWORD(wparam), *reinterpret_cast<const RECT*>(lparam));
      return TRUE;
    case WM_NCDESTROY:
      window_ = nullptr;
      if (closed_) closed_();
      return FALSE;
    default:
      return FALSE;
  }
}

void OptionsFrame::OnDpiChanged(int dpi, const RECT& place) {
  if (dpi == font_->Dpi() || choosers_.IsAsking()) return;
  const int32_t page = std::exchange(current_, -1);
  for (auto& made : pages_)
    made.reset();
  auto font = std::make_unique<DialogFont>(dpi);
  std::swap(font_, font);
  Lay(&place);
  SelectPage(page);
}

void OptionsFrame::DrawEntry(const DRAWITEMSTRUCT& draw) const {
  if (draw.itemID >= static_cast<UINT>(kOptionsPages)) return;
  const bool selected = (draw.itemState & ODS_SELECTED) != 0;
  FillRect(draw.hDC, &draw.rcItem, GetSysColorBrush(selected ? COLOR_HIGHLIGHT : COLOR_WINDOW));
  SetTextColor(draw.hDC, GetSysColor(selected ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
  SetBkMode(draw.hDC, TRANSPARENT);
  RECT area = draw.rcItem;
  area.left += font_->X(6);
  DrawTextW(draw.hDC, AsWide(kPages[draw.itemID].title), -1, &area, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
  if ((draw.itemState & ODS_FOCUS) && !(draw.itemState & ODS_NOFOCUSRECT))
    DrawFocusRect(draw.hDC, &draw.rcItem);
}

}  // namespace melorin
