// SPDX-License-Identifier: MIT
#include "playlist/tag_rules.h"

#include "doc/xml_scan.h"

namespace melorin {

bool HasTagNameLength(std::string_view name) {
  constexpr size_t kMost = 256;
  if (name.size() <= kMost) return !name.empty();
  if (name.size() > 3 * kMost) return false;
  size_t units = 0;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    units += byte < 0x80 || byte >= 0xC0 ? 1 : 0;
    units += byte >= 0xF0 ? 1 : 0;
  }
  return units <= kMost;
}

bool IsXmlName(std::string_view name) {
  const char* const end = name.data() + name.size();
  return !name.empty() && xml::Is(name[0], xml::kNameStart) &&
         xml::SkipClass(name.data(), end, xml::kName) == end;
}

}  // namespace melorin
