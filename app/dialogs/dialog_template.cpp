// SPDX-License-Identifier: MIT
#include "app/dialogs/dialog_template.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "app/options/dialog_font.h"
#include "platform/com.h"

namespace melorin {
namespace {

/// The head of an extended template, without the three texts that follow.
struct TemplateHead {
  WORD version = 1;
  WORD signature = 0xFFFF;
  DWORD help = 0;
  DWORD extended_style = 0;
  DWORD style = 0;
  WORD count = 0;
  int16_t x = 0;
  int16_t y = 0;
  int16_t width = 0;
  int16_t height = 0;
};

/// The head of a control, likewise.
struct ControlHead {
  DWORD help = 0;
  DWORD extended_style = 0;
  DWORD style = 0;
  int16_t x = 0;
  int16_t y = 0;
  int16_t width = 0;
  int16_t height = 0;
  DWORD id = 0;
};
/// Without the padding that the compiler puts at the end.
constexpr size_t kTemplateHeadBytes = offsetof(TemplateHead, height) + sizeof(int16_t);

constexpr LONG kPointsPerInch = 72;

}  // namespace

DialogTemplate::DialogTemplate(const std::u16string& title, int width, int height, DWORD style) {
  const DialogFont message_font(DpiOfWindow(nullptr));
  const int dpi = message_font.Dpi();
  LOGFONTW font{};
  GetObjectW(message_font.get(), sizeof(font), &font);

  TemplateHead head;
  head.style = DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU | style;
  head.width = static_cast<int16_t>(width);
  head.height = static_cast<int16_t>(height);
  Append(&head, kTemplateHeadBytes);
  AppendWord(0);  // No menu,
  AppendWord(0);  // and the usual class.
  AppendText(title);
  const LONG pixels = font.lfHeight < 0 ? -font.lfHeight : font.lfHeight;
  AppendWord(static_cast<WORD>(pixels > 0 ? MulDiv(pixels, kPointsPerInch, dpi) : 9));
  AppendWord(static_cast<WORD>(font.lfWeight));
  bytes_.push_back(font.lfItalic);
  bytes_.push_back(font.lfCharSet);
  AppendText(font.lfFaceName[0] != 0 ? std::u16string(AsChar16(font.lfFaceName)) : u"Microsoft YaHei");
}

DialogTemplate& DialogTemplate::Add(const wchar_t* window_class, const std::u16string& text, WORD id,
                                    DWORD style, const Place& place, DWORD extended_style) {
  Align();
  ControlHead head;
  head.extended_style = extended_style;
  head.style = WS_CHILD | WS_VISIBLE | style;
  head.x = static_cast<int16_t>(place.x);
  head.y = static_cast<int16_t>(place.y);
  head.width = static_cast<int16_t>(place.width);
  head.height = static_cast<int16_t>(place.height);
  head.id = id;
  Append(&head, sizeof(head));
  AppendText(AsChar16(window_class));
  AppendText(text);
  AppendWord(0);
  WORD count = 0;
  std::memcpy(&count, bytes_.data() + offsetof(TemplateHead, count), sizeof(count));
  ++count;
  std::memcpy(bytes_.data() + offsetof(TemplateHead, count), &count, sizeof(count));
  return *this;
}

void DialogTemplate::Append(const void* bytes, size_t count) {
  const auto* first = static_cast<const uint8_t*>(bytes);
  bytes_.insert(bytes_.end(), first, first + count);
}

void DialogTemplate::Align() {
  bytes_.resize((bytes_.size() + 3) & ~size_t{3});
}

INT_PTR DialogTemplate::Run(HWND owner, DLGPROC procedure, void* parameter) {
  return DialogBoxIndirectParamW(GetModuleHandleW(nullptr), reinterpret_cast<LPCDLGTEMPLATEW>(bytes_.data()),
                                 owner, procedure, reinterpret_cast<LPARAM>(parameter));
}

HWND DialogTemplate::Create(HWND owner, DLGPROC procedure, void* parameter) {
  return CreateDialogIndirectParamW(GetModuleHandleW(nullptr),
                                    reinterpret_cast<LPCDLGTEMPLATEW>(bytes_.data()), owner, procedure,
                                    reinterpret_cast<LPARAM>(parameter));
}

void CentreDialog(HWND dialog) {
  RECT place{};
  GetWindowRect(dialog, &place);
  const HWND owner = GetWindow(dialog, GW_OWNER);
  MONITORINFO monitor{};
  monitor.cbSize = sizeof(monitor);
  GetMonitorInfoW(MonitorFromWindow(owner ? owner : dialog, MONITOR_DEFAULTTONEAREST), &monitor);
  const RECT& work = monitor.rcWork;
  RECT around = work;
  if (owner && IsWindowVisible(owner) && !IsIconic(owner)) GetWindowRect(owner, &around);
  const LONG width = place.right - place.left;
  const LONG height = place.bottom - place.top;
  const LONG x = (around.left + around.right - width) / 2;
  const LONG y = (around.top + around.bottom - height) / 2;
  SetWindowPos(dialog, nullptr, std::max(work.left, std::min(x, work.right - width)),
               std::max(work.top, std::min(y, work.bottom - height)), 0, 0,
               SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace melorin
