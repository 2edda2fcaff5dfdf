// SPDX-License-Identifier: MIT
#include "platform/registry.h"

#include <windows.h>

namespace melorin {

bool CanWriteMachineKey(const char* key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, KEY_READ | KEY_WRITE, &opened) != ERROR_SUCCESS) return false;
  RegCloseKey(opened);
  return true;
}

}  // namespace melorin
