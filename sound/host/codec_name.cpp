// SPDX-License-Identifier: MIT
//
// Host half of codec_name.h: no class registry, so only the braced text form.
#include "sound/codec_name.h"

#include <cstdio>
#include <string>

namespace melorin {

std::u16string ClassName(const GUID& class_id) {
  char text[40];
  const uint8_t* d = class_id.Data4;
  std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", class_id.Data1,
                class_id.Data2, class_id.Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
  const std::string narrow = text;
  return {narrow.begin(), narrow.end()};
}

}  // namespace melorin
