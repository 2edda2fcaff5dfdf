// SPDX-License-Identifier: MIT
//
// The XML document: loading, parsing and saving whole files, and the error code of it all. Files are parsed
// in place from a read-only mapping. Paths are GBK text. One thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "doc/xml_arena.h"
#include "doc/xml_element.h"
#include "doc/xml_node.h"

namespace melorin {

/// The first failure stops a parse. Where one construct lies inside another, the innermost failure is kept,
/// with one exception: an attribute that fails, or just ends, at the end of the input counts as
/// kElementStart.
enum class XmlError : int32_t {
  kNone = 0,
  kOpenFile = 2,        ///< The file could not be opened or mapped.
  kOutOfMemory = 3,     ///< A node or attribute could not be allocated.
  kElementStart = 4,    ///< No "<" where an element should start, or an attribute failed to parse.
  kElementName = 5,     ///< No name after "<", or the input ends right after the name.
  kNoEndTag = 6,        ///< An element's content runs to the end of the input.
  kStartTag = 7,        ///< The start tag ends in the middle, or an attribute lacks name, "=" or value.
  kEmptyTag = 8,        ///< "/" inside a start tag without ">" after it.
  kEndTag = 9,          ///< The end tag is not exactly "</" + name + ">".
  kUnknown = 10,        ///< An unknown construct without ">".
  kComment = 11,        ///< The input ends before a comment, or there is no "<!--".
  kDeclaration = 12,    ///< No "<?xml" where a declaration should start.
  kEmptyDocument = 13,  ///< Nothing but white space, or the first character is not "<".
};

/// Told about elements while a document is being parsed. It may read the element and change its attributes
/// and what is below it, but nothing else of the document.
class XmlParseObserver {
 public:
  virtual ~XmlParseObserver() = default;
  /// After the start tag with all attributes, before the content.
  virtual void OnElementStart(std::string_view name, XmlElement& element) = 0;
  virtual void OnElementEnd(std::string_view name) = 0;
  /// True: every element below the root leaves the tree when its end was reported, and its memory is used
  /// again. So a document of any length is read in the memory of one element. Asked once a parse.
  virtual bool DropsElements() const { return false; }
  /// Asked after each OnElementStart; true ends the parse there. That fails it, but without an error code.
  virtual bool Stops() const { return false; }
};

class XmlDocument final : public XmlNode {
 public:
  static constexpr int kCodePageFromDeclaration = -1;

  XmlDocument() : XmlNode(XmlKind::kDocument) {}
  ~XmlDocument() override;

  /// Clears the document, records the path and parses the file. `code_page`: -1 takes the encoding from the
  /// declaration ("UTF-8" exactly, or "GB2312" in any case; anything else is the ANSI code page), 65001 or
  /// any code page. True exactly when Error() is kNone afterwards.
  bool LoadFile(const std::string& path_gbk, int code_page);
  /// Parses a text and appends what it holds; length -1 means up to the NUL. True when nothing failed. An
  /// earlier error code stays: only LoadFile resets it.
  bool Parse(const char* text, ptrdiff_t length, int code_page);
  bool Parse(std::string_view text, int code_page);
  const char* Parse(const char* cursor, const char* end, int code_page) override;

  std::unique_ptr<XmlNode> Clone() const override;

  /// Writes the indented form to a file, after recording the path unless it is empty (then the last path
  /// loaded or saved is used). False only when the file cannot be created; write errors are not reported. The
  /// settings and profile files have attributes on new lines, playlists and the CD cache do not.
  bool SaveFile(const std::string& path_gbk, bool attributes_on_new_lines);
  /// The same for files that must not be lost: writes beside the file and swaps it in. False when anything
  /// fails, and then the old file is as it was.
  bool SaveFileSafely(const std::string& path_gbk, bool attributes_on_new_lines);

  /// The first child that is an element.
  XmlElement* RootElement() const { return FirstChildElement(); }
  XmlError Error() const { return error_; }
  /// The code page that the last parse ended with; -1 when neither caller nor declaration said one.
  int CodePage() const { return code_page_; }
  /// The file last loaded or saved.
  const std::string& FileName() const { return file_name_; }
  /// Not owned; null for none.
  void SetObserver(XmlParseObserver* observer) { observer_ = observer; }

 private:
  friend class XmlElement;
  friend class XmlFactory;
  friend class XmlNode;
  friend class XmlParser;

  void SetError(XmlError error) { error_ = error; }
  void ReleaseChildren();

  std::string file_name_;
  XmlError error_ = XmlError::kNone;
  XmlParseObserver* observer_ = nullptr;
  int code_page_ = kCodePageFromDeclaration;
  bool only_arena_ =
      true;  // Nothing in the tree has memory of its own, so the tree need not be walked to free it.
  XmlArena arena_;
};

}  // namespace melorin
