// SPDX-License-Identifier: MIT
//
// From the play offset that a Kernel Streaming driver reports to a position that can be trusted: it never
// goes back, never passes what was written, counts from 0 at each restart whatever the driver counts from,
// and goes on where a driver wraps its offset at 32 bits. An answer that cannot be true is a slip and moves
// nothing, unless the next ones say the same.
//
// Thread: one at a time; the device locks around it. No allocation.
#pragma once

#include <cstdint>

namespace melorin {

class KsPosition {
 public:
  /// Counts from 0 again; offset: what the driver reports now.
  void Restart(uint64_t offset);
  /// written: bytes since the restart. The position in bytes since then.
  uint64_t Update(uint64_t offset, uint64_t written);
  uint64_t Get() const { return position_; }

 private:
  uint64_t offset_ = 0;  ///< The last answer that was believed.
  uint64_t position_ = 0;
  uint64_t doubted_ = 0;  ///< The first one after it that was not.
  int doubts_ = 0;        ///< How many were not, in a row.
};

}  // namespace melorin
