// SPDX-License-Identifier: MIT
//
// The XML list format: <mzplaylist> with <items>, in it an <item> for each entry, with <fmt> and <tag> below
// it for what is known of the file. Thread: any one.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "playlist/list_paths.h"
#include "playlist/list_reading.h"

namespace melorin {

/// Appends the file's entries and gives the list the file's name. The text is read as UTF-8 whatever its
/// declaration says. `recognised`: the root was found and has a version up to 3. A fault ends the reading;
/// what was read before it stays.
///
/// An item that was known before keeps its title and duration, and its time stamp when the entry has none:
/// the second entry of an item is written without one.
ListReadResult ReadMzpl(std::span<const uint8_t> bytes, const ListReading& reading, Playlist& list);

/// The whole file. An item that stands in the list again is written with path and subtrack only. Of several
/// tags of one name the last is written.
std::string WriteMzpl(const Playlist& list, const RelativeBase& base, bool save_tags);

}  // namespace melorin
