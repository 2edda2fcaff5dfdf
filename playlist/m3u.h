// SPDX-License-Identifier: MIT
//
// The text list format: a path a line, with "#EXTINF:seconds,title" before it. ".m3u" is code page 936, which
// is the internal text as it stands; ".m3u8" is UTF-8 with a byte-order mark. Thread: any one.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "playlist/list_paths.h"
#include "playlist/list_reading.h"

namespace melorin {

enum class M3uText { kGbk, kUtf8 };

/// Appends the file's entries. An ".m3u" file with the UTF-8 byte-order mark is read as UTF-8: as GBK text it
/// would begin with a character that stands in no path. Lines of nothing but spaces count as empty.
///
/// The line after "#EXTINF:" is the path that it belongs to, even when it begins with "#", as the relative
/// path of a folder "#1 Hits" does; only "#EXT…" lines, which other programs put in between, are passed over.
///
/// A sheet gives all its tracks; when it is named several times in a row, which is how its tracks are
/// written, it gives them once.
ListReadResult ReadM3u(std::span<const uint8_t> bytes, M3uText text, const ListReading& reading,
                       Playlist& list);

/// The whole file. What code page 936 cannot hold is written into ".m3u" in the four-byte forms that the
/// internal text has for it (GB18030): this player reads them back. Line breaks in titles become spaces, and
/// a relative path that would be taken for a comment is written in full.
std::string WriteM3u(const Playlist& list, M3uText text, const RelativeBase& base);

}  // namespace melorin
