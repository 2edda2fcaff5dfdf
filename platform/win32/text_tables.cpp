// SPDX-License-Identifier: MIT
#include "platform/text_tables.h"

#include <windows.h>

#include "platform/text.h"

namespace melorin {
namespace {

int Length(size_t size) {
  return static_cast<int>(size > 0x3FFFFFFF ? 0x3FFFFFFF : size);
}

}  // namespace

std::u16string Utf16FromCodePage(int code_page, std::string_view bytes, bool* lossy) {
  if (code_page == kCodePageUtf8) return Utf16FromUtf8(bytes, lossy);
  if (bytes.empty()) return {};
  UINT page = static_cast<UINT>(code_page);
  if (!IsValidCodePage(page)) page = kCodePageGbk;
  const int length = Length(bytes.size());
  // Never more units than bytes, so one call does.
  std::u16string out(bytes.size(), u'\0');
  auto* units = reinterpret_cast<wchar_t*>(out.data());
  int made = MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(), length, units, Length(out.size()));
  if (made == 0) {
    if (lossy) *lossy = true;
    made = MultiByteToWideChar(page, 0, bytes.data(), length, units, Length(out.size()));
  }
  out.resize(static_cast<size_t>(made));
  return out;
}

}  // namespace melorin
