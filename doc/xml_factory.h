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
  XmlAttribute* NewAttribute(const XmlElement& element) const {
    XmlAttribute* attribute = nullptr;
    if (!element.InArena()) {
      attribute = new (std::nothrow) XmlAttribute;
    } else if (void* memory = arena_->AllocateNode(sizeof(XmlAttribute))) {
      attribute = new (memory) XmlAttribute;
    }
    if (attribute != nullptr) attribute->document_ = document_;
    return attribute;
  }

  /// Null for free nodes.
  XmlArena* Arena() const { return arena_; }
  bool Store(XmlString& out, std::string_view text) const {
    if (arena_ == nullptr) return out.Assign(text);
    return Adopt(out, arena_->StoreText(text));
  }
  /// For names, of which equal ones may be shared.
  bool StoreName(XmlString& out, std::string_view name) const {
    if (arena_ == nullptr) return out.Assign(name);
    return Adopt(out, arena_->StoreName(name));
  }

  /// A deep copy; null when memory runs out.
  XmlNode* CopyTree(const XmlNode& root) const;

 private:
  static bool Adopt(XmlString& out, const char* record) {
    if (record != nullptr) out.Adopt(record);
    return record != nullptr;
  }
  XmlNode* CopyNode(const XmlNode& node) const;
  bool CopyAttributes(const XmlElement& from, XmlElement& to) const;

  XmlDocument* document_;
  XmlArena* arena_;
};

}  // namespace melorin
