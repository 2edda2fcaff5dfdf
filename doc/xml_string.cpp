// SPDX-License-Identifier: MIT
//
// The strings of the tree that have memory of their own.
#include "doc/xml_string.h"

#include <new>

namespace melorin {

bool XmlString::Assign(std::string_view text) {
  if (text.empty()) {
    Adopt(kEmptyRecord);
    return true;
  }
  if (text.size() > kMaxBytes - kHeaderBytes) return false;
  char* record = new (std::nothrow) char[kHeaderBytes + text.size()];
  if (record == nullptr) return false;
  WriteHeader(record, text.size() | kOwned);
  std::memcpy(record + kHeaderBytes, text.data(), text.size());
  Adopt(record);
  return true;
}

void XmlString::FreeOwned() {
  delete[] record_;
}

}  // namespace melorin
