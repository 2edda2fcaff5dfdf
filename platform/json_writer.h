// SPDX-License-Identifier: MIT
//
// Writes JSON text on one line. Whatever bytes come in, what comes out is valid JSON in UTF-8.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace melorin {

/// Appends `text` to `out`, replacing every malformed sequence by U+FFFD, one for each maximal run of bytes
/// that begins a well-formed sequence (as The Unicode Standard recommends, chapter 3.9).
void AppendWellFormedUtf8(std::string_view text, std::string& out);

/// Builds one value. The caller pairs Begin and End and gives every member a Key; commas come by themselves.
class JsonWriter {
 public:
  JsonWriter& BeginObject() { return Open('{'); }
  JsonWriter& EndObject() { return Close('}'); }
  JsonWriter& BeginArray() { return Open('['); }
  JsonWriter& EndArray() { return Close(']'); }
  JsonWriter& Key(std::string_view name);
  JsonWriter& String(std::string_view utf8);
  JsonWriter& Number(int64_t value);
  JsonWriter& Bool(bool value);
  JsonWriter& Null();

  const std::string& Text() const { return text_; }

 private:
  JsonWriter& Open(char bracket);
  JsonWriter& Close(char bracket);
  void BeforeValue();
  void AppendQuoted(std::string_view utf8);

  std::string text_;
  bool comma_due_ = false;
};

}  // namespace melorin
