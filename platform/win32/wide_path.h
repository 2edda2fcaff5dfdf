// SPDX-License-Identifier: MIT
//
// File names between the player's text and the wide functions of the system.
#pragma once

#include <string>
#include <string_view>

#include "platform/com.h"
#include "platform/text.h"

namespace melorin {

/// Empty when the bytes cannot be a name, and then no file has it.
inline std::wstring WidePath(std::string_view path_gbk) {
  bool lossy = false;
  const std::u16string path = Utf16FromGbk(path_gbk, &lossy);
  if (lossy || path.find(u'\0') != std::u16string::npos) return {};
  return {path.begin(), path.end()};
}

/// `lossy`: the name holds half a surrogate pair, which no text can carry.
inline std::string GbkName(const wchar_t* name, bool& lossy) {
  return GbkFromUtf16(AsChar16(name), &lossy);
}

}  // namespace melorin
