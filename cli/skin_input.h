// SPDX-License-Identifier: MIT
//
// The skin that a command is given.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "skin/skin_package.h"
#include "skin/skin_reader.h"

namespace melorin {

/// Opens a package and reads its "Skin.xml". Null after a message.
std::unique_ptr<SkinPackage> OpenSkin(const CommandContext& context, const std::string& name_utf8,
                                      std::vector<uint8_t>* description);

/// Why a description was refused: the end of a message.
const char* SkinFailureText(SkinReadResult result);

}  // namespace melorin
