// SPDX-License-Identifier: MIT
#include "app/dialogs/lyric_editor.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "app/dialogs/dialog_template.h"
#include "lyrics/lyric_file.h"
#include "platform/com.h"
#include "platform/text.h"

namespace melorin {
namespace {

enum : WORD {
  kText = 100,
  kTime,
  kBack,
  kPlayPause,
  kFromLine,
  kStamp,
  kRestamp,
  kUnstamp,
  kShiftMs,
  kEarlier,
  kLater,
  kSelectedOnly,
  kSave,
  kLabel = 0xFFFF,
};

constexpr UINT_PTR kTimer = 1;
constexpr UINT kTimerMs = 100;
constexpr int32_t kBackMs = 3000;
constexpr UINT kUsualShiftMs = 500;
constexpr int kMostShiftMs = 3600000;
constexpr uint32_t kTellMs = 300;

struct Key {
  WPARAM key;
  WORD command;
};
constexpr Key kKeys[] = {{VK_F2, kBack},  {VK_F3, kPlayPause}, {VK_F4, kFromLine},
                         {VK_F5, kStamp}, {VK_F6, kRestamp},   {VK_F7, kUnstamp}};

/// There is one editor at a time; a hook knows no object.
LyricEditor* g_editor = nullptr;

std::u16string ClockText(int32_t ms) {
  char text[32];
  const int32_t hundredths = std::max(ms, 0) / 10;
  std::snprintf(text, sizeof(text), "%02d:%02d.%02d", static_cast<int>(hundredths / 6000),
                static_cast<int>(hundredths / 100 % 60), static_cast<int>(hundredths % 100));
  return Utf16FromUtf8(text);
}

}  // namespace

// ---- the window

bool LyricEditor::Open(HWND owner, const std::u16string& song, const std::u16string& text,
                       bool to_next_line) {
  if (window_ || g_editor) return false;
  song_ = song;
  first_text_ = WithCrLf(text);
  to_next_line_ = to_next_line;
  modified_ = close_when_saved_ = false;

  constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
  DialogTemplate dialog(u"编辑歌词", 326, 246,
                        WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX | WS_CLIPCHILDREN);
  dialog
      .Add(L"EDIT", {}, kText,
           WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | ES_AUTOHSCROLL |
               ES_NOHIDESEL,
           {7, 7, 312, 150}, WS_EX_CLIENTEDGE)
      .Add(L"STATIC", u"播放:", kLabel, SS_LEFT | SS_CENTERIMAGE, {7, 164, 26, 15})
      .Add(L"BUTTON", u"后退 3 秒 (F2)", kBack, kButton, {36, 164, 68, 15})
      .Add(L"BUTTON", u"播放/暂停 (F3)", kPlayPause, kButton, {108, 164, 68, 15})
      .Add(L"BUTTON", u"从此行播放 (F4)", kFromLine, kButton, {180, 164, 72, 15})
      .Add(L"STATIC", {}, kTime, SS_RIGHT | SS_CENTERIMAGE, {256, 164, 63, 15})
      .Add(L"STATIC", u"时间:", kLabel, SS_LEFT | SS_CENTERIMAGE, {7, 183, 26, 15})
      .Add(L"BUTTON", u"插入 (F5)", kStamp, kButton, {36, 183, 68, 15})
      .Add(L"BUTTON", u"替换 (F6)", kRestamp, kButton, {108, 183, 68, 15})
      .Add(L"BUTTON", u"移除 (F7)", kUnstamp, kButton, {180, 183, 72, 15})
      .Add(L"STATIC", u"移动:", kLabel, SS_LEFT | SS_CENTERIMAGE, {7, 202, 26, 15})
      .Add(L"EDIT", {}, kShiftMs, WS_TABSTOP | ES_NUMBER | ES_AUTOHSCROLL | ES_RIGHT, {36, 202, 40, 14},
           WS_EX_CLIENTEDGE)
      .Add(L"STATIC", u"毫秒", kLabel, SS_LEFT | SS_CENTERIMAGE, {80, 202, 24, 15})
      .Add(L"BUTTON", u"提前(&E)", kEarlier, kButton, {108, 202, 68, 15})
      .Add(L"BUTTON", u"推后(&L)", kLater, kButton, {180, 202, 72, 15})
      .Add(L"BUTTON", u"仅选定的行(&O)", kSelectedOnly, WS_TABSTOP | BS_AUTOCHECKBOX, {256, 202, 64, 15})
      .Add(L"BUTTON", u"保存(&S)", kSave, kButton, {206, 225, 54, 15})
      .Add(L"BUTTON", u"关闭", IDCANCEL, kButton, {265, 225, 54, 15});
  g_editor = this;
  if (!dialog.Create(owner, Procedure, this)) {
    g_editor = nullptr;
    window_ = nullptr;
    return false;
  }
  hook_ = SetWindowsHookExW(WH_GETMESSAGE, Hook, nullptr, GetCurrentThreadId());
  ShowWindow(window_, SW_SHOW);
  return true;
}

void LyricEditor::Start(HWND dialog) {
  window_ = dialog;
  const HWND text = GetDlgItem(dialog, kText);
  SendMessageW(text, EM_SETLIMITTEXT, kLargestLyricBytes, 0);
  filling_ = true;
  SetWindowTextW(text, AsWide(first_text_.c_str()));
  filling_ = false;
  SetDlgItemInt(dialog, kShiftMs, kUsualShiftMs, FALSE);
  SendDlgItemMessageW(dialog, kShiftMs, EM_SETLIMITTEXT, 7, 0);
  RECT client{};
  GetClientRect(dialog, &client);
  first_size_ = {client.right, client.bottom};
  children_.clear();
  for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    RECT place{};
    GetWindowRect(child, &place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&place), 2);
    children_.push_back({child, place});
  }
  SetModified(false);
  CentreDialog(dialog);
  ShowTime();
  SetTimer(dialog, kTimer, kTimerMs, nullptr);
  SetFocus(text);
  const size_t caret = LineToBeginWith(first_text_, host_.EditedPosition().value_or(0));
  SendMessageW(text, EM_SETSEL, caret, static_cast<LPARAM>(caret));
  SendMessageW(text, EM_SCROLLCARET, 0, 0);
}

void LyricEditor::BringForward() {
  if (!window_) return;
  if (IsIconic(window_)) ShowWindow(window_, SW_RESTORE);
  SetForegroundWindow(window_);
}

void LyricEditor::Destroy() {
  tell_.Cancel();
  if (hook_) UnhookWindowsHookEx(std::exchange(hook_, nullptr));
  if (g_editor == this) g_editor = nullptr;
  if (window_) DestroyWindow(std::exchange(window_, nullptr));
}

void LyricEditor::Close() {
  Destroy();
  host_.OnEditorClosed();
}

bool LyricEditor::TryClose() {
  if (!window_) return true;
  if (modified_) {
    BringForward();
    const int answer =
        MessageBoxW(window_, L"歌词已修改，是否保存？", L"编辑歌词", MB_YESNOCANCEL | MB_ICONQUESTION);
    if (!window_) return true;
    if (answer == IDYES) {
      close_when_saved_ = true;
      Save();
      return window_ == nullptr;
    }
    if (answer != IDNO) return false;
  }
  Close();
  return true;
}

INT_PTR CALLBACK LyricEditor::Procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) noexcept
    try {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, DWLP_USER, lparam);
    reinterpret_cast<LyricEditor*>(lparam)->Start(dialog);
    return FALSE;
  }
  auto* self = reinterpret_cast<LyricEditor*>(GetWindowLongPtrW(dialog, DWLP_USER));
  return self && self->window_ == dialog && self->Take(message, wparam, lparam) ? TRUE : FALSE;
} catch (...) {
  // Memory has run out; the text is still there.
  return TRUE;
}

bool LyricEditor::Take(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_COMMAND:
      OnCommand(LOWORD(wparam), HIWORD(wparam));
      return true;
    case WM_TIMER:
      ShowTime();
      return true;
    case WM_NCDESTROY:
      // With its owner.
      window_ = nullptr;
      Close();
      return true;
    case WM_SIZE:
      if (wparam != SIZE_MINIMIZED) OnSize();
      return true;
    case WM_GETMINMAXINFO: {
      if (first_size_.cx == 0) return false;
      RECT frame = {0, 0, first_size_.cx, first_size_.cy};
      AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongPtrW(window_, GWL_STYLE)), FALSE,
                         static_cast<DWORD>(GetWindowLongPtrW(window_, GWL_EXSTYLE)));
      reinterpret_cast<MINMAXINFO*>(lparam)->ptMinTrackSize = {frame.right - frame.left,
                                                               frame.bottom - frame.top};
      return true;
    }
    default:
      return false;
  }
}

void LyricEditor::OnSize() {
  RECT client{};
  GetClientRect(window_, &client);
  const LONG wider = client.right - first_size_.cx;
  const LONG higher = client.bottom - first_size_.cy;
  for (const Child& child : children_) {
    RECT place = child.place;
    const int id = GetDlgCtrlID(child.window);
    if (id == kText) {
      place.right += wider;
      place.bottom += higher;
    } else {
      OffsetRect(&place, id == kSave || id == IDCANCEL || id == kTime ? wider : 0, higher);
    }
    SetWindowPos(child.window, nullptr, place.left, place.top, place.right - place.left,
                 place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
  }
  InvalidateRect(window_, nullptr, TRUE);
}

// ---- keys

LRESULT CALLBACK LyricEditor::Hook(int code, WPARAM wparam, LPARAM lparam) noexcept {
  // The player's message loop knows nothing of dialogs.
  if (code == HC_ACTION && wparam == PM_REMOVE && g_editor && g_editor->window_) {
    auto* message = reinterpret_cast<MSG*>(lparam);
    const HWND window = g_editor->window_;
    const bool ours = message->hwnd == window || IsChild(window, message->hwnd);
    if (ours && message->message >= WM_KEYFIRST && message->message <= WM_KEYLAST &&
        (g_editor->TakeKey(*message) || IsDialogMessageW(window, message)))
      message->message = WM_NULL;
  }
  return CallNextHookEx(nullptr, code, wparam, lparam);
}

bool LyricEditor::TakeKey(const MSG& message) {
  if (message.message != WM_KEYDOWN) return false;
  for (const Key& key : kKeys) {
    if (message.wParam != key.key) continue;
    PostMessageW(window_, WM_COMMAND, MAKEWPARAM(key.command, BN_CLICKED), 0);
    return true;
  }
  if (GetKeyState(VK_CONTROL) >= 0 || GetKeyState(VK_MENU) < 0) return false;
  if (message.wParam == 'S') {
    PostMessageW(window_, WM_COMMAND, MAKEWPARAM(kSave, BN_CLICKED), 0);
    return true;
  }
  if (message.wParam == 'A' && message.hwnd == GetDlgItem(window_, kText)) {
    SendMessageW(message.hwnd, EM_SETSEL, 0, -1);
    return true;
  }
  return false;
}

void LyricEditor::OnCommand(WORD id, WORD notice) {
  if (id == kText) {
    if (notice == EN_CHANGE && !filling_) {
      ++edits_;
      SetModified(true);
      tell_.Start(kTellMs);
    }
    return;
  }
  if (notice != BN_CLICKED) return;
  switch (id) {
    case kBack:
      StepBack();
      break;
    case kPlayPause:
      host_.PlayOrPauseEdited();
      break;
    case kFromLine:
      PlayFromLine();
      break;
    case kStamp:
      Stamp(StampMode::kAdd);
      break;
    case kRestamp:
      Stamp(StampMode::kReplace);
      break;
    case kUnstamp:
      RemoveStampsHere();
      break;
    case kEarlier:
      Shift(-1);
      break;
    case kLater:
      Shift(1);
      break;
    case kSave:
      Save();
      return;
    case IDCANCEL:
      TryClose();
      return;
    default:
      return;
  }
  // What is done to the text goes on there.
  if (window_ && id != kEarlier && id != kLater) SetFocus(GetDlgItem(window_, kText));
}

// ---- the text

std::u16string LyricEditor::Text() const {
  const HWND edit = GetDlgItem(window_, kText);
  std::vector<wchar_t> buffer(static_cast<size_t>(GetWindowTextLengthW(edit)) + 1);
  const int length = GetWindowTextW(edit, buffer.data(), static_cast<int>(buffer.size()));
  return {AsChar16(buffer.data()), static_cast<size_t>(std::max(length, 0))};
}

TextRange LyricEditor::Selection() const {
  DWORD begin = 0;
  DWORD end = 0;
  SendDlgItemMessageW(window_, kText, EM_GETSEL, reinterpret_cast<WPARAM>(&begin),
                      reinterpret_cast<LPARAM>(&end));
  return {begin, end};
}

void LyricEditor::Apply(const TextChange& change) {
  const HWND edit = GetDlgItem(window_, kText);
  SendMessageW(edit, EM_SETSEL, change.range.begin, static_cast<LPARAM>(change.range.end));
  SendMessageW(edit, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(change.text.c_str()));
  SendMessageW(edit, EM_SETSEL, change.caret, static_cast<LPARAM>(change.caret));
  SendMessageW(edit, EM_SCROLLCARET, 0, 0);
}

void LyricEditor::Stamp(StampMode mode) {
  const std::optional<int32_t> position = host_.EditedPosition();
  if (!position) {
    MessageBeep(MB_ICONWARNING);
    return;
  }
  Apply(StampLine(Text(), Selection().begin, *position, mode, to_next_line_));
}

void LyricEditor::RemoveStampsHere() {
  if (const auto change = RemoveStamps(Text(), Selection())) Apply(*change);
}

void LyricEditor::Shift(int direction) {
  const auto ms = static_cast<int>(GetDlgItemInt(window_, kShiftMs, nullptr, FALSE));
  const int delta = direction * std::clamp(ms, 0, kMostShiftMs);
  const std::u16string text = Text();
  const TextRange selected = Selection();
  const bool only = IsDlgButtonChecked(window_, kSelectedOnly) == BST_CHECKED;
  const TextRange range = only ? selected : TextRange{0, text.size()};
  const TextRange lines = LinesOfRange(text, range);
  const auto change = ShiftStamps(text, range, delta);
  if (!change || delta == 0) return;
  const auto grown = static_cast<std::ptrdiff_t>(change->text.size()) -
                     static_cast<std::ptrdiff_t>(change->range.end - change->range.begin);
  Apply(*change);
  // The same lines stay selected, for the next step.
  if (only)
    SendDlgItemMessageW(window_, kText, EM_SETSEL, lines.begin,
                        static_cast<LPARAM>(static_cast<std::ptrdiff_t>(lines.end) + grown));
}

void LyricEditor::PlayFromLine() {
  const auto time = TimeOfLine(Text(), Selection().begin);
  if (!time || !host_.EditedPosition()) {
    MessageBeep(MB_ICONWARNING);
    return;
  }
  host_.SeekEdited(std::max(*time, 0));
  if (!host_.IsEditedPlaying()) host_.PlayOrPauseEdited();
}

void LyricEditor::StepBack() {
  if (const auto position = host_.EditedPosition()) host_.SeekEdited(std::max(*position - kBackMs, 0));
}

// ---- saving

void LyricEditor::Save() {
  tell_.RunNow();
  if (!window_) return;
  saved_edits_ = edits_;
  host_.SaveEdited(Text());
}

void LyricEditor::OnSaved(bool saved) {
  if (!window_) return;
  // It may have been edited again meanwhile.
  if (saved && edits_ == saved_edits_) SetModified(false);
  if (std::exchange(close_when_saved_, false) && saved) Close();
}

void LyricEditor::SetModified(bool modified) {
  modified_ = modified;
  if (!modified && GetFocus() == GetDlgItem(window_, kSave)) SetFocus(GetDlgItem(window_, kText));
  EnableWindow(GetDlgItem(window_, kSave), modified);
  std::u16string title = u"编辑歌词";
  if (!song_.empty()) title += u" - " + song_;
  if (modified) title += u" *";
  SetWindowTextW(window_, AsWide(title.c_str()));
}

void LyricEditor::ShowTime() {
  const std::optional<int32_t> position = host_.EditedPosition();
  std::u16string time = position ? ClockText(*position) : u"未在播放";
  if (time == shown_time_) return;
  shown_time_ = std::move(time);
  SetDlgItemTextW(window_, kTime, AsWide(shown_time_.c_str()));
}

}  // namespace melorin
