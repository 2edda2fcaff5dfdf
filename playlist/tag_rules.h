// SPDX-License-Identifier: MIT
//
// Which tags list files can hold. Thread: any.
#pragma once

#include <string_view>

namespace melorin {

/// 1 to 256 UTF-16 code units.
bool HasTagNameLength(std::string_view name_utf8);

/// True for a name that the XML layer reads back as it is: a letter or "_", then letters, digits, "_", "-"
/// and
/// ":", where every character outside ASCII is a letter.
bool IsXmlName(std::string_view name_utf8);

}  // namespace melorin
