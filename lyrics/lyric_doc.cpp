// SPDX-License-Identifier: MIT
#include "lyrics/lyric_doc.h"

namespace melorin {

void LyricDoc::Clear() {
  *this = LyricDoc();
}

}  // namespace melorin
