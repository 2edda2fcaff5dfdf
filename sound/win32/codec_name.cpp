// SPDX-License-Identifier: MIT
//
// Windows half of codec_name.h.
#include "sound/codec_name.h"

#include "sound/text_out.h"

namespace melorin {

std::u16string ClassName(const GUID& class_id) {
  TaskText text;
  if (FAILED(ProgIDFromCLSID(class_id, text.Receive()))) {
    // A failed call may have stored something that is no text.
    *text.Receive() = nullptr;
    if (FAILED(StringFromCLSID(class_id, text.Receive()))) *text.Receive() = nullptr;
  }
  return text.get();
}

}  // namespace melorin
