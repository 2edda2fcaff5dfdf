// SPDX-License-Identifier: MIT
//
// DialogTemplate: a dialog of a few controls in memory, in the system's message font. Places are dialog
// units, so the dialog fits its font at any size. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace melorin {

class DialogTemplate {
 public:
  DialogTemplate(const std::u16string& title, int width, int height, DWORD style = 0);

  struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
  };
  /// In the order of the tab key. `window_class`: "STATIC", "EDIT", "BUTTON", …
  DialogTemplate& Add(const wchar_t* window_class, const std::u16string& text, WORD id, DWORD style,
                      const Place& place, DWORD extended_style = 0);

  /// Runs the dialog; what EndDialog was given, or -1 when the system refuses. `parameter` comes with
  /// WM_INITDIALOG.
  INT_PTR Run(HWND owner, DLGPROC procedure, void* parameter);
  /// Makes a dialog that stays while its owner is used; null when the system refuses.
  HWND Create(HWND owner, DLGPROC procedure, void* parameter);

 private:
  void Append(const void* bytes, size_t count);
  void AppendWord(WORD word) { Append(&word, sizeof(word)); }
  void AppendText(const std::u16string& text) { Append(text.c_str(), (text.size() + 1) * sizeof(char16_t)); }
  void Align();

  std::vector<uint8_t> bytes_;
};

/// Moves the dialog to the middle of its owner, within the screen's work area.
void CentreDialog(HWND dialog);

}  // namespace melorin
