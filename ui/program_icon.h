// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "skin/bitmap.h"

namespace melorin {

/// The program's icon, drawn for that size: sharp where there are few pixels. `size`: pixels, brought to 1 to
/// 256. Thread: any.
Bitmap ProgramIcon(int32_t size);

}  // namespace melorin
