// SPDX-License-Identifier: MIT
//
// The entry point. Nothing escapes from here: an exception that reaches it means that memory has run out.
#include <windows.h>

#include "app/start_up.h"

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
  try {
    return melorin::RunPlayer(instance, show);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}
