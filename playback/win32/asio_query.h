// SPDX-License-Identifier: MIT
//
// Drivers that are loaded only to be asked what they can do; see QueryAsioDevice.
#pragma once

#include <cstdint>

#include "platform/com.h"

namespace melorin {

/// Waits until that driver is not being asked any more; false when it still is that long after it was asked,
/// so that one that hangs is not waited for again and again. Thread: any.
bool AwaitAsioQuery(const CLSID& clsid, uint32_t timeout_ms);

/// The window itself while there is one; else the desktop.
void* AsioDialogOwner(void* window);

}  // namespace melorin
