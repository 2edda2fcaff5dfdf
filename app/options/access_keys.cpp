// SPDX-License-Identifier: MIT
#include "app/options/access_keys.h"

namespace melorin {

std::u16string AccessKeys::Give(std::u16string_view text) {
  std::u16string named(text);
  const size_t marked = named.find(u"(&");
  if (marked != std::u16string::npos && marked + 2 < named.size()) {
    taken_ += named[marked + 2];
    return named;
  }
  for (char16_t key = u'A'; key <= u'Z'; ++key) {
    if (taken_.find(key) != std::u16string::npos) continue;
    taken_ += key;
    size_t end = named.size();
    if (named.ends_with(u':')) end -= 1;
    if (named.ends_with(u"...")) end -= 3;
    named.insert(end, std::u16string(u"(&") + key + u')');
    break;
  }
  return named;
}

}  // namespace melorin
