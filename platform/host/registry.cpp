// SPDX-License-Identifier: MIT
#include "platform/registry.h"

namespace melorin {

bool CanWriteMachineKey(const char* /*key*/) {
  return false;
}

}  // namespace melorin
