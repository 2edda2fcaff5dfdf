// SPDX-License-Identifier: MIT
#include "app/program_folders.h"

#include "platform/file.h"
#include "platform/folders.h"

namespace melorin {

std::string SkinFolderGbk() {
  return JoinPath(ProgramFolder(), "Skin");
}

std::string AddInFolderGbk() {
  return JoinPath(ProgramFolder(), "AddIn");
}

}  // namespace melorin
