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

/// Opens the file (or its subtrack) and reads it; the failure is OpenSource's. Slow: it reads the disk.
/// Thread: any.
HRESULT ReadItemInfo(const SoundLibrary& library, const std::string& path_gbk, uint32_t subtrack,
                     ItemInfo* out);

/// Puts it into the item; the title is left to the formatter. Thread: the UI thread.
void ApplyItemInfo(PlayListItem& item, ItemInfo info);

}  // namespace melorin
