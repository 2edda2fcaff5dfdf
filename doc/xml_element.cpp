// SPDX-License-Identifier: MIT
//
// Elements and their attribute lists.
#include "doc/xml_element.h"

#include "doc/xml_document.h"
#include "doc/xml_factory.h"
#include "doc/xml_printer.h"

namespace melorin {

void XmlAttribute::Print(XmlOutput& sink, int /*depth*/, bool /*on_new_line*/) const {
  Stream(sink);
}

void XmlAttribute::Stream(XmlOutput& sink) const {
  XmlPrinter(sink).Attribute(*this);
}

XmlElement::~XmlElement() {
  for (XmlAttributeLinks* links = attributes_.next_; links != &attributes_;) {
    auto* attribute = static_cast<XmlAttribute*>(links);
    links = links->next_;
    DestroyAttribute(attribute);
  }
}

void XmlElement::RemoveAttribute(XmlAttribute* attribute) {
  attribute->previous_->next_ = attribute->next_;
  attribute->next_->previous_ = attribute->previous_;
  DestroyAttribute(attribute);
}

void XmlElement::DestroyAttribute(XmlAttribute* attribute) {
  if (InArena()) {
    attribute->~XmlAttribute();
  } else {
    delete attribute;
  }
}

const XmlAttribute* XmlElement::FindAttribute(std::string_view name) const {
  const XmlAttribute* attribute = FirstAttribute();
  while (attribute != nullptr && attribute->Name() != name)
    attribute = NextAttribute(*attribute);
  return attribute;
}

std::string_view XmlElement::Attribute(std::string_view name) const {
  const XmlAttribute* attribute = FindAttribute(name);
  return attribute == nullptr ? std::string_view() : attribute->Value();
}

bool XmlElement::SetAttribute(std::string_view name, std::string_view value) {
  const XmlAttribute* const found = FindAttribute(name);
  if (found == nullptr) return AddAttribute(name, value);
  // On the heap even in an arena: a value that changes often must not fill the arena.
  const bool set = const_cast<XmlAttribute*>(found)->value_.Assign(value);
  NoteOwnMemory();
  return set || OutOfMemory();
}

bool XmlElement::AddAttribute(std::string_view name, std::string_view value) {
  const XmlFactory factory(Document());
  XmlAttribute* const attribute = factory.NewAttribute(*this);
  if (attribute == nullptr) return OutOfMemory();
  if (!factory.StoreName(attribute->name_, name) || !factory.Store(attribute->value_, value)) {
    DestroyAttribute(attribute);
    return OutOfMemory();
  }
  AppendAttribute(attribute);
  return true;
}

/// False, and said on the document.
bool XmlElement::OutOfMemory() {
  if (XmlDocument* const document = Document()) document->SetError(XmlError::kOutOfMemory);
  return false;
}

}  // namespace melorin
