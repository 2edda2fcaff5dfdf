// SPDX-License-Identifier: MIT
//
// LyricLayout: where the lines of a lyric lie along the way that they scroll: below each other and broken
// into rows where they are too long, or one behind the other. All sizes are pixels of the target.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "skin/text_painter.h"

namespace melorin {

/// The widths of single characters, each asked for once: so a long lyric is measured in no time.
class CharacterWidths {
 public:
  /// `text` may be null: then half the height a byte.
  void SetStyle(TextPainter* text, const TextStyle& style);
  int32_t Of(std::string_view character);

 private:
  TextPainter* text_ = nullptr;
  TextStyle style_;
  std::vector<int32_t> known_;  ///< By the bytes of one- and two-byte characters; -1: not yet.
  std::unordered_map<std::string, int32_t> long_forms_;
};

class LyricLayout {
 public:
  struct Measures {
    bool sideways = false;
    int32_t room = 0;        ///< How wide a row may be; sideways it has all it needs.
    int32_t row_height = 0;  ///< Of the text itself.
    int32_t interval = 0;    ///< Between two lines; sideways the gap between them.
    bool operator==(const Measures&) const = default;
  };
  /// A part of a line's text.
  struct Row {
    size_t line = 0;
    size_t begin = 0;  ///< Bytes.
    size_t size = 0;
    int32_t width = 0;
  };
  struct Line {
    int32_t start = 0;   ///< Along the way.
    int32_t extent = 0;  ///< Half the interval at either end belongs to it.
    size_t first_row = 0;
    size_t rows = 0;
    int32_t width = 0;  ///< Of all its rows together.
  };

  void Make(const std::vector<std::string>& texts_gbk, CharacterWidths& widths, const Measures& measures);

  const std::vector<Line>& Lines() const { return lines_; }
  const Row& RowAt(size_t row) const { return rows_[row]; }
  size_t RowCount() const { return rows_.size(); }
  int32_t Total() const { return lines_.empty() ? 0 : lines_.back().start + lines_.back().extent; }
  /// The line there; the first or last one beyond. There must be lines.
  size_t LineAt(int32_t way) const;
  /// What the longest line would need in one row.
  int32_t NaturalWidth() const { return natural_width_; }

 private:
  struct Piece {
    size_t size = 0;  ///< Bytes up to the next place where the line may be broken.
    int32_t width = 0;
    int32_t blank = 0;  ///< Width of the blanks at its end, which count for nothing at the end of a row.
  };
  void CutIntoPieces(std::string_view text, CharacterWidths& widths, int32_t room);
  /// How many rows the pieces need at that width. `rows`, when given, receives them.
  size_t Fill(int32_t room, size_t line, std::vector<Row>* rows) const;

  std::vector<Line> lines_;
  std::vector<Row> rows_;
  std::vector<Piece> pieces_;
  int32_t natural_width_ = 0;
};

}  // namespace melorin
