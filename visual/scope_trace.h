// SPDX-License-Identifier: MIT
//
// The trace of the oscilloscope: the sound wave as one upright stroke for each column of a display. Knows no
// colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace melorin {

/// The trace begins where the wave rises through zero, so that a steady tone stands still. Thread: one.
/// SetSize allocates, nothing else does.
class ScopeTrace {
 public:
  /// Rows top and bottom - 1 of a column and all between them.
  struct Stroke {
    int32_t top = 0;
    int32_t bottom = 0;
  };

  /// In pixels. `thickness`: the least height of a stroke.
  void SetSize(int32_t columns, int32_t rows, int32_t thickness);
  /// Both channels together; the spans are equally long.
  void Update(std::span<const int16_t> left, std::span<const int16_t> right);
  /// Silence: a line in the middle.
  void Flatten();

  std::span<const Stroke> Strokes() const { return strokes_; }
  bool IsFlat() const { return flat_; }

 private:
  int32_t RowOf(int32_t sample) const;
  void Put(size_t column, int32_t from, int32_t to);

  std::vector<Stroke> strokes_;
  int32_t rows_ = 0;
  int32_t thickness_ = 1;
  bool flat_ = true;
};

}  // namespace melorin
