// SPDX-License-Identifier: MIT
//
// Folders beside the program; they need not exist.
#pragma once

#include <string>

namespace melorin {

std::string SkinFolderGbk();   ///< Skin packages.
std::string AddInFolderGbk();  ///< Sound add-ins.

}  // namespace melorin
