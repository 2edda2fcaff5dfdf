// SPDX-License-Identifier: MIT
//
// Small texts of the player window and the arithmetic behind them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/com.h"
#include "playlist/play_order.h"

namespace melorin {

/// `position` moved by `step`, within the track: never below 0 and always before its end.
uint32_t StepPosition(uint32_t position_ms, int32_t step_ms, uint32_t duration_ms);

/// The last part of a path, whichever separators it has.
std::u16string_view FileNameOf(std::u16string_view path);

/// Why a track cannot be played, in the user's language. `opening`: the file, else the sound device failed.
std::u16string DescribeFailure(HRESULT result, bool device);

std::u16string ToText(uint32_t number);

}  // namespace melorin
