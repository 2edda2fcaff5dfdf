// SPDX-License-Identifier: MIT
//
// The XML tree: what every node is, and the kinds without attributes. Elements are in xml_element.h, the
// document in xml_document.h. The layer is deliberately forgiving: no DTDs, no CDATA, no processing
// instructions but the declaration, no numeric character references (those stay literal text). Values are
// UTF-8 whatever the file's encoding; element and attribute names are kept as they were read.
//
// How nodes live: a node is owned by its parent, and only a free node is owned by a unique_ptr. Parsed nodes
// and their texts lie in their document's arena and give their memory back when the document is cleared or
// destroyed; removing one earlier only takes it out of the tree. Nothing recurses into the tree, so no
// nesting, however deep, overflows the stack: parsing, writing, cloning and destroying are loops.
//
// Thread: a document and its nodes are used by one thread at a time. No exception leaves this layer.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "doc/xml_output.h"
#include "doc/xml_string.h"

namespace melorin {

class XmlArena;
class XmlDocument;
class XmlElement;

/// Stored in every node.
enum class XmlKind : int32_t {
  kDocument = 0,     ///< No value.
  kElement = 1,      ///< Value: the name.
  kComment = 2,      ///< Value: the text between "<!--" and "-->".
  kUnknown = 3,      ///< Value: everything between "<" and the next ">".
  kText = 4,         ///< Value: the character data, entities decoded.
  kDeclaration = 5,  ///< No value; version, encoding and standalone stand apart.
};

class XmlNode {
 public:
  virtual ~XmlNode();
  /// Reads this node's text at `cursor`. `code_page`: how its texts become UTF-8; 65001 takes them as they
  /// are, 0 and -1 mean the player's ANSI code page. Returns the position just past what the node consumed,
  /// or null on failure; the code is then set on the document, when the node is in one.
  virtual const char* Parse(const char* cursor, const char* end, int code_page) = 0;
  /// The indented form: CR LF line breaks, one TAB a level. Failures of the sink end the writing silently;
  /// ask the sink.
  virtual void Print(XmlOutput& sink, int depth, bool attributes_on_new_lines) const;
  /// The compact form: no line breaks, no indentation.
  virtual void Stream(XmlOutput& sink) const;
  /// A place in the operation table that no kind uses.
  virtual void Reserved();
  /// A deep copy without parent; null when memory runs out.
  virtual std::unique_ptr<XmlNode> Clone() const;

  XmlNode(const XmlNode&) = delete;
  XmlNode& operator=(const XmlNode&) = delete;
  XmlKind Kind() const { return kind_; }
  std::string_view Value() const { return value_.View(); }
  /// False when memory runs out; the value stays then.
  bool SetValue(std::string_view value);

  XmlNode* Parent() const { return parent_; }
  XmlNode* FirstChild() const { return first_child_; }
  XmlNode* LastChild() const { return last_child_; }
  XmlNode* PreviousSibling() const { return previous_; }
  XmlNode* NextSibling() const { return next_; }
  /// The document this node is in, or null. Walks up the tree.
  XmlDocument* Document() const;

  /// First child, or next sibling, of any kind whose value equals the name, byte for byte; null when none
  /// does.
  XmlNode* FirstChild(std::string_view name) const;
  XmlNode* NextSibling(std::string_view name) const;
  /// The same, skipping what is not an element.
  XmlElement* FirstChildElement() const;
  XmlElement* FirstChildElement(std::string_view name) const;
  XmlElement* NextSiblingElement() const;
  XmlElement* NextSiblingElement(std::string_view name) const;
  /// This node as an element, null when it is none.
  XmlElement* AsElement();
  const XmlElement* AsElement() const;

  /// Appends `node`, which this node then owns, and returns it. A document is refused: it is destroyed and
  /// the result is null, as for a null node.
  XmlNode* LinkEndChild(std::unique_ptr<XmlNode> node);
  /// Appends a clone and returns it; null, and nothing is appended, when cloning fails.
  XmlNode* InsertEndChild(const XmlNode& node);
  /// Appends a new element of that name; null (and error 3 on the document) when memory runs out.
  XmlElement* AddElement(std::string_view name);
  /// Unlinks and destroys `node`. False when it is not a child of this node.
  bool RemoveChild(XmlNode* node);
  /// Destroys all children.
  void Clear();

 protected:
  explicit XmlNode(XmlKind kind) : kind_(kind) {}
  /// To be called after this node got memory of its own: its document must then walk the tree to free it.
  void NoteOwnMemory();
  bool InArena() const { return in_arena_; }

 private:
  friend class XmlDocument;
  friend class XmlFactory;
  friend class XmlParser;

  void Append(XmlNode* node) {
    node->parent_ = this;
    node->previous_ = last_child_;
    node->next_ = nullptr;
    (last_child_ == nullptr ? first_child_ : last_child_->next_) = node;
    last_child_ = node;
  }
  void DestroyChildren();
  /// Destroys a node wherever it lies; one in an arena keeps its memory.
  static void Destroy(XmlNode* node);

  XmlNode* parent_ = nullptr;
  XmlKind kind_;
  bool in_arena_ = false;
  XmlNode* first_child_ = nullptr;
  XmlNode* last_child_ = nullptr;
  XmlString value_;
  XmlNode* previous_ = nullptr;
  XmlNode* next_ = nullptr;
};

class XmlComment final : public XmlNode {
 public:
  XmlComment() : XmlNode(XmlKind::kComment) {}
  const char* Parse(const char* cursor, const char* end, int code_page) override;
};

/// Anything in angle brackets that the layer does not know, a document type declaration for one.
class XmlUnknown final : public XmlNode {
 public:
  XmlUnknown() : XmlNode(XmlKind::kUnknown) {}
  const char* Parse(const char* cursor, const char* end, int code_page) override;
};

class XmlText final : public XmlNode {
 public:
  XmlText() : XmlNode(XmlKind::kText) {}
  const char* Parse(const char* cursor, const char* end, int code_page) override;
};

class XmlDeclaration final : public XmlNode {
 public:
  XmlDeclaration() : XmlNode(XmlKind::kDeclaration) {}
  const char* Parse(const char* cursor, const char* end, int code_page) override;

  /// Each may be empty and is then not written.
  std::string_view Version() const { return version_.View(); }
  std::string_view Encoding() const { return encoding_.View(); }
  std::string_view Standalone() const { return standalone_.View(); }
  /// False when memory runs out.
  bool Set(std::string_view version, std::string_view encoding, std::string_view standalone);

 private:
  friend class XmlParser;

  XmlString version_;
  XmlString encoding_;
  XmlString standalone_;
};

/// Free nodes with a value; null when memory runs out.
std::unique_ptr<XmlText> NewXmlText(std::string_view utf8);
std::unique_ptr<XmlComment> NewXmlComment(std::string_view utf8);
/// The declaration of the files that the player writes has "1.0", "UTF-8", "yes".
std::unique_ptr<XmlDeclaration> NewXmlDeclaration(std::string_view version, std::string_view encoding,
                                                  std::string_view standalone);

}  // namespace melorin
