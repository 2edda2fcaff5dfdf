// SPDX-License-Identifier: MIT
//
// Which channels stand left and right of the listener.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "playback/device_format.h"

namespace melorin {

/// The left/right pairs among the channels of a stream, front pair first; what is in none of them stands in
/// the middle (centre, low frequencies, back centre, mono).
struct SpeakerPairs {
  struct Pair {
    uint8_t left = 0;
    uint8_t right = 0;
  };
  std::array<Pair, 4> pairs = {};
  size_t count = 0;

  const Pair* begin() const { return pairs.data(); }
  const Pair* end() const { return pairs.data() + count; }

  /// By the standard speaker masks, see ChannelMask: in them every left speaker but the centre's neighbours
  /// has its right one as the next bit. Source: the speaker position bits of WAVEFORMATEXTENSIBLE.
  static SpeakerPairs Of(uint16_t channels) {
    constexpr uint32_t kLeftBits = 0x251;  // Front, back, front of centre, side.
    SpeakerPairs found;
    uint8_t channel = 0;
    for (uint32_t bits = ChannelMask(channels), bit = 1; bit <= bits; bit <<= 1) {
      if ((bits & bit) == 0) continue;
      if ((bit & kLeftBits) && (bits & bit << 1))
        found.pairs[found.count++] = {channel, static_cast<uint8_t>(channel + 1)};
      ++channel;
    }
    return found;
  }
};

}  // namespace melorin
