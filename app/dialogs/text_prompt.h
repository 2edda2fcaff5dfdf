// SPDX-License-Identifier: MIT
//
// Asks for one line of text, a name for example.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace melorin {

/// `text` stands there selected. Nothing when it was cancelled; blanks around the answer are cut, and an
/// empty one cannot be given. Thread: the UI thread.
std::optional<std::u16string> PromptForText(HWND owner, const std::u16string& title,
                                            const std::u16string& label, const std::u16string& text,
                                            size_t longest = 100);

}  // namespace melorin
