// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace melorin {

/// A line as people read it: without the times of its words ("<00:12.34>", as some files have them between
/// the words), which the line itself keeps for the file, and in the characters that are wanted (the setting
/// "CharSet": 1 simplified, 2 traditional, others as they are). Thread: any.
std::string ShownTextGbk(std::string_view text_gbk, int32_t char_set);

}  // namespace melorin
