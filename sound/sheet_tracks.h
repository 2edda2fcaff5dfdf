// SPDX-License-Identifier: MIT
//
// Files that hold several tracks: what a CUE sheet lists, and how one of its tracks is opened.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tags/tag_set.h"

namespace melorin {

class SoundLibrary;

/// One track of a sheet. It is opened by the sheet's own path with SubtrackFlags(number) as flags.
struct SheetTrack {
  uint32_t number = 0;       ///< As the sheet says, from 1.
  std::string title_gbk;     ///< Empty when the sheet gives none.
  int32_t duration_ms = -2;  ///< -2: not known (the last track of a file that cannot be opened).
  TagFields tags;            ///< Title, Artist, Album, Tracknumber …
};

/// Flags for SoundLibrary::OpenSource that select a track: the number stands in the upper 16 bits.
constexpr uint32_t SubtrackFlags(uint32_t number) {
  return (number & 0xFFFF) << 16;
}
constexpr uint32_t SubtrackOfFlags(uint32_t flags) {
  return flags >> 16;
}

/// The audio tracks of the sheet in their order; empty when it cannot be read or has none. The audio files
/// themselves are opened only to learn the length of the last track of each. Thread: any.
std::vector<SheetTrack> ReadSheetTracks(const SoundLibrary& library, const std::string& path_gbk);

}  // namespace melorin
