// SPDX-License-Identifier: MIT
//
// Simplified and traditional Chinese, character by character. Words are not looked at: where one simplified
// character stands for several traditional ones, the most frequent is taken. Characters outside the first
// plane stay as they are. The tables are made from the Unihan database by tools/make_hanzi_tables.py.
#pragma once

#include <string>
#include <string_view>

namespace melorin {

/// For comparing: traditional characters and variants become simplified, letters lose case and marks, and
/// full-width forms become ASCII and half-width kana full-width. Nothing that a reader should see. Thread:
/// any.
char16_t FoldForComparing(char16_t c);

/// For showing (the setting "CharSet", 1 and 2). Characters that simplified text uses as well (著, 乾) stay.
std::string SimplifiedGbk(std::string_view gbk);
std::string TraditionalGbk(std::string_view gbk);

}  // namespace melorin
