// SPDX-License-Identifier: MIT
//
// What GetSoundCodecName needs of the platform.
#pragma once

#include <string>

#include "platform/com.h"

namespace melorin {

/// The programmatic identifier of a class, or its braced text form when it has none; empty when both fail.
/// On the host there is only the text form.
std::u16string ClassName(const GUID& class_id);

}  // namespace melorin
