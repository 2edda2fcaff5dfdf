// SPDX-License-Identifier: MIT
//
// The built-in tune, so that there is something to hear before the user has named a file.
#pragma once

#include <windows.h>

#include <string>

namespace melorin {

/// Writes the tune and its lyric into the temporary folder and returns the tune's path; empty when that
/// fails.
std::u16string WriteDemoTune(HINSTANCE instance);

}  // namespace melorin
