// SPDX-License-Identifier: MIT
//
// Standard output of a program with windows: where it was sent to, else the console that it was started from.
#pragma once

#include <string_view>

namespace melorin {

/// Writes a text and a line end. False when there is nowhere to write to. Thread: any.
bool PrintLine(std::string_view utf8);

}  // namespace melorin
