// SPDX-License-Identifier: MIT
//
// The tree: links, navigation, editing, destruction.
#include "doc/xml_node.h"

#include "doc/xml_document.h"
#include "doc/xml_factory.h"
#include "doc/xml_printer.h"

namespace melorin {

XmlNode::~XmlNode() {
  DestroyChildren();
}

void XmlNode::Destroy(XmlNode* node) {
  if (node->in_arena_) {
    node->~XmlNode();
  } else {
    delete node;
  }
}

void XmlNode::DestroyChildren() {
  XmlNode* node = first_child_;
  first_child_ = last_child_ = nullptr;
  while (node != nullptr) {
    if (node->first_child_ != nullptr) {  // Its children come before its next sibling, so nothing recurses.
      node->last_child_->next_ = node->next_;
      node->next_ = node->first_child_;
      node->first_child_ = node->last_child_ = nullptr;
    }
    XmlNode* const next = node->next_;
    Destroy(node);
    node = next;
  }
}

void XmlNode::Clear() {
  if (kind_ == XmlKind::kDocument) {
    static_cast<XmlDocument*>(this)->ReleaseChildren();
  } else {
    DestroyChildren();
  }
}

void XmlNode::Reserved() {}

void XmlNode::Print(XmlOutput& sink, int depth, bool attributes_on_new_lines) const {
  XmlPrinter(sink).Print(*this, depth, attributes_on_new_lines);
}

void XmlNode::Stream(XmlOutput& sink) const {
  XmlPrinter(sink).Stream(*this);
}

std::unique_ptr<XmlNode> XmlNode::Clone() const {
  return std::unique_ptr<XmlNode>(XmlFactory(nullptr).CopyTree(*this));
}

bool XmlNode::SetValue(std::string_view value) {
  if (!value_.Assign(value)) return false;
  NoteOwnMemory();
  return true;
}

XmlDocument* XmlNode::Document() const {
  const XmlNode* node = this;
  while (node->parent_ != nullptr)
    node = node->parent_;
  if (node->kind_ != XmlKind::kDocument) return nullptr;
  return const_cast<XmlDocument*>(static_cast<const XmlDocument*>(node));
}

void XmlNode::NoteOwnMemory() {
  if (XmlDocument* document = Document()) document->only_arena_ = false;
}

XmlElement* XmlNode::AsElement() {
  return kind_ == XmlKind::kElement ? static_cast<XmlElement*>(this) : nullptr;
}
const XmlElement* XmlNode::AsElement() const {
  return kind_ == XmlKind::kElement ? static_cast<const XmlElement*>(this) : nullptr;
}

namespace {

template <class Matches>
XmlNode* FindFrom(XmlNode* node, Matches matches) {
  while (node != nullptr && !matches(*node))
    node = node->NextSibling();
  return node;
}

XmlElement* ElementFrom(XmlNode* node) {
  return static_cast<XmlElement*>(
      FindFrom(node, [](const XmlNode& n) { return n.Kind() == XmlKind::kElement; }));
}

XmlElement* ElementFrom(XmlNode* node, std::string_view name) {
  return static_cast<XmlElement*>(FindFrom(
      node, [name](const XmlNode& n) { return n.Kind() == XmlKind::kElement && n.Value() == name; }));
}

}  // namespace

XmlNode* XmlNode::FirstChild(std::string_view name) const {
  return FindFrom(first_child_, [name](const XmlNode& n) { return n.Value() == name; });
}
XmlNode* XmlNode::NextSibling(std::string_view name) const {
  return FindFrom(next_, [name](const XmlNode& n) { return n.Value() == name; });
}
XmlElement* XmlNode::FirstChildElement() const {
  return ElementFrom(first_child_);
}
XmlElement* XmlNode::FirstChildElement(std::string_view name) const {
  return ElementFrom(first_child_, name);
}
XmlElement* XmlNode::NextSiblingElement() const {
  return ElementFrom(next_);
}
XmlElement* XmlNode::NextSiblingElement(std::string_view name) const {
  return ElementFrom(next_, name);
}

XmlNode* XmlNode::LinkEndChild(std::unique_ptr<XmlNode> node) {
  if (node == nullptr || node->kind_ == XmlKind::kDocument) return nullptr;
  XmlNode* const linked = node.release();
  Append(linked);
  NoteOwnMemory();
  return linked;
}

XmlNode* XmlNode::InsertEndChild(const XmlNode& node) {
  return LinkEndChild(node.Clone());
}

XmlElement* XmlNode::AddElement(std::string_view name) {
  XmlDocument* const document = Document();
  const XmlFactory factory(document);
  XmlElement* element = factory.New<XmlElement>();
  if (element != nullptr && !factory.StoreName(element->value_, name)) {
    Destroy(element);
    element = nullptr;
  }
  if (element != nullptr) {
    Append(element);
  } else if (document != nullptr) {
    document->SetError(XmlError::kOutOfMemory);
  }
  return element;
}

bool XmlNode::RemoveChild(XmlNode* node) {
  if (node == nullptr || node->parent_ != this) return false;
  (node->previous_ == nullptr ? first_child_ : node->previous_->next_) = node->next_;
  (node->next_ == nullptr ? last_child_ : node->next_->previous_) = node->previous_;
  Destroy(node);
  return true;
}

bool XmlDeclaration::Set(std::string_view version, std::string_view encoding, std::string_view standalone) {
  const bool set = version_.Assign(version) && encoding_.Assign(encoding) && standalone_.Assign(standalone);
  NoteOwnMemory();
  return set;
}

namespace {

template <class Node>
std::unique_ptr<Node> NewWithValue(std::string_view value) {
  std::unique_ptr<Node> node(new (std::nothrow) Node);
  if (node != nullptr && !node->SetValue(value)) node.reset();
  return node;
}

}  // namespace

std::unique_ptr<XmlText> NewXmlText(std::string_view utf8) {
  return NewWithValue<XmlText>(utf8);
}
std::unique_ptr<XmlComment> NewXmlComment(std::string_view utf8) {
  return NewWithValue<XmlComment>(utf8);
}
std::unique_ptr<XmlElement> NewXmlElement(std::string_view name) {
  return NewWithValue<XmlElement>(name);
}

std::unique_ptr<XmlDeclaration> NewXmlDeclaration(std::string_view version, std::string_view encoding,
                                                  std::string_view standalone) {
  std::unique_ptr<XmlDeclaration> node(new (std::nothrow) XmlDeclaration);
  if (node != nullptr && !node->Set(version, encoding, standalone)) node.reset();
  return node;
}

}  // namespace melorin
