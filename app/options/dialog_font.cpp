// SPDX-License-Identifier: MIT
#include "app/options/dialog_font.h"

#include <string>

#include "platform/com.h"

namespace melorin {
namespace {

/// A device context of the screen with a font in it.
class ScreenText {
 public:
  explicit ScreenText(HFONT font) : dc_(GetDC(nullptr)), before_(SelectObject(dc_, font)) {}
  ~ScreenText() {
    SelectObject(dc_, before_);
    ReleaseDC(nullptr, dc_);
  }
  ScreenText(const ScreenText&) = delete;
  ScreenText& operator=(const ScreenText&) = delete;
  HDC dc() const { return dc_; }

 private:
  HDC dc_;
  HGDIOBJ before_;
};

int SystemDpi() {
  const HDC dc = GetDC(nullptr);
  const int dpi = dc ? GetDeviceCaps(dc, LOGPIXELSY) : 0;
  if (dc) ReleaseDC(nullptr, dc);
  return dpi > 0 ? dpi : USER_DEFAULT_SCREEN_DPI;
}

/// A font made for Chinese. "MS Shell Dlg" is none, but a name for whatever the system has.
bool IsForChinese(const LOGFONTW& record, HFONT font) {
  if (lstrcmpiW(record.lfFaceName, L"MS Shell Dlg") == 0) return false;
  const ScreenText screen(font);
  FONTSIGNATURE signature{};
  GetTextCharsetInfo(screen.dc(), &signature, 0);
  return (signature.fsCsb[0] & FS_CHINESESIMP) != 0;
}

SIZE Measure(HDC dc, std::u16string_view text, int width) {
  RECT area = {0, 0, width, 0};
  UINT flags = DT_CALCRECT | DT_LEFT;
  flags |= width > 0 ? DT_WORDBREAK | DT_NOPREFIX : DT_SINGLELINE;
  DrawTextW(dc, AsWide(text.data()), static_cast<int>(text.size()), &area, flags);
  return {area.right, area.bottom};
}

}  // namespace

int DpiOfWindow(HWND window) {
  // Windows 10 has it.
  using GetDpi = UINT(WINAPI*)(HWND);
  const HMODULE user = GetModuleHandleW(L"user32.dll");
  const auto get_dpi =
      user ? reinterpret_cast<GetDpi>(reinterpret_cast<void*>(GetProcAddress(user, "GetDpiForWindow")))
           : nullptr;
  const UINT dpi = get_dpi && window ? get_dpi(window) : 0;
  return dpi > 0 ? static_cast<int>(dpi) : SystemDpi();
}

DialogFont::DialogFont(int dpi) : dpi_(dpi) {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
  LOGFONTW& font = metrics.lfMessageFont;
  font.lfHeight = MulDiv(font.lfHeight, dpi, SystemDpi());
  font_ = GdiObject<HFONT>(CreateFontIndirectW(&font));
  if (!IsForChinese(font, font_.get())) {
    lstrcpyW(font.lfFaceName, L"微软雅黑");
    font_ = GdiObject<HFONT>(CreateFontIndirectW(&font));
  }

  const ScreenText screen(font_.get());
  TEXTMETRICW text{};
  GetTextMetricsW(screen.dc(), &text);
  constexpr std::u16string_view kAlphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  SIZE size{};
  GetTextExtentPoint32W(screen.dc(), AsWide(kAlphabet.data()), static_cast<int>(kAlphabet.size()), &size);
  constexpr int kLetters = 26;
  base_x_ = (size.cx / kLetters + 1) / 2;
  base_y_ = text.tmHeight;
}

int DialogFont::TextWidth(std::u16string_view text) const {
  const ScreenText screen(font_.get());
  return static_cast<int>(Measure(screen.dc(), text, 0).cx);
}

int DialogFont::TextHeight(std::u16string_view text, int width) const {
  const ScreenText screen(font_.get());
  return static_cast<int>(Measure(screen.dc(), text, width).cy);
}

}  // namespace melorin
