// SPDX-License-Identifier: MIT
//
// C streams on Windows: the narrow functions would take the system's own code page, so the path goes in wide.
#include <wchar.h>

#include "doc/xml_output.h"
#include "platform/com.h"
#include "platform/text.h"

namespace melorin {

std::FILE* OpenStreamForWriting(const std::string& path_gbk) {
  return _wfopen(AsWide(Utf16FromGbk(path_gbk).c_str()), L"wb");
}

}  // namespace melorin
