// SPDX-License-Identifier: MIT
//
// Result codes and their causes in words.
#pragma once

#include <string>

#include "platform/com.h"
#include "sound/sound_library.h"

namespace melorin {

/// "out of memory (0x8007000E)"; an unknown code is "error 0x…".
std::string ResultText(HRESULT result);

/// Why a file could not be opened as a sound: looks at the file itself for the plain reasons (missing, a
/// folder, not readable, no reader for its extension) and falls back on the result.
std::string OpenFailureText(const SoundLibrary& library, const std::string& path_gbk, HRESULT result);

/// Why a file could not be opened for reading at all; empty when it can.
std::string ReadFailureText(const std::string& path_gbk);

}  // namespace melorin
