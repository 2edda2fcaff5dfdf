// SPDX-License-Identifier: MIT
//
// What a lyric is looked for by: artist and title of a song and the name of its file.
#pragma once

#include <string>
#include <string_view>

#include "playlist/play_list_item.h"

namespace melorin {

/// All trimmed of white space, GBK.
struct SongKey {
  std::string artist;
  std::string title;
  std::string base_name;  ///< The file's name without folder and extension.

  /// "artist - title", or the base name without an artist.
  std::string FullName() const;
};

struct ArtistAndTitle {
  std::string artist;
  std::string title;
};
/// Splits a file's base name "artist - title" (the rule stands in the .cpp file). Without a way to split it,
/// all of it is the title.
ArtistAndTitle SplitBaseName(std::string_view base_name_gbk);

SongKey MakeSongKey(std::string_view path_gbk, std::string_view artist_gbk, std::string_view title_gbk);
/// From the item's path and tags. Thread: any.
SongKey SongKeyOf(const PlayListItem& item);

}  // namespace melorin
