// SPDX-License-Identifier: MIT
//
// The string that the XML tree holds: one pointer to a run of bytes with its length in front. A large
// document holds about a million of them, so each is a single word; a parsed one lies in the document's
// arena, one set by an edit has memory of its own. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace melorin {

class XmlString {
 public:
  /// A record is a 32-bit header (the length, and the top bit when the string owns the memory) and the bytes.
  /// Records are packed without alignment.
  static constexpr size_t kHeaderBytes = 4;
  static constexpr size_t kMaxBytes = 0x7FFFFFFF;

  XmlString() = default;
  ~XmlString() { Free(); }
  XmlString(const XmlString&) = delete;
  XmlString& operator=(const XmlString&) = delete;

  /// Valid until the string is changed.
  std::string_view View() const { return {record_ + kHeaderBytes, Header() & kMaxBytes}; }
  bool Empty() const { return (Header() & kMaxBytes) == 0; }

  /// Copies `text`, which may be a part of this very string, into memory of its own. False when memory runs
  /// out or the text is longer than kMaxBytes; then the string keeps what it had.
  bool Assign(std::string_view text);
  /// Takes a record that lives as long as this string does.
  void Adopt(const char* record) {
    Free();
    record_ = record;
  }
  void Swap(XmlString& other) { std::swap(record_, other.record_); }
  static void WriteHeader(char* record, size_t length) {
    const auto header = static_cast<uint32_t>(length);
    std::memcpy(record, &header, kHeaderBytes);
  }

 private:
  static constexpr uint32_t kOwned = 0x80000000;
  static constexpr char kEmptyRecord[kHeaderBytes] = {};

  uint32_t Header() const {
    uint32_t header;
    std::memcpy(&header, record_, kHeaderBytes);
    return header;
  }
  void Free() {
    if ((Header() & kOwned) != 0) FreeOwned();
  }
  void FreeOwned();

  const char* record_ = kEmptyRecord;
};

}  // namespace melorin
