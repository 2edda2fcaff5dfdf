// SPDX-License-Identifier: MIT
//
// Writes trees to a sink in the two output forms. The small pieces are gathered in a buffer, so that the sink
// is called once for a few thousand bytes. For the XML layer's own use.
#pragma once

#include <cstddef>
#include <string_view>

#include "doc/xml_element.h"
#include "doc/xml_node.h"
#include "doc/xml_output.h"

namespace melorin {

class XmlPrinter {
 public:
  explicit XmlPrinter(XmlOutput& sink) : sink_(sink) {}
  ~XmlPrinter() { Flush(); }
  XmlPrinter(const XmlPrinter&) = delete;
  XmlPrinter& operator=(const XmlPrinter&) = delete;

  /// The indented form of `root` and what is below it.
  void Print(const XmlNode& root, int depth, bool attributes_on_new_lines);
  /// The compact form.
  void Stream(const XmlNode& root);
  void Attribute(const XmlAttribute& attribute);
  /// For documents that are written without being a tree first: text with and without its special characters
  /// replaced.
  void Escaped(std::string_view text);
  void Text(std::string_view text);

 private:
  static constexpr size_t kBufferBytes = 4096;

  void PrintTree(const XmlNode& root, int depth, bool attributes_on_new_lines);
  bool OpenElement(const XmlElement& element, int depth, bool attributes_on_new_lines);
  void Leaf(const XmlNode& node);
  void Declaration(const XmlDeclaration& declaration);
  void EndTag(const XmlNode& element);
  void NewLine() { Text("\r\n"); }
  void Tabs(int count);
  void Flush();

  XmlOutput& sink_;
  bool failed_ = false;
  size_t used_ = 0;
  char buffer_[kBufferBytes];
};

}  // namespace melorin
