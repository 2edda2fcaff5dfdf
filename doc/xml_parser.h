// SPDX-License-Identifier: MIT
//
// Reads XML text into a tree, in one pass over the input and without copying it. For the XML layer's own use.
#pragma once

#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "doc/xml_document.h"
#include "doc/xml_factory.h"

namespace melorin {

/// Each Parse… function reads one construct at `p` and returns the position after it, or null on failure with
/// the code set on the document. They may throw std::bad_alloc; Run() turns that into error 3.
class XmlParser {
 public:
  /// `document` (may be null) gives memory and observer and takes errors.
  XmlParser(XmlDocument* document, const char* end, int code_page)
      : document_(document), factory_(document), end_(end), code_page_(code_page) {}

  template <class Parse>
  const char* Run(Parse parse) {
    try {
      return parse(*this);
    } catch (const std::bad_alloc&) {
      return Fail(XmlError::kOutOfMemory);
    }
  }

  const char* ParseDocument(const char* p);
  const char* ParseElement(const char* p, XmlElement& root);
  const char* ParseAttribute(const char* p, XmlAttribute& attribute);
  const char* ParseText(const char* p, XmlText& text);
  const char* ParseComment(const char* p, XmlComment& comment);
  const char* ParseUnknown(const char* p, XmlUnknown& unknown);
  const char* ParseDeclaration(const char* p, XmlDeclaration& declaration);

 private:
  enum class Tag { kFailed, kOpen, kEmpty };
  struct StartTag {
    Tag tag;
    const char* next;
  };

  StartTag ParseStartTag(const char* p, XmlElement& element);
  const char* ParseAttributeInto(const char* p, XmlElement& element);
  const char* ParseContent(const char* p, XmlElement& root);
  const char* ParseEndTag(const char* p, const XmlElement& element);
  void DropLastChild(XmlNode& parent, const XmlArena::Mark& mark);
  const char* ParseTextInto(const char* p, XmlNode& parent);
  const char* ParseLeafInto(const char* p, XmlNode& parent);
  template <class Node>
  const char* ParseNodeInto(const char* p, XmlNode& parent,
                            const char* (XmlParser::*parse)(const char*, Node&));

  const char* ReadQuoted(const char* p, char quote, XmlString& out);
  const char* ReadQuotedInPlace(const char* p, char quote, XmlString& out);
  const char* ReadCondensed(const char* p, XmlString& out);
  const char* DecodeEntity(const char* p, char& character) const;
  const char* DecodeEntity(const char* p);
  void Store(XmlString& out, std::string_view raw);

  bool AtEnd(const char* p) const { return p == end_ || *p == '\0'; }
  bool BeginsWith(const char* p, std::string_view lower) const;
  bool IsElement(const char* p) const;
  const char* Fail(XmlError error);

  XmlDocument* document_;
  XmlFactory factory_;
  const char* end_;
  int code_page_;
  const char* attribute_stop_ = nullptr;  // Where the attribute that failed was being read.
  std::string scratch_;                   // A value with entities decoded or white space condensed.
  std::string converted_;                 // A value in UTF-8.
  std::vector<XmlArena::Mark> marks_;     // Of the open elements, when elements are dropped.
};

}  // namespace melorin
