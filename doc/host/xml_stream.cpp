// SPDX-License-Identifier: MIT
//
// C streams on the host, where file names are UTF-8.
#include "doc/xml_output.h"
#include "platform/text.h"

namespace melorin {

std::FILE* OpenStreamForWriting(const std::string& path_gbk) {
  return std::fopen(Utf8FromGbk(path_gbk).c_str(), "wb");
}

}  // namespace melorin
