// SPDX-License-Identifier: MIT
//
// Elements and their attributes. Reading an attribute's text as a number, colour or rectangle is the caller's
// business. One thread at a time.
#pragma once

#include <memory>
#include <string_view>

#include "doc/xml_node.h"

namespace melorin {

class XmlAttribute;

/// The links of the attribute list; the one inside the element is its sentinel.
class XmlAttributeLinks {
 protected:
  friend class XmlElement;
  XmlAttributeLinks() = default;
  XmlAttributeLinks* previous_ = this;
  XmlAttributeLinks* next_ = this;
};

/// One attribute; made and owned by its element.
class XmlAttribute : public XmlAttributeLinks {
 public:
  XmlAttribute() = default;
  virtual ~XmlAttribute() = default;
  /// Reads name, "=" and value. As XmlNode::Parse.
  virtual const char* Parse(const char* cursor, const char* end, int code_page);
  /// The indented form: name="value", with nothing before it; where it stands is the element's business.
  /// `depth` and `on_new_line` change nothing.
  virtual void Print(XmlOutput& sink, int depth, bool on_new_line) const;
  /// name="value"
  virtual void Stream(XmlOutput& sink) const;
  XmlAttribute(const XmlAttribute&) = delete;
  XmlAttribute& operator=(const XmlAttribute&) = delete;

  std::string_view Name() const { return name_.View(); }
  std::string_view Value() const { return value_.View(); }

 private:
  friend class XmlElement;
  friend class XmlFactory;
  friend class XmlParser;

  XmlDocument* document_ = nullptr;  // To report errors; null when the element was in none.
  XmlString name_;
  XmlString value_;
};

class XmlElement final : public XmlNode {
 public:
  XmlElement() : XmlNode(XmlKind::kElement) {}
  ~XmlElement() override;
  const char* Parse(const char* cursor, const char* end, int code_page) override;

  std::string_view Name() const { return Value(); }
  /// The value, or an empty text when there is no such attribute. Names are compared byte for byte.
  std::string_view Attribute(std::string_view name) const;
  /// The attribute of that name, null when there is none. Of several (only parsing makes them) the first.
  const XmlAttribute* FindAttribute(std::string_view name) const;
  /// Replaces the value, or appends a new attribute at the end. False when memory runs out: then error 3 is
  /// set on the document and nothing is changed.
  bool SetAttribute(std::string_view name, std::string_view value);
  /// The same for a name that the caller knows to be new: takes constant time, however many there are.
  bool AddAttribute(std::string_view name, std::string_view value);
  /// In the order of the text; null at the end.
  const XmlAttribute* FirstAttribute() const { return At(attributes_.next_); }
  const XmlAttribute* NextAttribute(const XmlAttribute& attribute) const { return At(attribute.next_); }

 private:
  friend class XmlFactory;
  friend class XmlParser;

  const XmlAttribute* At(const XmlAttributeLinks* links) const {
    return links == &attributes_ ? nullptr : static_cast<const XmlAttribute*>(links);
  }
  void AppendAttribute(XmlAttribute* attribute) {
    attribute->previous_ = attributes_.previous_;
    attribute->next_ = &attributes_;
    attributes_.previous_->next_ = attribute;
    attributes_.previous_ = attribute;
  }
  void RemoveAttribute(XmlAttribute* attribute);
  void DestroyAttribute(XmlAttribute* attribute);
  bool OutOfMemory();

  XmlAttributeLinks attributes_;
};

/// A free element of that name; null when memory runs out.
std::unique_ptr<XmlElement> NewXmlElement(std::string_view name);

}  // namespace melorin
