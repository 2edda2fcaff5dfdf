// SPDX-License-Identifier: MIT
#include "sound/fault_guard.h"

namespace melorin {

bool CallGuarded(void (*body)(void* context), void* context) {
  body(context);
  return true;
}

}  // namespace melorin
