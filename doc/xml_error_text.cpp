// SPDX-License-Identifier: MIT
#include "doc/xml_error_text.h"

namespace melorin {

const char* XmlErrorText(XmlError error) {
  switch (error) {
    case XmlError::kNone:
      break;
    case XmlError::kOpenFile:
      return "cannot be opened";
    case XmlError::kOutOfMemory:
      return "out of memory";
    case XmlError::kElementStart:
      return "an attribute is malformed at the end of the file";
    case XmlError::kElementName:
      return "no element name after \"<\"";
    case XmlError::kNoEndTag:
      return "the file ends before the end tag";
    case XmlError::kStartTag:
      return "a start tag is not closed, or an attribute lacks name, \"=\" or value";
    case XmlError::kEmptyTag:
      return "\"/\" without \">\" in a start tag";
    case XmlError::kEndTag:
      return "the end tag does not match the start tag";
    case XmlError::kUnknown:
      return "\"<\" without \">\"";
    case XmlError::kComment:
      return "a comment is cut off";
    case XmlError::kDeclaration:
      return "the declaration is malformed";
    case XmlError::kEmptyDocument:
      return "not an XML document: no \"<\" at the start";
  }
  return "cannot be parsed";
}

}  // namespace melorin
