// SPDX-License-Identifier: MIT
//
// LyricDoc: a time-synchronised lyric in memory. lyric_file.h loads and saves it, lyric_tags.h takes it from
// what an audio file says of itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace melorin {

/// LRC text is cut into lines of so many UTF-16 units.
inline constexpr size_t kLongestLrcLine = 4095;

struct LyricLine {
  std::string text_gbk;
  int32_t time_ms = 0;  ///< May be negative.
  bool operator==(const LyricLine&) const = default;
};

/// What belongs to a playback time.
struct LyricPosition {
  size_t index = 0;      ///< Of the current line; the number of lines when the last has ended: none is lit.
  int32_t start_ms = 0;  ///< Of the current line.
  int32_t end_ms = 0;    ///< The next line's start; start_ms when the last has ended.
  int32_t progress = 0;  ///< How far the line is, in the units of the extent; negative before the first line.
};

/// Thread: one at a time; different documents are independent.
class LyricDoc {
 public:
  std::string title_gbk;   ///< Of the last [ti:.
  std::string artist_gbk;  ///< Of the last [ar:.
  std::string album_gbk;   ///< Of the last [al:.
  std::string by_gbk;      ///< Of the last [by:, the author of the lyric file.
  /// All lines without "[", each followed by CR LF.
  std::string plain_text_gbk;

  /// Sorted by time, no two of one time; only ShiftLine may leave them unsorted.
  const std::vector<LyricLine>& Lines() const { return lines_; }
  void Clear();

  /// Clears the document and reads LRC text, up to its first zero if it has one. False when no timed line
  /// results (the other fields may be filled then). A time that 32 bits cannot hold, after the offset too,
  /// gives no line; see lrc_time.h for what a time tag may look like. All line texts together are 8 MB at
  /// most; lines that go beyond are left out.
  bool Parse(std::u16string_view text);
  /// The same for text that is code page 936 and nothing else (see IsValidGbk), with the same result.
  bool ParsePlainGbk(std::string_view gbk);
  /// LRC text. `merge`: lines of the same text become one with several time tags (the setting
  /// "SaveCompress").
  std::u16string Write(bool merge) const;

  /// Keeps the array sorted. Where a line of exactly that time stands, the text of more characters stays, the
  /// older one on equal length.
  void InsertLine(std::string_view text_gbk, int32_t time_ms);
  /// False for an index outside. Does not sort. Times that would not fit in 32 bits stay at the limit.
  bool ShiftLine(size_t index, int32_t delta_ms);
  /// False when there are no lines.
  bool ShiftAll(int32_t delta_ms);
  /// The times of words within the lines' texts (see word_times.h), which ShiftAll leaves alone.
  void ShiftWords(int32_t delta_ms);
  /// Takes white space from both ends of every line's text (the setting "TrimSpaces").
  void TrimAll();

  /// The line of a playback time. `extent` is the display's measure of a line in pixels (row height plus
  /// interval, or the line's width when it scrolls sideways), at least 1. `previous_index` is kept before the
  /// first line. Nothing without lines.
  std::optional<LyricPosition> LineAtTime(int32_t time_ms, int32_t extent, size_t previous_index) const;

 private:
  /// What InsertLine would make of them one after the other in an empty document, without its cost for many.
  void TakeLines(std::vector<LyricLine> lines);
  bool InsertTitleLine();

  std::vector<LyricLine> lines_;
};

}  // namespace melorin
