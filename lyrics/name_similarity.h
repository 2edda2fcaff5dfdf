// SPDX-License-Identifier: MIT
//
// How well the name of a lyric file stands for a song: 0 (not at all) to 9 (the same artist and title).
#pragma once

#include <string>
#include <string_view>

#include "lyrics/song_key.h"

namespace melorin {

inline constexpr int kCertainScore = 9;

/// A name as it is compared: split into artist and title, with case, full-width forms, traditional
/// characters, punctuation, track numbers and bracketed extras folded away. Making one costs more than
/// comparing two, so an index keeps them.
struct FoldedName {
  std::string artist;
  std::string title;
  std::string whole;
};
FoldedName FoldName(std::string_view base_name_gbk);
FoldedName FoldSong(const SongKey& key);

/// 0 to 9. Symmetric.
int Similarity(const FoldedName& a, const FoldedName& b);

}  // namespace melorin
