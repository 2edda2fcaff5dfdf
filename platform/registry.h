// SPDX-License-Identifier: MIT
//
// What the program may do in the system's registry.
#pragma once

namespace melorin {

/// Opens a key (ASCII) of the local machine for reading and writing and closes it again. True when that
/// succeeded; nothing is made or changed. Always false on the host. Thread: any.
bool CanWriteMachineKey(const char* key);

}  // namespace melorin
