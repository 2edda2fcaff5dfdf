// SPDX-License-Identifier: MIT
#include "app/tip_window.h"

#include <commctrl.h>

#include "app/window_group.h"
#include "platform/com.h"

namespace melorin {
namespace {

constexpr UINT_PTR kRestingTool = 1;
constexpr UINT_PTR kTrackingTool = 2;
constexpr int kDelayMs = 500;
constexpr int kShownMs = 10000;
/// Pixels of 96 to an inch.
constexpr int kWidestTip = 480;
/// Where a tip that moves along stands from the mouse.
constexpr int kTrackOffset = 20;

TTTOOLINFOW Tool(HWND owner, UINT_PTR id, UINT flags) {
  TTTOOLINFOW tool{};
  // The size that the library knows with and without the manifest.
  tool.cbSize = TTTOOLINFOW_V2_SIZE;
  tool.uFlags = flags;
  tool.hwnd = owner;
  tool.uId = id;
  return tool;
}

LPWSTR TextOf(const std::u16string& text) {
  return const_cast<LPWSTR>(AsWide(text.c_str()));
}

LPARAM ToLparam(TTTOOLINFOW& tool) {
  return reinterpret_cast<LPARAM>(&tool);
}

}  // namespace

void TipWindow::Destroy() {
  // It may have gone with its owner.
  if (window_ && IsWindow(window_)) DestroyWindow(window_);
  window_ = nullptr;
  tracks_ = false;
  text_.clear();
}

bool TipWindow::Prepare() {
  if (window_ || !owner_) return window_ != nullptr;
  window_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX | TTS_ALWAYSTIP,
                            CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, owner_, nullptr,
                            nullptr, nullptr);
  if (!window_) return false;
  SendMessageW(window_, TTM_SETMAXTIPWIDTH, 0, MulDiv(kWidestTip, ScreenDpi(), USER_DEFAULT_SCREEN_DPI));
  SendMessageW(window_, TTM_SETDELAYTIME, TTDT_INITIAL, kDelayMs);
  SendMessageW(window_, TTM_SETDELAYTIME, TTDT_AUTOPOP, kShownMs);
  static wchar_t nothing[] = L"";
  TTTOOLINFOW resting = Tool(owner_, kRestingTool, 0);
  resting.lpszText = nothing;
  SendMessageW(window_, TTM_ADDTOOLW, 0, ToLparam(resting));
  TTTOOLINFOW tracking = Tool(owner_, kTrackingTool, TTF_TRACK | TTF_ABSOLUTE);
  tracking.lpszText = nothing;
  SendMessageW(window_, TTM_ADDTOOLW, 0, ToLparam(tracking));
  return true;
}

void TipWindow::Set(const std::u16string& text, const SkinRect& area) {
  StopTracking();
  if (text == text_ && (text.empty() || area == area_)) return;
  if (!Prepare()) return;
  text_ = text;
  area_ = area;
  SendMessageW(window_, TTM_POP, 0, 0);
  TTTOOLINFOW tool = Tool(owner_, kRestingTool, 0);
  // Nothing to say: no area to say it in.
  if (!text.empty()) tool.rect = {area.left, area.top, area.right, area.bottom};
  tool.lpszText = TextOf(text_);
  SendMessageW(window_, TTM_UPDATETIPTEXTW, 0, ToLparam(tool));
  SendMessageW(window_, TTM_NEWTOOLRECTW, 0, ToLparam(tool));
}

void TipWindow::Track(const std::u16string& text, POINT screen) {
  if (!Prepare()) return;
  TTTOOLINFOW tool = Tool(owner_, kTrackingTool, TTF_TRACK | TTF_ABSOLUTE);
  if (text != tracked_text_) {
    tracked_text_ = text;
    tool.lpszText = TextOf(tracked_text_);
    SendMessageW(window_, TTM_UPDATETIPTEXTW, 0, ToLparam(tool));
  }
  SendMessageW(window_, TTM_TRACKPOSITION, 0, MAKELPARAM(screen.x + kTrackOffset, screen.y + kTrackOffset));
  if (tracks_) return;
  SendMessageW(window_, TTM_POP, 0, 0);
  SendMessageW(window_, TTM_TRACKACTIVATE, TRUE, ToLparam(tool));
  tracks_ = true;
}

void TipWindow::StopTracking() {
  if (!tracks_) return;
  tracks_ = false;
  TTTOOLINFOW tool = Tool(owner_, kTrackingTool, TTF_TRACK | TTF_ABSOLUTE);
  SendMessageW(window_, TTM_TRACKACTIVATE, FALSE, ToLparam(tool));
}

void TipWindow::Hide() {
  StopTracking();
  if (window_) SendMessageW(window_, TTM_POP, 0, 0);
}

void TipWindow::Relay(UINT message, WPARAM wparam, LPARAM lparam) {
  if (!window_ || tracks_) return;
  MSG relayed{};
  relayed.hwnd = owner_;
  relayed.message = message;
  relayed.wParam = wparam;
  relayed.lParam = lparam;
  SendMessageW(window_, TTM_RELAYEVENT, 0, reinterpret_cast<LPARAM>(&relayed));
}

}  // namespace melorin
