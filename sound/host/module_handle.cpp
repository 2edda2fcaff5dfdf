// SPDX-License-Identifier: MIT
//
// Host half of ModuleHandle: add-in modules are Windows modules, so none can be loaded.
#include "sound/add_in_module.h"

namespace melorin {

ModuleHandle::~ModuleHandle() = default;

bool ModuleHandle::Load(const std::string&) {
  return false;
}

GetSoundAddInFunction ModuleHandle::FindEntryPoint() const {
  return reinterpret_cast<GetSoundAddInFunction>(handle_);
}

}  // namespace melorin
