// SPDX-License-Identifier: MIT
//
// Why a document could not be parsed, in words.
#pragma once

#include "doc/xml_document.h"

namespace melorin {

/// Part of an English sentence, without a full stop. Thread: any.
const char* XmlErrorText(XmlError error);

}  // namespace melorin
