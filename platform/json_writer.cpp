// SPDX-License-Identifier: MIT
//
// JSON text (RFC 8259) and the repair of malformed UTF-8 on the way into it.
#include "platform/json_writer.h"

#include <algorithm>
#include <cstddef>

namespace melorin {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Sequence {
  size_t bytes;  ///< Of the sequence, or of its well-formed beginning.
  bool complete;
};

/// The sequence at the start of a text whose first byte is not ASCII. The bounds of the second byte keep out
/// overlong forms, surrogates and what lies above U+10FFFF (The Unicode Standard, table 3-7).
Sequence ReadSequence(std::string_view text) {
  const auto at = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = at(0);
  if (lead < 0xC2 || lead > 0xF4) return {1, false};
  const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead == 0xE0) low = 0xA0;
  if (lead == 0xED) high = 0x9F;
  if (lead == 0xF0) low = 0x90;
  if (lead == 0xF4) high = 0x8F;
  for (size_t i = 1; i < length; ++i) {
    if (i >= text.size() || at(i) < low || at(i) > high) return {i, false};
    low = 0x80;
    high = 0xBF;
  }
  return {length, true};
}

}  // namespace

void AppendWellFormedUtf8(std::string_view text, std::string& out) {
  while (!text.empty()) {
    const auto ascii = std::find_if(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
    const auto ascii_bytes = static_cast<size_t>(ascii - text.begin());
    out.append(text.substr(0, ascii_bytes));
    text.remove_prefix(ascii_bytes);
    if (text.empty()) return;
    const Sequence sequence = ReadSequence(text);
    out.append(sequence.complete ? text.substr(0, sequence.bytes) : kReplacement);
    text.remove_prefix(sequence.bytes);
  }
}

JsonWriter& JsonWriter::Key(std::string_view name) {
  BeforeValue();
  AppendQuoted(name);
  text_.push_back(':');
  comma_due_ = false;
  return *this;
}

JsonWriter& JsonWriter::String(std::string_view utf8) {
  BeforeValue();
  AppendQuoted(utf8);
  return *this;
}

JsonWriter& JsonWriter::Number(int64_t value) {
  BeforeValue();
  text_.append(std::to_string(value));
  return *this;
}

JsonWriter& JsonWriter::Bool(bool value) {
  BeforeValue();
  text_.append(value ? "true" : "false");
  return *this;
}

JsonWriter& JsonWriter::Null() {
  BeforeValue();
  text_.append("null");
  return *this;
}

JsonWriter& JsonWriter::Open(char bracket) {
  BeforeValue();
  text_.push_back(bracket);
  comma_due_ = false;
  return *this;
}

JsonWriter& JsonWriter::Close(char bracket) {
  text_.push_back(bracket);
  comma_due_ = true;
  return *this;
}

void JsonWriter::BeforeValue() {
  if (comma_due_) text_.push_back(',');
  comma_due_ = true;
}

void JsonWriter::AppendQuoted(std::string_view utf8) {
  std::string clean;
  AppendWellFormedUtf8(utf8, clean);
  text_.push_back('"');
  for (const char c : clean) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      text_.push_back('\\');
      text_.push_back(c);
    } else if (byte >= 0x20 && byte != 0x7F) {
      text_.push_back(c);
    } else if (c == '\n') {
      text_.append("\\n");
    } else if (c == '\r') {
      text_.append("\\r");
    } else if (c == '\t') {
      text_.append("\\t");
    } else {
      constexpr char kHex[] = "0123456789abcdef";
      text_.append("\\u00");
      text_.push_back(kHex[byte >> 4]);
      text_.push_back(kHex[byte & 15]);
    }
  }
  text_.push_back('"');
}

}  // namespace melorin
