// SPDX-License-Identifier: MIT
//
// Which items a writer has written already: the second entry of an item is written short. Thread: one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "playlist/play_list_item.h"

namespace melorin {

class WrittenItems {
 public:
  /// `count`: how many items will be asked about at most.
  explicit WrittenItems(size_t count) {
    size_t slots = 16;
    while (slots < count + count / 2)
      slots *= 2;
    slots_.resize(slots);
  }

  /// True the first time.
  bool Add(const PlayListItem* item) {
    const size_t mask = slots_.size() - 1;
    // Objects lie at multiples of 16; the product spreads neighbours over the table.
    size_t i = (reinterpret_cast<uintptr_t>(item) >> 4) * 0x9E3779B1u & mask;
    for (; slots_[i] != nullptr; i = (i + 1) & mask)
      if (slots_[i] == item) return false;
    slots_[i] = item;
    return true;
  }

 private:
  std::vector<const PlayListItem*> slots_;
};

}  // namespace melorin
