// SPDX-License-Identifier: MIT
//
// Ctrl+C, noted so that a command can leave nothing half done behind.
#pragma once

namespace melorin {

/// While one lives, the first Ctrl+C or request to end the program is noted instead of ending it; the second
/// ends it. What the program was started to ignore it goes on ignoring. Thread: the main thread, one object
/// at a time.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  bool Interrupted() const;
};

}  // namespace melorin
