// SPDX-License-Identifier: MIT
//
// Where a playback stream posts its events: the main window in the player, a recorder in tests.
#pragma once

#include <cstdint>

namespace melorin {

class PlaybackStream;

/// The message that the player's main window takes stream events under.
inline constexpr uint32_t kStreamMessage = 0x1401;

/// Thread: Post is called from the decode thread; it must return at once.
class EventTarget {
 public:
  virtual void Post(uint32_t message, uint32_t event, PlaybackStream* stream) = 0;

 protected:
  ~EventTarget() = default;
};

}  // namespace melorin
