// SPDX-License-Identifier: MIT
//
// A field that shows a key and takes the one that the user presses, with its modifiers: letters, arrows,
// media keys and all. Tab, Esc and Enter alone stay the dialog's. Thread: the UI thread.
#pragma once

#include <windows.h>

#include "doc/settings_types.h"

namespace melorin {

/// Made by CreateWindowEx of this class after RegisterKeyField.
inline constexpr wchar_t kKeyFieldClass[] = L"MelorinKeyField";
void RegisterKeyField();

/// Codes of its WM_COMMAND.
inline constexpr UINT kKeyChosen = 1;   ///< The user has pressed a key.
inline constexpr UINT kKeyEntered = 2;  ///< The field has the focus …
inline constexpr UINT kKeyLeft = 3;     ///< … and has it no more.

KeyStroke KeyOfField(HWND field);
/// Tells nobody.
void ShowKeyInField(HWND field, const KeyStroke& key);

bool IsKeyField(HWND window);
/// A key message that the field takes before the dialog sees a command in it.
bool KeyFieldWants(const MSG& message);

}  // namespace melorin
