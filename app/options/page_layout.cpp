// SPDX-License-Identifier: MIT
#include "app/options/page_layout.h"

#include <algorithm>
#include <cstddef>

namespace melorin {
namespace {

/// Items of one row: an item over the whole row stands alone.
struct Row {
  size_t first;
  size_t count;
};

std::vector<Row> RowsOf(const LayoutGroup& group) {
  const auto columns = static_cast<size_t>(std::max(group.columns, 1));
  std::vector<Row> rows;
  bool open = false;
  for (size_t i = 0; i < group.items.size(); ++i) {
    const bool alone = group.items[i].whole_row;
    if (alone || !open || rows.back().count == columns) rows.push_back({i, 0});
    ++rows.back().count;
    open = !alone;
  }
  return rows;
}

int HeightOf(const LayoutItem& item) {
  int height = 0;
  for (const LayoutPiece& piece : item.pieces)
    height = std::max(height, piece.height);
  return height;
}

LayoutRect Centred(int x, int y, int width, int height, int row_height) {
  return {x, y + (row_height - height) / 2, std::max(width, 0), height};
}

PlacedItem PlaceItem(const LayoutItem& item, int label_column, const LayoutRect& cell,
                     const LayoutSpacing& gaps) {
  PlacedItem placed;
  int x = cell.x + item.indent;
  int left = cell.width - item.indent;
  if (item.label_width > 0) {
    placed.label = {x, cell.y, item.label_width, cell.height};
    const int taken = label_column - item.indent + gaps.piece_gap;
    x += taken;
    left -= taken;
  }
  int fillers = 0;
  for (const LayoutPiece& piece : item.pieces) {
    left -= piece.width;
    fillers += piece.width == 0 ? 1 : 0;
  }
  left -= gaps.piece_gap * std::max(static_cast<int>(item.pieces.size()) - 1, 0);
  for (const LayoutPiece& piece : item.pieces) {
    const int width = piece.width > 0 ? piece.width : std::max(left, 0) / fillers;
    placed.pieces.push_back(Centred(x, cell.y, width, piece.height, cell.height));
    x += width + gaps.piece_gap;
  }
  return placed;
}

/// The widest label of each column, with its indent; items over the whole row count for the first.
std::vector<int> LabelColumns(const LayoutGroup& group, const std::vector<Row>& rows) {
  std::vector<int> widths(static_cast<size_t>(std::max(group.columns, 1)));
  for (const Row& row : rows)
    for (size_t i = 0; i < row.count; ++i) {
      const LayoutItem& item = group.items[row.first + i];
      if (item.label_width > 0) widths[i] = std::max(widths[i], item.indent + item.label_width);
    }
  return widths;
}

PlacedGroup PlaceGroup(const LayoutGroup& group, int x, int y, int width, const LayoutSpacing& gaps) {
  PlacedGroup placed;
  const int columns = std::max(group.columns, 1);
  const int side = group.titled ? gaps.group_side : 0;
  const int inner = width - 2 * side;
  const int column_width = (inner - (columns - 1) * gaps.column_gap) / columns;
  const std::vector<Row> rows = RowsOf(group);
  const std::vector<int> labels = LabelColumns(group, rows);
  int top = y + (group.titled ? gaps.group_top : 0);
  for (const Row& row : rows) {
    int height = 0;
    for (size_t i = 0; i < row.count; ++i)
      height = std::max(height, HeightOf(group.items[row.first + i]));
    for (size_t i = 0; i < row.count; ++i) {
      const LayoutItem& item = group.items[row.first + i];
      const LayoutRect cell = {x + side + static_cast<int>(i) * (column_width + gaps.column_gap), top,
                               item.whole_row ? inner : column_width, height};
      placed.items.push_back(PlaceItem(item, labels[i], cell, gaps));
    }
    top += height + gaps.row_gap;
  }
  if (!rows.empty()) top -= gaps.row_gap;
  placed.frame = {x, y, width, top + side - y};
  return placed;
}

}  // namespace

PlacedPage PlacePage(const std::vector<LayoutGroup>& groups, int width, const LayoutSpacing& spacing) {
  PlacedPage page;
  int y = spacing.margin;
  for (const LayoutGroup& group : groups) {
    if (!page.groups.empty()) y += spacing.group_gap;
    page.groups.push_back(PlaceGroup(group, spacing.margin, y, width - 2 * spacing.margin, spacing));
    y += page.groups.back().frame.height;
  }
  page.height = y + spacing.margin;
  return page;
}

}  // namespace melorin
