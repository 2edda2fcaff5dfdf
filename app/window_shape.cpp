// SPDX-License-Identifier: MIT
#include "app/window_shape.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace melorin {
namespace {

/// What is to be seen of the rows, as rectangles from the top down; rows that are alike are one.
std::vector<RECT> ShapeRectangles(WindowView& view) {
  const int width = view.Width() * view.Scale();
  const int height = view.Height() * view.Scale();
  std::vector<RECT> rectangles;
  size_t before = 0;  // Where the spans of the row above begin.
  for (int y = 0; y < height; ++y) {
    const size_t row = rectangles.size();
    for (int x = 0; x < width;) {
      const int left = x;
      const bool inside = view.IsInShape(x, y);
      x = view.ShapeRunEnd(x, y);
      if (inside) rectangles.push_back({left, y, x, y + 1});
    }
    const size_t count = rectangles.size() - row;
    const bool like_above =
        row - before == count && std::equal(rectangles.begin() + static_cast<ptrdiff_t>(before),
                                            rectangles.begin() + static_cast<ptrdiff_t>(row),
                                            rectangles.begin() + static_cast<ptrdiff_t>(row),
                                            [&](const RECT& above, const RECT& here) {
                                              return above.bottom == y && above.left == here.left &&
                                                     above.right == here.right;
                                            });
    if (like_above) {
      for (size_t i = before; i < row; ++i)
        rectangles[i].bottom = y + 1;
      rectangles.resize(row);
    } else {
      before = row;
    }
  }
  return rectangles;
}

}  // namespace

GdiObject<HRGN> ShapeOf(WindowView& view) {
  const std::vector<RECT> rectangles = ShapeRectangles(view);
  const RECT whole = {0, 0, view.Width() * view.Scale(), view.Height() * view.Scale()};
  // A skin without anything to be seen would make a window that nobody finds.
  if (rectangles.empty() || (rectangles.size() == 1 && EqualRect(rectangles.data(), &whole))) return {};
  const size_t bytes = rectangles.size() * sizeof(RECT);
  RGNDATAHEADER header{};
  header.dwSize = sizeof(header);
  header.iType = RDH_RECTANGLES;
  header.nCount = static_cast<DWORD>(rectangles.size());
  header.nRgnSize = static_cast<DWORD>(bytes);
  header.rcBound = whole;
  std::vector<DWORD> data((sizeof(header) + bytes) / sizeof(DWORD));
  std::memcpy(data.data(), &header, sizeof(header));
  std::memcpy(data.data() + sizeof(header) / sizeof(DWORD), rectangles.data(), bytes);
  return GdiObject<HRGN>(ExtCreateRegion(nullptr, static_cast<DWORD>(data.size() * sizeof(DWORD)),
                                         reinterpret_cast<const RGNDATA*>(data.data())));
}

}  // namespace melorin
