// SPDX-License-Identifier: MIT
//
// ZipArchive: the files of a ZIP archive in memory. Format: PKWARE's APPNOTE.TXT 6.3; the names' Unicode form
// (extra field 0x7075) from Info-ZIP.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace melorin {

enum class ZipResult {
  kOpened,
  kNoArchive,    ///< No archive, or one whose directory is damaged or contradicts itself.
  kNotSupported  ///< In several volumes, encrypted, ZIP64, a method other than stored and deflated, too
                 ///< large.
};

struct ZipEntry {
  std::string name_gbk;  ///< As it stands, with either separator; not yet safe to use as a path.
  std::span<const uint8_t> packed;
  uint32_t size = 0;  ///< As the archive claims it.
  uint32_t crc = 0;
  bool deflated = false;
};

/// Thread: any once it is open.
class ZipArchive {
 public:
  static constexpr size_t kMostEntries = 10000;
  /// All files together, unpacked.
  static constexpr uint64_t kMostBytes = 256u << 20;

  /// `bytes` stay the caller's and must outlive this. Bytes before the archive (the program of a
  /// self-extracting one) and behind it are passed over.
  ZipResult Open(std::span<const uint8_t> bytes);

  /// All but folders, in the archive's order.
  const std::vector<ZipEntry>& Entries() const { return entries_; }

  /// False when the file is damaged or larger than `largest`; never more than that is allocated, nor more
  /// than deflate can make of what is there.
  static bool Read(const ZipEntry& entry, size_t largest, std::vector<uint8_t>& out);

 private:
  struct Directory;
  static ZipResult FindDirectory(std::span<const uint8_t> bytes, Directory& out);

  std::vector<ZipEntry> entries_;
};

}  // namespace melorin
