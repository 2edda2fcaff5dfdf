// SPDX-License-Identifier: MIT
//
// Making and copying the parts of a tree.
#include "doc/xml_factory.h"

namespace melorin {

bool XmlFactory::CopyAttributes(const XmlElement& from, XmlElement& to) const {
  for (const auto* attribute = from.FirstAttribute(); attribute != nullptr;
       attribute = from.NextAttribute(*attribute)) {
    XmlAttribute* copy = NewAttribute(to);
    if (copy == nullptr) return false;
    to.AppendAttribute(copy);
    if (!StoreName(copy->name_, attribute->Name()) || !Store(copy->value_, attribute->Value())) return false;
  }
  return true;
}

XmlNode* XmlFactory::CopyNode(const XmlNode& node) const {
  XmlNode* copy = nullptr;
  bool complete = true;
  switch (node.Kind()) {
    case XmlKind::kDocument:
      break;  // Documents are copied by XmlNode::Clone and are never inside a tree.
    case XmlKind::kElement:
      if (auto* element = New<XmlElement>()) {
        copy = element;
        complete = CopyAttributes(*node.AsElement(), *element);
      }
      break;
    case XmlKind::kComment:
      copy = New<XmlComment>();
      break;
    case XmlKind::kUnknown:
      copy = New<XmlUnknown>();
      break;
    case XmlKind::kText:
      copy = New<XmlText>();
      break;
    case XmlKind::kDeclaration:
      if (auto* declaration = New<XmlDeclaration>()) {
        const auto& from = static_cast<const XmlDeclaration&>(node);
        copy = declaration;
        complete = declaration->Set(from.Version(), from.Encoding(), from.Standalone());
        if (document_ != nullptr) document_->only_arena_ = false;
      }
      break;
  }
  if (copy == nullptr) return nullptr;
  if (!complete || !Store(copy->value_, node.Value())) {
    XmlNode::Destroy(copy);
    return nullptr;
  }
  return copy;
}

XmlNode* XmlFactory::CopyTree(const XmlNode& root) const {
  XmlNode* const root_copy = CopyNode(root);
  if (root_copy == nullptr) return nullptr;
  const XmlNode* from = &root;
  XmlNode* to = root_copy;
  for (;;) {
    // `to` is the copy of `from`; find the next node and the copy that becomes its parent.
    XmlNode* parent_copy = to;
    if (from->FirstChild() != nullptr) {
      from = from->FirstChild();
    } else {
      while (from != &root && from->NextSibling() == nullptr) {
        from = from->Parent();
        to = to->Parent();
      }
      if (from == &root) return root_copy;
      from = from->NextSibling();
      parent_copy = to->Parent();
    }
    to = CopyNode(*from);
    if (to == nullptr) {
      XmlNode::Destroy(root_copy);
      return nullptr;
    }
    parent_copy->Append(to);
  }
}

}  // namespace melorin
