// SPDX-License-Identifier: MIT
//
// What a menu tells of a command whose name does not say it all.
#pragma once

#include <string_view>

#include "doc/command_id.h"

namespace melorin {

/// One sentence; empty when the name says it all.
std::u16string_view CommandHelp(CommandId command);

}  // namespace melorin
