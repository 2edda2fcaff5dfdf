// SPDX-License-Identifier: MIT
//
// The two output forms, and the escaping that both share.
#include "doc/xml_printer.h"

#include <algorithm>
#include <cstring>

#include "doc/xml_scan.h"

namespace melorin {
namespace {

/// Length of the UTF-8 sequence of 1 to 6 bytes at the start, as the encoding was first defined (RFC 2279); 0
/// when there is none, or only an overlong form of one.
size_t SequenceLength(const char* p, const char* end) {
  const auto byte = [p](size_t i) { return static_cast<unsigned char>(p[i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  const size_t length = lead < 0xC0   ? 0
                        : lead < 0xE0 ? 2
                        : lead < 0xF0 ? 3
                        : lead < 0xF8 ? 4
                        : lead < 0xFC ? 5
                        : lead < 0xFE ? 6
                                      : 0;
  if (length == 0 || static_cast<size_t>(end - p) < length) return 0;
  for (size_t i = 1; i < length; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 0;
  if (length == 2) return lead >= 0xC2 ? 2 : 0;
  // From three bytes on, a form is overlong when the lead holds no bit and the next byte only low ones.
  const bool lead_empty = (lead & (0x7Fu >> length)) == 0;
  return lead_empty && byte(1) < (0x80u | (0x100u >> length)) ? 0 : length;
}

/// The end of the last valid sequence in [begin, end); what follows it does not belong to any. An ASCII byte
/// is always a sequence of its own, so decoding starts after the last one.
const char* EndOfLastSequence(const char* begin, const char* end) {
  const char* p = end;
  while (p != begin && static_cast<unsigned char>(p[-1]) >= 0x80)
    --p;
  const char* last = p;
  while (p != end) {
    const size_t length = SequenceLength(p, end);
    p += length == 0 ? 1 : length;
    if (length != 0) last = p;
  }
  return last;
}

}  // namespace

void XmlPrinter::Flush() {
  if (used_ != 0 && !failed_) failed_ = !sink_.Write(buffer_, static_cast<ptrdiff_t>(used_));
  used_ = 0;
}

void XmlPrinter::Text(std::string_view text) {
  while (text.size() > kBufferBytes - used_) {
    const size_t room = kBufferBytes - used_;
    std::memcpy(buffer_ + used_, text.data(), room);
    used_ += room;
    text.remove_prefix(room);
    Flush();
  }
  if (!text.empty()) std::memcpy(buffer_ + used_, text.data(), text.size());
  used_ += text.size();
}

void XmlPrinter::Tabs(int count) {
  static constexpr std::string_view kTabs = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
  while (count > 0 && !failed_) {
    const int now = std::min(count, static_cast<int>(kTabs.size()));
    Text(kTabs.substr(0, static_cast<size_t>(now)));
    count -= now;
  }
}

// The text is taken as steps: one valid UTF-8 sequence and any bytes before it that belong to none. Only a
// step whose character is special is changed; then the bytes before it are lost with it.
void XmlPrinter::Escaped(std::string_view text) {
  const char* begin = text.data();
  const char* const end = begin + text.size();
  for (;;) {
    const char* special = xml::FindSpecial(begin, end);
    if (special == end) break;
    const char* step = special;
    if (special != begin && static_cast<unsigned char>(special[-1]) >= 0x80)
      step = EndOfLastSequence(begin, special);
    Text({begin, static_cast<size_t>(step - begin)});
    begin = special + 1;
    // A numeric reference was kept literally when it was read, and goes out the same way.
    if (step == special && end - special >= 5 && std::memcmp(special, "&#x", 3) == 0) {
      Text("&");
      continue;
    }
    for (const xml::Entity& entity : xml::kEntities)
      if (entity.character == *special) Text({entity.text, entity.length});
  }
  Text({begin, static_cast<size_t>(end - begin)});
}

void XmlPrinter::Attribute(const XmlAttribute& attribute) {
  Escaped(attribute.Name());
  Text("=\"");
  Escaped(attribute.Value());
  Text("\"");
}

void XmlPrinter::Declaration(const XmlDeclaration& declaration) {
  const auto field = [this](std::string_view name, std::string_view value) {
    if (value.empty()) return;
    Text(name);
    Text("=\"");
    Escaped(value);
    Text("\" ");
  };
  Text("<?xml ");
  field("version", declaration.Version());
  field("encoding", declaration.Encoding());
  field("standalone", declaration.Standalone());
  Text("?>");
}

void XmlPrinter::Leaf(const XmlNode& node) {
  switch (node.Kind()) {
    case XmlKind::kText:
      Escaped(node.Value());
      break;
    case XmlKind::kComment:
      Text("<!--");
      Escaped(node.Value());
      Text("-->");
      break;
    case XmlKind::kUnknown:
      Text("<");
      Text(node.Value());
      Text(">");
      break;
    case XmlKind::kDeclaration:
      Declaration(static_cast<const XmlDeclaration&>(node));
      break;
    case XmlKind::kDocument:
    case XmlKind::kElement:
      break;
  }
}

void XmlPrinter::EndTag(const XmlNode& element) {
  Text("</");
  Escaped(element.Value());
  Text(">");
}

/// Writes the element up to its first child. False when that was all of it.
bool XmlPrinter::OpenElement(const XmlElement& element, int depth, bool attributes_on_new_lines) {
  Tabs(depth);
  Text("<");
  Escaped(element.Name());
  for (const auto* attribute = element.FirstAttribute(); attribute != nullptr;
       attribute = element.NextAttribute(*attribute)) {
    Text(" ");
    if (attributes_on_new_lines) {
      NewLine();
      Tabs(depth + 1);
    }
    Attribute(*attribute);
  }
  const XmlNode* child = element.FirstChild();
  if (child == nullptr) {
    if (attributes_on_new_lines && element.FirstAttribute() != nullptr) {
      NewLine();
      Tabs(depth);
    }
    Text("/>");
    return false;
  }
  Text(">");
  if (child->NextSibling() != nullptr || child->Kind() != XmlKind::kText) return true;
  Leaf(*child);
  EndTag(element);
  return false;
}

void XmlPrinter::PrintTree(const XmlNode& root, int depth, bool attributes_on_new_lines) {
  const XmlNode* node = &root;
  while (!failed_) {
    bool inside = false;
    if (const XmlElement* element = node->AsElement()) {
      inside = OpenElement(*element, depth, attributes_on_new_lines);
    } else {
      if (node->Kind() == XmlKind::kComment || node->Kind() == XmlKind::kUnknown) Tabs(depth);
      Leaf(*node);
    }
    if (inside) {
      node = node->FirstChild();
      ++depth;
    } else {
      while (node != &root && node->NextSibling() == nullptr) {
        node = node->Parent();
        --depth;
        NewLine();
        Tabs(depth);
        EndTag(*node);
      }
      if (node == &root) return;
      node = node->NextSibling();
    }
    if (node->Kind() != XmlKind::kText) NewLine();
  }
}

void XmlPrinter::Print(const XmlNode& root, int depth, bool attributes_on_new_lines) {
  if (root.Kind() != XmlKind::kDocument) {
    PrintTree(root, depth, attributes_on_new_lines);
    return;
  }
  for (const XmlNode* node = root.FirstChild(); node != nullptr; node = node->NextSibling()) {
    PrintTree(*node, 0, attributes_on_new_lines);
    NewLine();
  }
}

void XmlPrinter::Stream(const XmlNode& root) {
  const XmlNode* node = &root;
  while (!failed_) {
    if (const XmlElement* element = node->AsElement()) {
      Text("<");
      Escaped(element->Name());
      for (const auto* attribute = element->FirstAttribute(); attribute != nullptr;
           attribute = element->NextAttribute(*attribute)) {
        Text(" ");
        Attribute(*attribute);
      }
      Text(element->FirstChild() == nullptr ? " />" : ">");
    } else {
      Leaf(*node);
    }
    if (node->FirstChild() != nullptr) {
      node = node->FirstChild();
      continue;
    }
    while (node != &root && node->NextSibling() == nullptr) {
      node = node->Parent();
      if (node->Kind() == XmlKind::kElement) EndTag(*node);
    }
    if (node == &root) return;
    node = node->NextSibling();
  }
}

}  // namespace melorin
