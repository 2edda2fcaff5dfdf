// SPDX-License-Identifier: MIT
//
// The program from its first instruction to its exit code, in the order that matters.
#pragma once

#include <windows.h>

namespace melorin {

/// Sets the thread's locale to Chinese (PRC) and tells the user when a code page is missing.
void SetUpLocale();

/// Runs the player: 0 after an ordinary end, 1 when the command line went to a running instance, else the
/// failure. For "/status": 0 when an answer was printed, and nothing is started.
int RunPlayer(HINSTANCE instance, int show);

}  // namespace melorin
