// SPDX-License-Identifier: MIT
//
// The times of single words that some lyrics have within their lines: "<minutes:seconds>", with or without a
// fraction behind a point or a colon. Thread: any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace melorin {

/// How long the time is that begins the text, with its brackets. 0: none does.
size_t WordTimeSize(std::string_view text_gbk);
size_t WordTimeSize(std::u16string_view text);

/// Adds to a time, which the text is from its first character to its last, in the form that it has: with as
/// many digits. It does not become less than zero.
std::u16string MovedWordTime(std::u16string_view time, int32_t delta_ms);
/// The same to all times within a line.
void MoveWordTimes(std::string& text_gbk, int32_t delta_ms);

}  // namespace melorin
