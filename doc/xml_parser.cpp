// SPDX-License-Identifier: MIT
//
// How parsing works: p walks over the input. A quoted value, of which a playlist mostly consists, is scanned,
// decoded and copied at once; anything else is scanned to its end with table or SSE2 searches and copied.
// Only a text with an entity or a run of white space, and a value in a foreign encoding, takes a detour
// through a scratch string. What is called for each attribute is inline: on 32-bit Windows calls cost much.
// Elements do not recurse: an element is linked to its parent when its start tag begins, and its end tag goes
// back up. So a failed parse leaves what was read up to the failure.
//
// Encodings are only looked at when a value is complete. That is right for GBK and the other two-byte code
// pages, since their second bytes are 0x30 or above and never one of < & " ' or white space.
#include "doc/xml_parser.h"

#include <algorithm>

#include "doc/xml_scan.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr int kNotKnown = -1;

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool EqualNoCase(std::string_view text, std::string_view lower) {
  return text.size() == lower.size() &&
         std::equal(text.begin(), text.end(), lower.begin(), [](char a, char b) { return Lower(a) == b; });
}

std::string_view Between(const char* begin, const char* end) {
  return {begin, static_cast<size_t>(end - begin)};
}

}  // namespace

const char* XmlParser::Fail(XmlError error) {
  if (document_ != nullptr) document_->SetError(error);
  return nullptr;
}

bool XmlParser::BeginsWith(const char* p, std::string_view lower) const {
  return static_cast<size_t>(end_ - p) >= lower.size() && EqualNoCase({p, lower.size()}, lower);
}

bool XmlParser::IsElement(const char* p) const {
  return end_ - p >= 2 && *p == '<' && xml::Is(p[1], xml::kNameStart);
}

/// Puts a raw value into the tree as UTF-8. The ANSI code page is the player's own, 936, on every build: it
/// is what start-up makes the thread's code page, and what text inside the player is in.
void XmlParser::Store(XmlString& out, std::string_view raw) {
  if (code_page_ != kCodePageUtf8 && xml::HasHighByte(raw.data(), raw.data() + raw.size())) {
    converted_.clear();
    const bool ansi = code_page_ == 0 || code_page_ == kNotKnown;
    AppendUtf8FromCodePage(ansi ? kCodePageGbk : code_page_, raw, converted_);
    raw = converted_;
  }
  if (!factory_.Store(out, raw)) throw std::bad_alloc();
}

/// Says what the "&" at `p` stands for, and returns the position after it. At the end of the input an
/// entity's beginning is enough.
inline const char* XmlParser::DecodeEntity(const char* p, char& character) const {
  const auto left = static_cast<size_t>(end_ - p);
  if (left < 3 || p[1] != '#' || p[2] != 'x') {
    for (const xml::Entity& entity : xml::kEntities) {
      const size_t length = std::min<size_t>(entity.length, left);
      if (!xml::EqualShort(p, entity.text, length)) continue;
      character = entity.character;
      return p + length;
    }
  }
  character = '&';
  return p + 1;
}

/// The same, appended to the scratch string.
const char* XmlParser::DecodeEntity(const char* p) {
  char character;
  p = DecodeEntity(p, character);
  scratch_.push_back(character);
  return p;
}

#if defined(__SSE2__)
/// Scans, decodes and copies at once, straight into the arena, 16 bytes at a time. Null, with nothing done,
/// when the end of the input or of the arena's open chunk is near.
inline const char* XmlParser::ReadQuotedInPlace(const char* p, char quote, XmlString& out) {
  XmlArena* const arena = factory_.Arena();
  char* const begin = arena == nullptr ? nullptr : arena->OpenText();
  if (begin == nullptr) return nullptr;
  const char* const limit = arena->OpenTextLimit();
  const __m128i quotes = _mm_set1_epi8(quote);
  const __m128i ampersands = _mm_set1_epi8('&');
  for (char* to = begin;;) {
    if (end_ - p < 16 || limit - to < 16) return nullptr;
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
    const int found =
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(block, quotes), _mm_cmpeq_epi8(block, ampersands)));
    if (found == 0) {
      p += 16;
      to += 16;
      continue;
    }
    const int length = __builtin_ctz(static_cast<unsigned>(found));
    p += length;
    to += length;
    if (*p == '&') {
      p = DecodeEntity(p, *to++);
      continue;
    }
    if (code_page_ == kCodePageUtf8 || !xml::HasHighByte(begin, to)) {
      out.Adopt(arena->CloseText(to));
    } else {
      Store(out, Between(begin, to));
    }
    return p + 1;
  }
}
#endif

const char* XmlParser::ReadQuoted(const char* p, char quote, XmlString& out) {
#if defined(__SSE2__)
  if (const char* const after = ReadQuotedInPlace(p, quote, out)) return after;
#endif
  const char* stop = xml::FindEither(p, end_, quote, '&');
  if (stop == end_ || *stop == quote) {
    Store(out, Between(p, stop));
    return stop == end_ ? stop : stop + 1;
  }
  scratch_.clear();
  for (;;) {
    scratch_.append(p, stop);
    if (stop == end_ || *stop == quote) break;
    p = DecodeEntity(stop);
    stop = xml::FindEither(p, end_, quote, '&');
  }
  Store(out, scratch_);
  return stop == end_ ? stop : stop + 1;
}

/// Character data up to the next "<": no white space at either end, and one space for each run inside.
const char* XmlParser::ReadCondensed(const char* p, XmlString& out) {
  p = xml::SkipSpace(p, end_);
  // As long as the text is what the value will be, it is only measured.
  const char* const begin = p;
  const char* value_end = p;
  while (p != end_ && *p != '<' && *p != '&') {
    p = xml::FindClass(p, end_, xml::kTextStop);
    value_end = p;
    const char* const after = xml::SkipSpace(p, end_);
    const bool one_space = after - p == 1 && *p == ' ';
    p = after;
    if (p != value_end && !one_space) break;
  }
  if (p == end_ || *p == '<') {
    Store(out, Between(begin, value_end));
    return p;
  }
  scratch_.assign(begin, value_end);
  bool space_before = p != value_end;
  while (p != end_ && *p != '<') {
    if (space_before && !scratch_.empty()) scratch_.push_back(' ');
    if (*p == '&') {
      p = DecodeEntity(p);
    } else {
      const char* const stop = xml::FindClass(p, end_, xml::kTextStop);
      scratch_.append(p, stop);
      p = stop;
    }
    const char* const after = xml::SkipSpace(p, end_);
    space_before = after != p;
    p = after;
  }
  Store(out, scratch_);
  return p;
}

inline const char* XmlParser::ParseAttribute(const char* p, XmlAttribute& attribute) {
  const char* const name = xml::SkipSpace(p, end_);
  if (name == end_ || !xml::Is(*name, xml::kNameStart)) return Fail(XmlError::kStartTag);
  p = xml::SkipClass(name, end_, xml::kName);
  if (!factory_.StoreName(attribute.name_, Between(name, p))) throw std::bad_alloc();
  p = xml::SkipSpace(p, end_);
  if (p == end_ || *p != '=') {
    attribute_stop_ = p;
    return Fail(XmlError::kStartTag);
  }
  p = xml::SkipSpace(p + 1, end_);
  if (p != end_ && (*p == '"' || *p == '\'')) return ReadQuoted(p + 1, *p, attribute.value_);
  const char* const value = p;
  p = xml::FindClass(p, end_, xml::kUnquotedEnd);
  if (p == value) {
    attribute_stop_ = p;
    return Fail(XmlError::kStartTag);
  }
  Store(attribute.value_, Between(value, p));
  return p;
}

inline const char* XmlParser::ParseAttributeInto(const char* p, XmlElement& element) {
  XmlAttribute* attribute = factory_.NewAttribute(element);
  if (attribute == nullptr) throw std::bad_alloc();
  element.AppendAttribute(attribute);
  attribute_stop_ = p;
  const char* const next = ParseAttribute(p, *attribute);
  if (next != nullptr && !AtEnd(next)) return next;
  element.RemoveAttribute(attribute);
  return next != nullptr || AtEnd(attribute_stop_) ? Fail(XmlError::kElementStart) : nullptr;
}

inline XmlParser::StartTag XmlParser::ParseStartTag(const char* p, XmlElement& element) {
  const StartTag failed{Tag::kFailed, nullptr};
  p = xml::SkipSpace(p, end_);
  if (p == end_ || *p != '<') return Fail(XmlError::kElementStart), failed;
  const char* const name = xml::SkipSpace(p + 1, end_);
  if (name == end_) return failed;  // Without a code.
  if (!xml::Is(*name, xml::kNameStart)) return Fail(XmlError::kElementName), failed;
  p = xml::SkipClass(name, end_, xml::kName);
  if (!factory_.StoreName(element.value_, Between(name, p))) throw std::bad_alloc();
  if (p == end_) return Fail(XmlError::kElementName), failed;
  XmlParseObserver* const observer = document_ == nullptr ? nullptr : document_->observer_;
  for (;;) {
    p = xml::SkipSpace(p, end_);
    if (AtEnd(p)) return Fail(XmlError::kStartTag), failed;
    if (*p == '/') {
      if (p + 1 == end_ || p[1] != '>') return Fail(XmlError::kEmptyTag), failed;
      if (observer != nullptr) {
        observer->OnElementStart(element.Name(), element);
        if (observer->Stops()) return failed;
        observer->OnElementEnd(element.Name());
      }
      return {Tag::kEmpty, p + 2};
    }
    if (*p == '>') {
      if (observer != nullptr) {
        observer->OnElementStart(element.Name(), element);
        if (observer->Stops()) return failed;
      }
      return {Tag::kOpen, p + 1};
    }
    p = ParseAttributeInto(p, element);
    if (p == nullptr) return failed;
  }
}

const char* XmlParser::ParseEndTag(const char* p, const XmlElement& element) {
  const std::string_view name = element.Name();
  const bool exact = static_cast<size_t>(end_ - p) >= name.size() + 3 &&
                     xml::EqualShort(p + 2, name.data(), name.size()) && p[2 + name.size()] == '>';
  if (!exact) return Fail(XmlError::kEndTag);
  if (document_ != nullptr && document_->observer_ != nullptr) document_->observer_->OnElementEnd(name);
  return p + name.size() + 3;
}

const char* XmlParser::ParseElement(const char* p, XmlElement& root) {
  const StartTag start = ParseStartTag(p, root);
  return start.tag == Tag::kOpen ? ParseContent(start.next, root) : start.next;
}

/// Takes the last child, which was made since the mark, out of the tree and its memory back.
void XmlParser::DropLastChild(XmlNode& parent, const XmlArena::Mark& mark) {
  XmlNode* const child = parent.last_child_;
  if (document_->only_arena_) {  // Nothing in it has memory of its own.
    parent.last_child_ = child->previous_;
    (parent.last_child_ == nullptr ? parent.first_child_ : parent.last_child_->next_) = nullptr;
  } else {
    parent.RemoveChild(child);
  }
  document_->arena_.RollBack(mark);
}

/// Reads from just after the root's start tag to just after its end tag.
const char* XmlParser::ParseContent(const char* p, XmlElement& root) {
  XmlNode* open = &root;  // The element whose content is being read.
  const bool drops =
      document_ != nullptr && document_->observer_ != nullptr && document_->observer_->DropsElements();
  for (;;) {
    p = xml::SkipSpace(p, end_);
    if (p != end_ && *p != '<') p = ParseTextInto(p, *open);
    if (p == end_) return Fail(XmlError::kNoEndTag);
    if (end_ - p >= 2 && p[1] == '/') {
      p = ParseEndTag(p, static_cast<XmlElement&>(*open));
      if (p == nullptr || open == &root) return p;
      open = open->parent_;
      if (drops) {
        DropLastChild(*open, marks_.back());
        marks_.pop_back();
      }
    } else if (IsElement(p)) {
      if (drops) marks_.push_back(document_->arena_.Here());
      auto* element = factory_.New<XmlElement>();
      if (element == nullptr) throw std::bad_alloc();
      open->Append(element);
      const StartTag start = ParseStartTag(p, *element);
      if (start.tag == Tag::kFailed) return nullptr;
      if (start.tag == Tag::kOpen) {
        open = element;
      } else if (drops) {
        DropLastChild(*open, marks_.back());
        marks_.pop_back();
      }
      p = start.next;
    } else {
      p = ParseLeafInto(p, *open);
      if (p == nullptr) return nullptr;
    }
  }
}

const char* XmlParser::ParseTextInto(const char* p, XmlNode& parent) {
  auto* text = factory_.New<XmlText>();
  if (text == nullptr) throw std::bad_alloc();
  parent.Append(text);
  p = ReadCondensed(p, text->value_);
  if (text->value_.Empty()) parent.RemoveChild(text);
  return p;
}

template <class Node>
const char* XmlParser::ParseNodeInto(const char* p, XmlNode& parent,
                                     const char* (XmlParser::*parse)(const char*, Node&)) {
  auto* node = factory_.New<Node>();
  if (node == nullptr) throw std::bad_alloc();
  parent.Append(node);
  const char* const next = (this->*parse)(p, *node);
  if (next == nullptr) parent.RemoveChild(node);
  return next;
}

/// A node at "<" that is no element.
const char* XmlParser::ParseLeafInto(const char* p, XmlNode& parent) {
  if (BeginsWith(p, "<?xml")) return ParseNodeInto(p, parent, &XmlParser::ParseDeclaration);
  if (BeginsWith(p, "<!--")) return ParseNodeInto(p, parent, &XmlParser::ParseComment);
  return ParseNodeInto(p, parent, &XmlParser::ParseUnknown);
}

const char* XmlParser::ParseText(const char* p, XmlText& text) {
  return ReadCondensed(p, text.value_);
}

const char* XmlParser::ParseComment(const char* p, XmlComment& comment) {
  p = xml::SkipSpace(p, end_);
  if (!BeginsWith(p, "<!--")) return Fail(XmlError::kComment);
  p += 4;
  scratch_.clear();
  while (p != end_ && !BeginsWith(p, "-->")) {
    if (*p == '&') {
      p = DecodeEntity(p);
      continue;
    }
    const char* const stop = xml::FindEither(p + 1, end_, '-', '&');
    scratch_.append(p, stop);
    p = stop;
  }
  Store(comment.value_, scratch_);
  return p == end_ ? p : p + 3;
}

const char* XmlParser::ParseUnknown(const char* p, XmlUnknown& unknown) {
  p = xml::SkipSpace(p, end_);
  if (p == end_ || *p != '<') return Fail(XmlError::kUnknown);
  const char* const close = std::find(p + 1, end_, '>');
  if (close == end_) return Fail(XmlError::kUnknown);
  Store(unknown.value_, Between(p + 1, close));
  return close + 1;
}

const char* XmlParser::ParseDeclaration(const char* p, XmlDeclaration& declaration) {
  p = xml::SkipSpace(p, end_);
  if (!BeginsWith(p, "<?xml")) return Fail(XmlError::kDeclaration);
  p += 5;
  struct Field {
    std::string_view word;
    XmlString& value;
  };
  const Field fields[] = {{"version", declaration.version_},
                          {"encoding", declaration.encoding_},
                          {"standalone", declaration.standalone_}};
  while (!AtEnd(p)) {
    if (*p == '>') return p + 1;
    p = xml::SkipSpace(p, end_);
    const std::string_view word = Between(p, xml::SkipClass(p, end_, xml::kName));
    const Field* field = std::find_if(std::begin(fields), std::end(fields),
                                      [word](const Field& f) { return EqualNoCase(word, f.word); });
    if (field == std::end(fields)) {
      while (!AtEnd(p) && !xml::Is(*p, xml::kSpace) && *p != '>')
        ++p;
      continue;
    }
    XmlAttribute attribute;
    p = ParseAttribute(p, attribute);
    if (p == nullptr) return nullptr;
    field->value.Swap(attribute.value_);
  }
  return p;
}

const char* XmlParser::ParseDocument(const char* p) {
  p = xml::SkipSpace(p, end_);
  document_->code_page_ = code_page_;
  if (p == end_ || *p != '<') return Fail(XmlError::kEmptyDocument);
  while (p != end_ && *p == '<') {
    if (IsElement(p)) {
      auto* element = factory_.New<XmlElement>();
      if (element == nullptr) throw std::bad_alloc();
      document_->Append(element);
      p = ParseElement(p, *element);
    } else {
      p = ParseLeafInto(p, *document_);
      const XmlNode* const node = document_->LastChild();
      if (p != nullptr && code_page_ == kNotKnown && node->Kind() == XmlKind::kDeclaration) {
        const std::string_view encoding = static_cast<const XmlDeclaration*>(node)->Encoding();
        if (encoding == "UTF-8") code_page_ = kCodePageUtf8;
        if (EqualNoCase(encoding, "gb2312")) code_page_ = kCodePageGbk;
        document_->code_page_ = code_page_;
      }
    }
    if (p == nullptr) return nullptr;
    p = xml::SkipSpace(p, end_);
  }
  return p;
}

const char* XmlElement::Parse(const char* cursor, const char* end, int code_page) {
  return XmlParser(Document(), end, code_page).Run([&](XmlParser& p) {
    return p.ParseElement(cursor, *this);
  });
}

const char* XmlAttribute::Parse(const char* cursor, const char* end, int code_page) {
  return XmlParser(document_, end, code_page).Run([&](XmlParser& p) {
    return p.ParseAttribute(cursor, *this);
  });
}

const char* XmlComment::Parse(const char* cursor, const char* end, int code_page) {
  return XmlParser(Document(), end, code_page).Run([&](XmlParser& p) {
    return p.ParseComment(cursor, *this);
  });
}

const char* XmlUnknown::Parse(const char* cursor, const char* end, int code_page) {
  return XmlParser(Document(), end, code_page).Run([&](XmlParser& p) {
    return p.ParseUnknown(cursor, *this);
  });
}

const char* XmlText::Parse(const char* cursor, const char* end, int code_page) {
  return XmlParser(Document(), end, code_page).Run([&](XmlParser& p) { return p.ParseText(cursor, *this); });
}

const char* XmlDeclaration::Parse(const char* cursor, const char* end, int code_page) {
  return XmlParser(Document(), end, code_page).Run([&](XmlParser& p) {
    return p.ParseDeclaration(cursor, *this);
  });
}

const char* XmlDocument::Parse(const char* cursor, const char* end, int code_page) {
  return XmlParser(this, end, code_page).Run([&](XmlParser& p) { return p.ParseDocument(cursor); });
}

}  // namespace melorin
