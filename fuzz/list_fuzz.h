// SPDX-License-Identifier: MIT
//
// What the targets of the list formats share: reading in a folder of Windows, and the promise that a list
// that was written is read back as what was written.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "playlist/list_reading.h"

namespace melorin {

inline ListReading FuzzReading(uint8_t choice) {
  ListReading reading;
  reading.folder_gbk = "D:\\lists";
  reading.full_path = [](const std::string& folder, const std::string& path) {
    return path[0] == '\\' ? folder.substr(0, 2) + path : folder + "\\" + path;
  };
  if ((choice & 0x40) != 0) reading.exists = [](const std::string& path) { return path.size() % 3 != 0; };
  if ((choice & 0x80) != 0)
    reading.read_sheet = [](const std::string&) {
      SheetTrack track;
      track.number = 1;
      track.title_gbk = "T";
      return std::vector<SheetTrack>{track};
    };
  return reading;
}

/// `read(bytes, reading, list)` and `write(list)`, which gives bytes as a string.
template <class Read, class Write>
void CheckRoundTrip(std::string_view first, uint8_t choice, Read read, Write write) {
  std::string text(first);
  for (int round = 0; round < 3; ++round) {
    const ComPtr<Playlist> list = Playlist::Create("List");
    const std::span<const uint8_t> bytes{reinterpret_cast<const uint8_t*>(text.data()), text.size()};
    const ListReadResult result = read(bytes, FuzzReading(round == 0 ? choice : 0), *list);
    if (result.entries != list->Size() || list->Size() > text.size()) std::abort();
    std::string written = write(*list);
    if (round > 0 && !result.complete) std::abort();
    if (round > 1 && written != text) std::abort();
    text = std::move(written);
  }
  if (ItemCache::Size() != 0) std::abort();
}

}  // namespace melorin
