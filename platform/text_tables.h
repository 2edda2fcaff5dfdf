// SPDX-License-Identifier: MIT
//
// The platform's half of text.h: conversions that need code page tables. For text.cpp only.
#pragma once

#include <string>
#include <string_view>

namespace melorin {

/// Sets *lossy (when given) to true if something was malformed or unassigned; leaves it alone otherwise.
std::u16string Utf16FromCodePage(int code_page, std::string_view bytes, bool* lossy);
std::string GbkFromUtf16Table(std::u16string_view utf16, bool* lossy);

}  // namespace melorin
