// SPDX-License-Identifier: MIT
//
// What the storage of lists does to the disk, as operations that either happened or did not. Tests put a disk
// in their place that is full, or from which the power is cut. Thread: one.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace melorin {

class StorageDisk {
 public:
  virtual ~StorageDisk() = default;
  /// Creates the file, or empties it, and writes it out to the disk itself.
  virtual bool Write(const std::string& path_gbk, std::span<const uint8_t> bytes);
  /// Puts `from` in the place of `to` in one step. Tries for a moment when another program has one of them
  /// open.
  virtual bool Move(const std::string& from_gbk, const std::string& to_gbk);
  virtual bool Delete(const std::string& path_gbk);
};

}  // namespace melorin
