// SPDX-License-Identifier: MIT
//
// How well the name of a lyric file stands for a song: 0 (not at all) to 9 (the same artist and title). The
// table of scores stands in name_similarity.cpp, how names are folded in name_fold.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lyrics/song_key.h"

namespace melorin {

inline constexpr int kCertainScore = 9;

/// What a name says of the recording, besides artist and title. A sum.
/// Another recording of the same words: live, acoustic, demo, remix, cover.
inline constexpr uint16_t kVersionLive = 1;
/// "Instrumental", "伴奏".
inline constexpr uint16_t kVersionNoVoice = 2;
inline constexpr uint16_t kVersionMandarin = 0x10;
inline constexpr uint16_t kVersionCantonese = 0x20;
inline constexpr uint16_t kVersionHokkien = 0x40;
inline constexpr uint16_t kVersionEnglish = 0x80;
inline constexpr uint16_t kVersionJapanese = 0x100;
inline constexpr uint16_t kVersionKorean = 0x200;
inline constexpr uint16_t kVersionOtherLanguage = 0x400;
inline constexpr uint16_t kVersionLanguages = 0x7F0;

/// A name as it is compared: letters and digits only, with case, marks, full-width forms and traditional
/// characters folded away, cut into its parts. Making one costs more than comparing two.
struct FoldedName {
  struct Part {
    uint16_t end = 0;        ///< In `text`; a part begins where the one before ends.
    uint16_t extra_end = 0;  ///< The same in `extras`.
    uint8_t article = 0;     ///< Units at the part's start that are "the".
    uint8_t number = 0;      ///< Units at the part's start that may be a track number.
    bool is_number = false;  ///< A track number and nothing else.
  };
  std::u16string text;
  std::u16string extras;         ///< What stood in brackets and is not known to mean nothing.
  std::vector<uint16_t> joints;  ///< Where in `text` one artist may end and another begin ("&").
  std::vector<Part> parts;
  std::u16string base;    ///< All of a file's name. Empty: the same as `text`.
  uint16_t versions = 0;  ///< A sum of the numbers above.
  bool is_song = false;   ///< The first part is the artist, the others are the title; else any may be either.
};
FoldedName FoldName(std::string_view base_name_gbk);
FoldedName FoldSong(const SongKey& key);

/// 0 to 9. Symmetric.
int Similarity(const FoldedName& a, const FoldedName& b);

/// For an index: if Similarity(a, b) is not 0, then a number of LookupKeys(a) is among IndexKeys(b). Sorted,
/// each once.
std::vector<uint32_t> IndexKeys(const FoldedName& name);
std::vector<uint32_t> LookupKeys(const FoldedName& name);

}  // namespace melorin
