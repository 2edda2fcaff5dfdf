// SPDX-License-Identifier: MIT
//
// Makes ZIP archives byte by byte, right ones and wrong ones.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zip_build {

inline std::string Le16(uint32_t value) {
  return {static_cast<char>(value & 255), static_cast<char>(value >> 8 & 255)};
}
inline std::string Le32(uint32_t value) {
  return Le16(value) + Le16(value >> 16);
}
inline uint32_t Crc(std::string_view bytes) {
  return static_cast<uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}
inline std::span<const uint8_t> Bytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

inline std::string Deflated(std::string_view data) {
  z_stream stream = {};
  deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&stream, static_cast<uLong>(data.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

struct Entry {
  std::string name = {};
  std::string data = {};
  bool deflate = false;
  uint32_t flags = 0;
  uint32_t made_by = 0;
  std::string extra = {};
  // What the directory claims, where that is not the truth.
  std::optional<uint32_t> method = {};
  std::optional<uint32_t> crc = {};
  std::optional<uint32_t> size = {};
  std::optional<uint32_t> packed_size = {};
  std::optional<uint32_t> offset = {};
};

struct Archive {
  std::vector<Entry> entries = {};
  std::string comment = {};
  std::string before = {};  ///< In front of the archive, not counted in its offsets.
  std::string at_end = {};  ///< Behind the comment, not counted in its length.
  std::optional<uint32_t> count = {};
  uint32_t volume = 0;

  std::string Build() const {
    std::string files;
    std::string directory;
    for (const Entry& entry : entries) {
      const std::string packed = entry.deflate ? Deflated(entry.data) : entry.data;
      const auto offset = static_cast<uint32_t>(files.size());
      const uint32_t method = entry.method.value_or(entry.deflate ? 8 : 0);
      const auto name_size = static_cast<uint32_t>(entry.name.size());
      // With bit 3 sizes and checksum follow the data.
      const bool behind = (entry.flags & 8) != 0;
      const auto sizes = [&](bool claimed) {
        const uint32_t crc = claimed ? entry.crc.value_or(Crc(entry.data)) : Crc(entry.data);
        const auto real = static_cast<uint32_t>(packed.size());
        return Le32(crc) + Le32(claimed ? entry.packed_size.value_or(real) : real) +
               Le32(claimed ? entry.size.value_or(static_cast<uint32_t>(entry.data.size()))
                            : static_cast<uint32_t>(entry.data.size()));
      };
      files += "PK\3\4" + Le16(20) + Le16(entry.flags) + Le16(method) + Le32(0) +
               (behind ? std::string(12, '\0') : sizes(false)) + Le16(name_size) + Le16(0) + entry.name +
               packed;
      if (behind) files += "PK\7\x8" + sizes(false);
      directory += "PK\1\2" + Le16(entry.made_by << 8 | 20) + Le16(20) + Le16(entry.flags) + Le16(method) +
                   Le32(0) + sizes(true) + Le16(name_size) + Le16(static_cast<uint32_t>(entry.extra.size())) +
                   Le16(0) + Le16(0) + Le16(0) + Le32(0) + Le32(entry.offset.value_or(offset)) + entry.name +
                   entry.extra;
    }
    const auto entry_count = count.value_or(static_cast<uint32_t>(entries.size()));
    return before + files + directory + "PK\5\6" + Le16(volume) + Le16(volume) + Le16(entry_count) +
           Le16(entry_count) + Le32(static_cast<uint32_t>(directory.size())) +
           Le32(static_cast<uint32_t>(files.size())) + Le16(static_cast<uint32_t>(comment.size())) + comment +
           at_end;
  }
};

/// Info-ZIP's extra field with the name in UTF-8.
inline std::string UnicodePath(std::string_view utf8, std::string_view of_name) {
  return Le16(0x7075) + Le16(static_cast<uint32_t>(utf8.size() + 5)) + "\1" + Le32(Crc(of_name)) +
         std::string(utf8);
}

}  // namespace zip_build
