// SPDX-License-Identifier: MIT
//
// What the lyric editor does to the text under work: LRC text as an edit control holds it, with CR LF at the
// ends of lines. Pure functions; each gives the smallest part that changes, so that the control can take it
// back. Thread: any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace melorin {

/// UTF-16 units of the text, `end` not included.
struct TextRange {
  size_t begin = 0;
  size_t end = 0;
  bool IsEmpty() const { return begin >= end; }
  bool operator==(const TextRange&) const = default;
};

/// The range is to be replaced; then the caret is to stand at `caret`.
struct TextChange {
  TextRange range;
  std::u16string text;
  size_t caret = 0;
  bool operator==(const TextChange&) const = default;
};

enum class StampMode {
  kAdd,      ///< In front of what times the line has: a chorus is sung several times.
  kReplace,  ///< Instead of them.
};

/// The lines that the range touches, without the line break of the last. A range that ends at the start of a
/// line does not touch that one, unless it is empty.
TextRange LinesOfRange(std::u16string_view text, TextRange range);

/// Gives the line of the caret a time tag. `to_next`: the caret goes on to the next line with any text,
/// otherwise it stays where it is in the line.
TextChange StampLine(std::u16string_view text, size_t caret, int32_t time_ms, StampMode mode, bool to_next);
/// Takes the time tags of the lines that the range touches away. Nothing when they have none.
std::optional<TextChange> RemoveStamps(std::u16string_view text, TextRange range);
/// Moves the time tags of the lines that the range touches, and with them the times of words within the
/// lines. Nothing when they have no tags. A time does not become less than zero, nor more than tags can hold.
std::optional<TextChange> ShiftStamps(std::u16string_view text, TextRange range, int32_t delta_ms);

/// Where a caret begins: at the line that is sung at that time, else at the first one that is neither empty
/// nor a header such as "[ti:…]"; the end of the text when there is none.
size_t LineToBeginWith(std::u16string_view text, int32_t time_ms);
/// The first time of the line of the caret.
std::optional<int32_t> TimeOfLine(std::u16string_view text, size_t caret);

/// All breaks (CR, LF, CR LF) as CR LF, up to the first zero.
std::u16string WithCrLf(std::u16string_view text);

}  // namespace melorin
