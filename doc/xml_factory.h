// SPDX-License-Identifier: MIT
//
// Makes the parts of a tree, in a document's arena or, for a free node, on the heap. For the XML layer's own
// use.
#pragma once

#include <new>
#include <string_view>

#include "doc/xml_document.h"

namespace melorin {

class XmlFactory {
 public:
  /// `document` may be null: then everything is made on the heap.
  explicit XmlFactory(XmlDocument* document)
      : document_(document), arena_(document == nullptr ? nullptr : &document->arena_) {}

  /// A node without parent; null when memory runs out.
  template <class Node>
  Node* New() const {
    if (arena_ == nullptr) return new (std::nothrow) Node;
    void* memory = arena_->AllocateNode(sizeof(Node));
    if (memory == nullptr) return nullptr;
    Node* node = new (memory) Node;
    node->in_arena_ = true;
    return node;
  }
  /// An attribute for `element`, not yet in its list. It lies where its element does, since it is freed with
  /// it.
  XmlAttribute* NewAttribute(const XmlElement& element) const;

  bool Store(XmlString& out, std::string_view text) const;
  /// For names, of which equal ones may be shared.
  bool StoreName(XmlString& out, std::string_view name) const;

  /// A deep copy; null when memory runs out.
  XmlNode* CopyTree(const XmlNode& root) const;

 private:
  XmlNode* CopyNode(const XmlNode& node) const;
  bool CopyAttributes(const XmlElement& from, XmlElement& to) const;

  XmlDocument* document_;
  XmlArena* arena_;
};

}  // namespace melorin
