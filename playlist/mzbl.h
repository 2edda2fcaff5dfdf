// SPDX-License-Identifier: MIT
//
// The binary list format, the player's own store. All numbers are little-endian; a string is a signed 32-bit
// byte count and the bytes. The file is "MZBL", the format version 1, the code page of all strings (65001 or
// 936), the list's name, then entries to the end of the file. An entry is its path, 16 bits of flags
// (MzblFlags) and the fields that the flags announce, in the order of the flags. Thread: any one.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "playlist/list_reading.h"

namespace melorin {

enum MzblFlags : uint16_t {
  kMzblSubtrack = 1,   ///< 16 bits.
  kMzblTitle = 2,      ///< String.
  kMzblDuration = 4,   ///< Signed 32 bits, milliseconds.
  kMzblTimeStamp = 8,  ///< 32 bits.
  kMzblCodec = 16,     ///< String, and the stream format: 32, 16, 16 and 32 bits.
  kMzblTags = 32,      ///< 16 bits count, and as many pairs of strings.
};

/// Appends the file's entries and gives the list the file's name. A negative count of bytes, or one past the
/// end, ends the reading; `complete` is false then. A file that is not recognised changes nothing. An item
/// that was known before keeps its title and duration, and its time stamp when the entry has none.
ListReadResult ReadMzbl(std::span<const uint8_t> bytes, const ListReading& reading, Playlist& list);

/// The whole file, in UTF-8. An item that stands in the list again is written with path and subtrack only.
std::vector<uint8_t> WriteMzbl(const Playlist& list, bool save_tags);

}  // namespace melorin
