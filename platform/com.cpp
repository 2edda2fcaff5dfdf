// SPDX-License-Identifier: MIT
#include "platform/com.h"

#include <cstring>

namespace melorin {

WAVEFORMATEX* CopyFormat(const WAVEFORMATEX& format) {
  const size_t size = FormatSize(format);
  void* copy = CoTaskMemAlloc(size);
  if (!copy) return nullptr;
  return static_cast<WAVEFORMATEX*>(std::memcpy(copy, &format, size));
}

WideChar* CopyText(const char16_t* text) {
  size_t length = 0;
  while (text[length] != 0)
    ++length;
  const size_t size = (length + 1) * sizeof(char16_t);
  void* copy = CoTaskMemAlloc(size);
  if (!copy) return nullptr;
  return static_cast<WideChar*>(std::memcpy(copy, text, size));
}

}  // namespace melorin
