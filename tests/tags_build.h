// SPDX-License-Identifier: MIT
//
// Builders of tags for the tests: every one gives the bytes as a program would write them.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tags/byte_source.h"
#include "tags/tag_scan.h"

namespace melorin::tag_build {

using namespace std::string_literals;

inline std::span<const uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

inline std::string Number(uint64_t value, int bytes, int bits, bool big_endian) {
  std::string out;
  for (int i = 0; i < bytes; ++i) {
    const int shift = (big_endian ? bytes - 1 - i : i) * bits;
    out += static_cast<char>((value >> shift) & ((1u << bits) - 1));
  }
  return out;
}

inline std::string Padded(std::string text, size_t size, char fill = '\0') {
  text.resize(size, fill);
  return text;
}

/// What stands for the audio: nothing in it looks like a tag.
inline std::string Audio(size_t size = 600) {
  return std::string(size, '\x55');
}

struct Id3v1 {
  std::string title = {}, artist = {}, album = {}, year = {}, comment = {};
  char byte125 = 0;
  char track = 0;
  int genre = 255;
  char fill = '\0';
  std::string Build() const {
    std::string comment_field = Padded(comment, 28, fill) + byte125 + track;
    if (byte125 != 0) comment_field = Padded(comment, 30, fill);
    return "TAG" + Padded(title, 30, fill) + Padded(artist, 30, fill) + Padded(album, 30, fill) +
           Padded(year, 4, fill) + comment_field + static_cast<char>(genre);
  }
};

/// A frame of the given ID3v2 version. Flags are the second flag byte.
inline std::string Frame(int version, const std::string& id, const std::string& body, int flags = 0) {
  if (version == 2) return id + Number(body.size(), 3, 8, true) + body;
  return id + Number(body.size(), 4, version == 4 ? 7 : 8, true) + '\0' + static_cast<char>(flags) + body;
}

inline std::string Id3v2(int version, const std::string& body, int flags = 0) {
  const std::string rest =
      static_cast<char>(version) + "\0"s + static_cast<char>(flags) + Number(body.size(), 4, 7, true);
  return "ID3" + rest + body + ((flags & 0x10) != 0 ? "3DI" + rest : ""s);
}

inline std::string Unsynchronised(const std::string& bytes) {
  std::string out;
  for (size_t i = 0; i < bytes.size(); ++i) {
    out += bytes[i];
    const bool last = i + 1 == bytes.size();
    if (bytes[i] == '\xFF' && (last || bytes[i + 1] == '\0' || (bytes[i + 1] & '\xE0') == '\xE0'))
      out += '\0';
  }
  return out;
}

inline std::string ApeItem(const std::string& key, const std::string& value, uint32_t flags = 0) {
  return Number(value.size(), 4, 8, false) + Number(flags, 4, 8, false) + key + '\0' + value;
}

inline std::string Ape(const std::vector<std::string>& items, int version = 2000) {
  std::string body;
  for (const std::string& item : items)
    body += item;
  const auto block = [&](uint32_t flags) {
    return "APETAGEX" + Number(static_cast<uint64_t>(version), 4, 8, false) +
           Number(body.size() + 32, 4, 8, false) + Number(items.size(), 4, 8, false) +
           Number(version == 1000 ? 0 : flags, 4, 8, false) + std::string(8, '\0');
  };
  return (version == 1000 ? ""s : block(0xA0000000)) + body + block(0x80000000);
}

inline std::string Decimal(size_t value, size_t digits) {
  std::string text = std::to_string(value);
  return std::string(digits - text.size(), '0') + text;
}

inline std::string Lyrics3v2(const std::vector<std::pair<std::string, std::string>>& fields) {
  std::string body = "LYRICSBEGIN";
  for (const auto& [id, text] : fields)
    body += id + Decimal(text.size(), 5) + text;
  return body + Decimal(body.size(), 6) + "LYRICS200";
}

struct Read {
  TagScan scan;
  TagFields fields;
  std::map<std::string, std::string> Map() const {
    std::map<std::string, std::string> map;
    for (size_t i = 0; i < fields.size(); ++i)
      map[fields.name(i)] = fields.value(i);
    return map;
  }
  std::string operator[](std::string_view name) const {
    const std::string* found = fields.Find(name);
    return found ? *found : "(none)";
  }
};

inline Read ReadAll(const std::string& file, uint32_t kinds = 0,
                    TagPriority priority = TagPriority::kId3v2First) {
  Read read;
  // A copy of its own, so that the sanitizer sees a read past the end.
  const std::vector<uint8_t> bytes(file.begin(), file.end());
  MemoryByteSource source(bytes);
  read.scan = ReadTags(source, kinds, read.fields, priority);
  return read;
}

}  // namespace melorin::tag_build
