// SPDX-License-Identifier: MIT
//
// Messages taken out of the thread's queue before their turn.
#pragma once

#include <windows.h>

namespace melorin {

/// `use` gets the window's messages from `first` to `last`, out of the queue. The message that ends the
/// program stays, which the system hands out whatever it is asked for: who takes it in passing leaves a
/// program without windows that never ends.
template <class Use>
void TakeMessages(HWND window, UINT first, UINT last, Use use) {
  MSG message;
  // Without a window it would be those of all windows.
  while (window && PeekMessageW(&message, window, first, last, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    use(message);
  }
}

}  // namespace melorin
