// SPDX-License-Identifier: MIT
#include "platform/text_tables.h"

#include <algorithm>
#include <iterator>

#include "platform/gb18030_tables.h"
#include "platform/text.h"

namespace melorin {
namespace {

uint16_t PairCode(int index) {
  const int trail = index % GbTables::kTrails;
  return static_cast<uint16_t>((0x81 + index / GbTables::kTrails) << 8 |
                               (0x40 + trail + (trail >= 0x3F ? 1 : 0)));
}

std::string PairBytes(int index) {
  const uint16_t code = PairCode(index);
  return {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
}

}  // namespace

const GbTables& GbTables::Get() {
  static const GbTables tables;
  return tables;
}

GbTables::GbTables() {
  for (const GbTwoByteRun& run : kGbTwoByteRuns) {
    for (int i = 0; i < run.count; ++i) {
      Enter(run.index + i, static_cast<char16_t>(run.unit + i));
      added_.set(static_cast<size_t>(run.index + i));
    }
  }
  ReadCodePage();
  for (char16_t c = 0; c < 0x80; ++c)
    codes_[c] = c;
  codes_[0x20AC] = 0x80;
}

void GbTables::Enter(int pair_index, char16_t unit) {
  const uint16_t code = PairCode(pair_index);
  units_[code & 0x7FFF] = unit;
  codes_[unit] = code;
}

/// The codes of GB18030 are left out: some platforms read them as private characters of their own choice,
/// some not at all, and everybody agrees on the rest.
void GbTables::ReadCodePage() {
  std::string bytes;
  bytes.reserve(2 * kPairs);
  for (int i = 0; i < kPairs; ++i)
    if (!added_[static_cast<size_t>(i)]) bytes += PairBytes(i);
  bool lossy = false;
  const std::u16string all = Utf16FromCodePage(kCodePageGbk, bytes, &lossy);
  const bool whole = !lossy && all.size() == bytes.size() / 2;
  size_t at = 0;
  for (int i = 0; i < kPairs; ++i) {
    if (added_[static_cast<size_t>(i)]) continue;
    if (whole) {
      Enter(i, all[at++]);
      continue;
    }
    // A platform with gaps: one by one, to see which.
    bool unassigned = false;
    const std::u16string one = Utf16FromCodePage(kCodePageGbk, PairBytes(i), &unassigned);
    if (!unassigned && one.size() == 1) Enter(i, one[0]);
  }
}

uint32_t GbFourIndex(char32_t c) {
  if (c >= 0x10000) return c <= 0x10FFFF ? kGbPlanesIndex + c - 0x10000 : kNoGbFour;
  const auto* const next =
      std::upper_bound(std::begin(kGbFourByteRanges), std::end(kGbFourByteRanges), c,
                       [](char32_t value, const GbFourByteRange& range) { return value < range.unit; });
  if (next == std::begin(kGbFourByteRanges)) return kNoGbFour;
  const uint32_t index = next[-1].index + (c - next[-1].unit);
  const uint32_t end = next == std::end(kGbFourByteRanges) ? kGbFourByteEnd : next->index;
  return index < end ? index : kNoGbFour;
}

char32_t CharacterOfGbFour(uint32_t index) {
  if (index >= kGbPlanesIndex)
    return index - kGbPlanesIndex < 0x100000 ? 0x10000 + index - kGbPlanesIndex : 0;
  if (index >= kGbFourByteEnd) return 0;
  const auto* const next =
      std::upper_bound(std::begin(kGbFourByteRanges), std::end(kGbFourByteRanges), index,
                       [](uint32_t value, const GbFourByteRange& range) { return value < range.index; });
  return next[-1].unit + (index - next[-1].index);
}

}  // namespace melorin
