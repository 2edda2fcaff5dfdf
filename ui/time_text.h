// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace melorin {

/// "3:05", "1:02:03". Thread: any.
std::u16string TimeText(uint32_t seconds);

}  // namespace melorin
