// SPDX-License-Identifier: MIT
//
// The built-in tune, so that there is something to hear before the user has named a file.
#pragma once

#include <windows.h>

#include <string>

namespace melorin {

/// Writes the tune into the temporary folder and returns its path; empty when that fails.
std::u16string WriteDemoTune(HINSTANCE instance);

}  // namespace melorin
