// SPDX-License-Identifier: MIT
//
// Where the controls of a page lie: groups below each other, rows in a group, one or more columns, labels of
// a column as wide as its widest. Pixels; knows no window.
#pragma once

#include <cstdint>
#include <vector>

namespace melorin {

struct LayoutRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const LayoutRect&) const = default;
};

/// One control of an item.
struct LayoutPiece {
  int width = 0;  ///< 0: what the others leave, shared by all such pieces of the item.
  int height = 0;
};

/// What stands in one cell: a label, perhaps, and controls side by side.
struct LayoutItem {
  int indent = 0;
  int label_width = 0;     ///< 0: no label.
  bool whole_row = false;  ///< Over all columns.
  std::vector<LayoutPiece> pieces;
};

struct LayoutGroup {
  bool titled = true;  ///< A frame with a title around it.
  int columns = 1;
  std::vector<LayoutItem> items;
};

struct LayoutSpacing {
  int margin = 0;      ///< Around the page.
  int group_top = 0;   ///< From a frame's top to its first row.
  int group_side = 0;  ///< From a frame's other sides to what is in it.
  int group_gap = 0;   ///< Between two groups.
  int row_gap = 0;     ///< Between two rows.
  int piece_gap = 0;   ///< Between a label and its control, and between controls.
  int column_gap = 0;  ///< Between two columns.
};

struct PlacedItem {
  LayoutRect label;
  std::vector<LayoutRect> pieces;
};
struct PlacedGroup {
  LayoutRect frame;
  std::vector<PlacedItem> items;
};
struct PlacedPage {
  std::vector<PlacedGroup> groups;
  int height = 0;  ///< With the margins.
};

/// Items fill rows from left to right; pieces and labels are centred in their row's height. A control never
/// gets less than nothing: on a page that is too narrow it is cut to a width of 0.
PlacedPage PlacePage(const std::vector<LayoutGroup>& groups, int width, const LayoutSpacing& spacing);

}  // namespace melorin
