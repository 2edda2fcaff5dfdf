// SPDX-License-Identifier: MIT
//
// APE tags, after the APEv2 description of the Hydrogenaudio knowledge base: a footer of 32 bytes, before it
// the items, before those a header in version 2. Version 1 has no header and no item flags, and no stated
// encoding.
#include "tags/apev2.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/text.h"
#include "tags/field_names.h"
#include "tags/legacy_text.h"
#include "tags/tag_bytes.h"

namespace melorin {

namespace {

constexpr int64_t kFooterSize = 32;
constexpr int64_t kItemHeaderSize = 8;
constexpr int64_t kLongestKey = 255;
constexpr uint32_t kHasHeader = 0x80000000;
constexpr uint32_t kIsHeader = 0x20000000;

/// NUL separates values; empty ones are left out.
std::string JoinValues(std::string_view text) {
  std::string joined;
  while (!text.empty()) {
    const size_t length = std::min(text.find('\0'), text.size());
    AppendValue(joined, text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return joined;
}

void ReadItem(std::string_view key, std::span<const uint8_t> value, TagFields& fields) {
  std::string_view text(reinterpret_cast<const char*>(value.data()), value.size());
  // Version 1 may be in any encoding, and some writers of version 2 do not convert either.
  const std::string joined = JoinValues(text);
  if (!joined.empty())
    AddMissing(fields, FieldName(key), IsValidUtf8(joined) ? joined : DecodeLegacy(joined));
}

/// Items from `offset` to `end`.
void ReadItems(CachedSource& file, int64_t offset, int64_t end, uint32_t count, bool version1,
               TagLimits& limits, TagFields& fields) {
  for (; count != 0 && limits.fields_left != 0 && end - offset > kItemHeaderSize; --count) {
    const auto head = file.At(offset, std::min(end - offset, kItemHeaderSize + kLongestKey + 1));
    if (static_cast<int64_t>(head.size()) <= kItemHeaderSize) return;
    const int64_t value_size = LittleEndian32(head);
    const uint32_t flags = version1 ? 0 : LittleEndian32(head.subspan(4));
    const auto* key_begin = reinterpret_cast<const char*>(head.data()) + kItemHeaderSize;
    const size_t key_room = head.size() - static_cast<size_t>(kItemHeaderSize);
    const void* key_end = std::memchr(key_begin, 0, key_room);
    if (!key_end) return;
    const std::string key(key_begin, static_cast<const char*>(key_end));
    offset += kItemHeaderSize + static_cast<int64_t>(key.size()) + 1;
    if (value_size > end - offset) return;
    const bool is_text = (flags & 6) == 0;
    // Keys are ASCII of two characters or more; UTF-8 does no harm.
    if (is_text && key.size() >= 2 && IsValidUtf8(key) && value_size != 0) {
      --limits.fields_left;
      ReadItem(key, file.At(offset, value_size), fields);
    }
    offset += value_size;
  }
}

}  // namespace

bool ReadApe(CachedSource& file, int64_t floor, int64_t& end, TagLimits& limits, TagFields& fields) {
  if (end - kFooterSize < floor) return false;
  const auto footer = file.At(end - kFooterSize, kFooterSize);
  if (footer.size() != kFooterSize || std::memcmp(footer.data(), "APETAGEX", 8) != 0) return false;
  const uint32_t version = LittleEndian32(footer.subspan(8));
  const int64_t size = LittleEndian32(footer.subspan(12));
  const uint32_t count = LittleEndian32(footer.subspan(16));
  const bool version1 = version < 2000;
  const uint32_t flags = version1 ? 0 : LittleEndian32(footer.subspan(20));
  if (size < kFooterSize || (flags & kIsHeader) != 0) return false;
  const int64_t items = end - size;
  const int64_t begin = items - ((flags & kHasHeader) != 0 ? kFooterSize : 0);
  if (begin < floor) return false;
  ReadItems(file, items, end - kFooterSize, count, version1, limits, fields);
  end = begin;
  return true;
}

}  // namespace melorin
