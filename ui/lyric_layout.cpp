// SPDX-License-Identifier: MIT
#include "ui/lyric_layout.h"

#include <algorithm>

#include "lyrics/lrc_text.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// What of one line is shown at most; no song has such lines, but files may.
constexpr size_t kMostLineBytes = 2000;
/// Along the way, so that sums of pixels cannot overflow.
constexpr int32_t kLongestWay = 1 << 29;
/// A row in one piece must fit into a bitmap of sensible size.
constexpr int32_t kWidestRow = 8192;
/// Lines with more rows are not brought to rows of equal length.
constexpr size_t kMostEvenRows = 6;
constexpr size_t kTwoByteForms = 0x10000;

/// As much of the text as whole characters allow.
std::string_view Front(std::string_view text, size_t most) {
  if (text.size() <= most) return text;
  size_t size = 0;
  for (;;) {
    const size_t next = FirstCharacterSize(text.substr(size));
    if (size + next > most) return text.substr(0, size);
    size += next;
  }
}

/// Full-width marks that do not begin a row: 、。〉》」』】〕 and ！），．：；？］｝ and the quotes ’”…
bool ClosesRow(std::string_view character) {
  if (character.size() != 2) return false;
  const auto lead = static_cast<unsigned char>(character[0]);
  const auto trail = static_cast<unsigned char>(character[1]);
  if (lead == 0xA1) {
    return trail == 0xA2 || trail == 0xA3 || trail == 0xAD || trail == 0xAF || trail == 0xB1 ||
           trail == 0xB3 || trail == 0xB5 || trail == 0xB7 || trail == 0xB9 || trail == 0xBB || trail == 0xBF;
  }
  return lead == 0xA3 && (trail == 0xA1 || trail == 0xA9 || trail == 0xAC || trail == 0xAE || trail == 0xBA ||
                          trail == 0xBB || trail == 0xBF || trail == 0xDD || trail == 0xFD);
}

bool IsBlank(std::string_view character) {
  return character == " " || character == "\t" || character == "\xA1\xA1";
}

}  // namespace

void CharacterWidths::SetStyle(TextPainter* text, const TextStyle& style) {
  text_ = text;
  style_ = style;
  known_.clear();
  long_forms_.clear();
}

int32_t CharacterWidths::Of(std::string_view character) {
  if (!text_) return static_cast<int32_t>(character.size()) * style_.pixels / 2;
  if (character.size() > 2) {
    const auto [found, is_new] = long_forms_.try_emplace(std::string(character), 0);
    if (is_new) found->second = text_->WidthOf(character, style_);
    return found->second;
  }
  if (known_.empty()) known_.assign(kTwoByteForms, -1);
  size_t key = static_cast<unsigned char>(character[0]);
  if (character.size() == 2) key = key << 8 | static_cast<unsigned char>(character[1]);
  if (known_[key] < 0) known_[key] = text_->WidthOf(character, style_);
  return known_[key];
}

void LyricLayout::CutIntoPieces(std::string_view text, CharacterWidths& widths, int32_t room) {
  pieces_.clear();
  bool breaks = true;  // The last character may be the end of a row.
  for (size_t at = 0; at < text.size();) {
    const size_t size = FirstCharacterSize(text.substr(at));
    const std::string_view character = text.substr(at, size);
    const int32_t width = widths.Of(character);
    const bool blank = IsBlank(character);
    const bool wide = size > 1;
    if (blank && !pieces_.empty()) {
      pieces_.back().blank += width;
      breaks = true;
    } else {
      // A word longer than a row is broken anywhere.
      const bool too_long = !pieces_.empty() && pieces_.back().width + width > room;
      if (pieces_.empty() || too_long || ((breaks || wide) && !ClosesRow(character))) pieces_.push_back({});
      pieces_.back().blank = 0;
      breaks = wide;
    }
    pieces_.back().size += size;
    pieces_.back().width += width;
    at += size;
  }
}

size_t LyricLayout::Fill(int32_t room, size_t line, std::vector<Row>* rows) const {
  size_t count = 0;
  Row row{line, 0, 0, 0};
  int32_t blank = 0;
  const auto end_row = [&] {
    ++count;
    row.width -= blank;
    if (rows) rows->push_back(row);
    row = {line, row.begin + row.size, 0, 0};
  };
  for (const Piece& piece : pieces_) {
    if (row.size > 0 && row.width + piece.width - piece.blank > room) end_row();
    row.size += piece.size;
    row.width += piece.width;
    blank = piece.blank;
  }
  end_row();
  return count;
}

void LyricLayout::Make(const std::vector<std::string>& texts_gbk, CharacterWidths& widths,
                       const Measures& measures) {
  lines_.clear();
  rows_.clear();
  natural_width_ = 0;
  lines_.reserve(texts_gbk.size());
  const int32_t room = measures.sideways ? kWidestRow : std::clamp(measures.room, 1, kWidestRow);
  int32_t way = 0;
  for (size_t i = 0; i < texts_gbk.size(); ++i) {
    CutIntoPieces(Front(texts_gbk[i], kMostLineBytes), widths, room);
    Line line;
    line.start = way;
    line.first_row = rows_.size();
    int64_t whole = 0;
    for (const Piece& piece : pieces_)
      whole += piece.width;
    natural_width_ = std::max(natural_width_, static_cast<int32_t>(std::min<int64_t>(whole, kWidestRow)));
    const size_t needed = Fill(room, i, nullptr);
    int32_t even = room;
    if (needed > 1 && needed <= kMostEvenRows && !measures.sideways) {
      // The narrowest width that needs no more rows: none is left with a single character.
      int32_t low = 0;
      while (low + 1 < even) {
        const int32_t middle = low + (even - low) / 2;
        (Fill(middle, i, nullptr) > needed ? low : even) = middle;
      }
    }
    Fill(even, i, &rows_);
    if (measures.sideways) rows_.resize(line.first_row + 1);
    line.rows = rows_.size() - line.first_row;
    for (size_t row = line.first_row; row < rows_.size(); ++row)
      line.width += rows_[row].width;
    const int32_t size =
        measures.sideways ? line.width : static_cast<int32_t>(line.rows) * measures.row_height;
    line.extent = std::max(size + measures.interval, 1);
    way = std::min(way + line.extent, kLongestWay);
    lines_.push_back(line);
  }
}

size_t LyricLayout::LineAt(int32_t way) const {
  const auto after = std::upper_bound(lines_.begin(), lines_.end(), way,
                                      [](int32_t at, const Line& line) { return at < line.start; });
  return after == lines_.begin() ? 0 : static_cast<size_t>(after - lines_.begin()) - 1;
}

}  // namespace melorin
