// SPDX-License-Identifier: MIT
//
// What an item's file says of itself: duration, codec, format and tags, read through the sound library.
#pragma once

#include <string>

#include "playlist/list_file.h"
#include "playlist/play_list_item.h"
#include "sound/sound_library.h"

namespace melorin {

struct ItemInfo {
  std::string codec_gbk;
  int32_t duration_ms = kUnknownDuration;
  StreamFormat format;
  uint32_t time_stamp = 0;
  TagFields tags;
};

/// Lists keep no longer tags: a text of a song or a picture in each of 100,000 items would fill the memory.
/// Who wants them reads them from the file that is played.
inline constexpr size_t kLongestListedTag = 1024;

/// Opens the file (or its subtrack) once and reads it; the failure is OpenSource's, and then `out` holds the
/// time stamp only. What a file that opens does not tell stays unknown. Slow: it reads the disk. Thread: any.
HRESULT ReadItemInfo(const SoundLibrary& library, const std::string& path_gbk, uint32_t subtrack,
                     ItemInfo* out);

/// What an opened source says of itself: all but the time stamp. May throw std::bad_alloc.
ItemInfo InfoOfSource(SoundSource& source);

/// Puts it into the item; the title is left to the formatter. A gain that was measured while the item was
/// played
/// ("replaygain_" tags that the file does not have) stays as long as the file does. Thread: the UI thread.
void ApplyItemInfo(PlayListItem& item, const ItemInfo& info);

}  // namespace melorin
