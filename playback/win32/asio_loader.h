// SPDX-License-Identifier: MIT
#pragma once

#include "platform/com_ptr.h"
#include "playback/win32/asio_driver.h"

namespace melorin {

/// Makes a driver object. It has no proxy, so it must be made in the caller's own apartment. For a module
/// that is registered for any such apartment the component runtime does that. One that names no threading
/// model belongs to the program's first apartment, whose thread may be the one that waits for us; it is asked
/// directly. The failure of the runtime, or of the module. Thread: one in a single-threaded apartment.
HRESULT LoadAsioDriver(const CLSID& clsid, ComPtr<asio::Driver>* out);

}  // namespace melorin
