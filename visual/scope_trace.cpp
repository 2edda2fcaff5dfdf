// SPDX-License-Identifier: MIT
#include "visual/scope_trace.h"

#include <algorithm>

namespace melorin {
namespace {

/// Of the samples, what is left to look for a place to begin in; the rest is drawn.
constexpr size_t kSearchedPart = 3;

int32_t Mixed(std::span<const int16_t> left, std::span<const int16_t> right, size_t at) {
  return (left[at] + right[at]) / 2;
}

}  // namespace

void ScopeTrace::SetSize(int32_t columns, int32_t rows, int32_t thickness) {
  rows_ = std::max(rows, 0);
  thickness_ = std::clamp(thickness, 1, std::max(rows_, 1));
  strokes_.assign(rows_ > 0 ? static_cast<size_t>(std::max(columns, 0)) : 0, {});
  Flatten();
}

int32_t ScopeTrace::RowOf(int32_t sample) const {
  // Full scale up is row 0, silence the middle row.
  return (32767 - sample) * (rows_ - 1) / 65535;
}

void ScopeTrace::Put(size_t column, int32_t from, int32_t to) {
  const int32_t high = std::min(from, to);
  const int32_t low = std::max(from, to) + 1;
  const int32_t missing = std::max(thickness_ - (low - high), 0);
  const int32_t top = std::clamp(high - missing / 2, 0, rows_ - std::max(low - high, thickness_));
  strokes_[column] = {top, top + std::max(low - high, thickness_)};
}

void ScopeTrace::Update(std::span<const int16_t> left, std::span<const int16_t> right) {
  const size_t columns = strokes_.size();
  if (columns == 0 || left.size() < 2 * kSearchedPart || left.size() != right.size()) return Flatten();
  const size_t searched = left.size() / kSearchedPart;
  size_t first = 0;
  for (size_t i = 1; i < searched; ++i) {
    if (Mixed(left, right, i - 1) >= 0 || Mixed(left, right, i) < 0) continue;
    first = i;
    break;
  }
  const size_t drawn = left.size() - searched;
  size_t at = first;
  int32_t row = RowOf(Mixed(left, right, first));
  for (size_t column = 0; column < columns; ++column) {
    // From where the column before has ended, so that the trace has no holes.
    int32_t high = row;
    int32_t low = row;
    const size_t end = first + (column + 1) * (drawn - 1) / columns;
    while (at < end) {
      row = RowOf(Mixed(left, right, ++at));
      high = std::min(high, row);
      low = std::max(low, row);
    }
    Put(column, high, low);
  }
  flat_ = false;
}

void ScopeTrace::Flatten() {
  for (size_t column = 0; column < strokes_.size(); ++column)
    Put(column, RowOf(0), RowOf(0));
  flat_ = true;
}

}  // namespace melorin
