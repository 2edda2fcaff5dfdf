// SPDX-License-Identifier: MIT
//
// The host's programs have no resources: the archive that the build makes is put between two symbols.
#include "skin/skin_package.h"

#if defined(MELORIN_DEFAULT_SKIN_ZIP)

__asm__(
    ".pushsection .rodata\n"
    ".balign 16\n"
    "melorin_default_skin_begin:\n"
    ".incbin \"" MELORIN_DEFAULT_SKIN_ZIP
    "\"\n"
    "melorin_default_skin_end:\n"
    ".popsection\n");

extern "C" {
extern const uint8_t melorin_default_skin_begin[];
extern const uint8_t melorin_default_skin_end[];
}

namespace melorin {

std::span<const uint8_t> DefaultSkinBytes() {
  return {melorin_default_skin_begin, melorin_default_skin_end};
}

}  // namespace melorin

#else

namespace melorin {

std::span<const uint8_t> DefaultSkinBytes() {
  return {};
}

}  // namespace melorin

#endif
