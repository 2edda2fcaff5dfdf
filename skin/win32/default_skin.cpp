// SPDX-License-Identifier: MIT
#include <windows.h>

#include "skin/skin_package.h"

namespace melorin {

std::span<const uint8_t> DefaultSkinBytes() {
  const HMODULE program = GetModuleHandleW(nullptr);
  const HRSRC place = FindResourceW(program, L"<DEFAULT_SKIN>", RT_RCDATA);
  const HGLOBAL resource = place ? LoadResource(program, place) : nullptr;
  const void* bytes = resource ? LockResource(resource) : nullptr;
  if (!bytes) return {};
  return {static_cast<const uint8_t*>(bytes), SizeofResource(program, place)};
}

}  // namespace melorin
