// SPDX-License-Identifier: MIT
#include "app/dialogs/text_prompt.h"

#include <vector>

#include "app/dialogs/dialog_template.h"
#include "platform/com.h"

namespace melorin {
namespace {

constexpr WORD kEdit = 100;

struct Prompt {
  std::u16string text;
  size_t longest;
};

std::u16string TrimmedText(HWND edit) {
  std::vector<wchar_t> buffer(static_cast<size_t>(GetWindowTextLengthW(edit)) + 1);
  GetWindowTextW(edit, buffer.data(), static_cast<int>(buffer.size()));
  const std::u16string text(AsChar16(buffer.data()));
  constexpr char16_t kBlanks[] = u" \t\u3000";
  const size_t first = text.find_first_not_of(kBlanks);
  return first == std::u16string::npos ? std::u16string()
                                       : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) noexcept try {
  auto* prompt = reinterpret_cast<Prompt*>(GetWindowLongPtrW(dialog, DWLP_USER));
  const HWND edit = GetDlgItem(dialog, kEdit);
  switch (message) {
    case WM_INITDIALOG:
      prompt = reinterpret_cast<Prompt*>(lparam);
      SetWindowLongPtrW(dialog, DWLP_USER, lparam);
      SendMessageW(edit, EM_LIMITTEXT, prompt->longest, 0);
      SetWindowTextW(edit, AsWide(prompt->text.c_str()));
      SendMessageW(edit, EM_SETSEL, 0, -1);
      EnableWindow(GetDlgItem(dialog, IDOK), !TrimmedText(edit).empty());
      CentreDialog(dialog);
      SetFocus(edit);
      return FALSE;
    case WM_COMMAND:
      if (LOWORD(wparam) == kEdit && HIWORD(wparam) == EN_CHANGE) {
        EnableWindow(GetDlgItem(dialog, IDOK), !TrimmedText(edit).empty());
      } else if (LOWORD(wparam) == IDOK) {
        prompt->text = TrimmedText(edit);
        if (!prompt->text.empty()) EndDialog(dialog, IDOK);
      } else if (LOWORD(wparam) == IDCANCEL) {
        EndDialog(dialog, IDCANCEL);
      }
      return TRUE;
    default:
      return FALSE;
  }
} catch (...) {
  // Memory has run out.
  EndDialog(dialog, IDCANCEL);
  return TRUE;
}

}  // namespace

std::optional<std::u16string> PromptForText(HWND owner, const std::u16string& title,
                                            const std::u16string& label, const std::u16string& text,
                                            size_t longest) {
  DialogTemplate dialog(title, 220, 66);
  dialog.Add(L"STATIC", label, 0xFFFF, 0, {8, 8, 204, 10})
      .Add(L"EDIT", {}, kEdit, WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, {8, 20, 204, 14}, WS_EX_CLIENTEDGE)
      .Add(L"BUTTON", u"确定", IDOK, WS_TABSTOP | BS_DEFPUSHBUTTON, {108, 44, 50, 15})
      .Add(L"BUTTON", u"取消", IDCANCEL, WS_TABSTOP | BS_PUSHBUTTON, {162, 44, 50, 15});
  Prompt prompt = {text, longest};
  if (dialog.Run(owner, Procedure, &prompt) != IDOK) return std::nullopt;
  return prompt.text;
}

}  // namespace melorin
