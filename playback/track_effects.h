// SPDX-License-Identifier: MIT
//
// What can be changed about the sound of a track while it plays.
#pragma once

#include <cstdint>
#include <optional>

#include "doc/settings_types.h"
#include "playback/effects/track_gain.h"

namespace melorin {

/// The effects behind a decoder. Volume and balance are those that the chain itself applies, for devices that
/// refuse them; elsewhere they stay 100 and 0.
struct EffectSettings {
  EqualizerBands equalizer = {};       ///< All 0: flat.
  int32_t surround = 0;                ///< 0 off, to 100.
  int32_t balance = 0;                 ///< -100 to 100, positive attenuates the left.
  int32_t volume = 100;                ///< 0 to 100; -1 mutes.
  std::optional<TrackGain> gain = {};  ///< Gain normalisation; none leaves the track as loud as it is.
  double extra_gain_db = 0;            ///< On top of it, and not held back by the peak.
};

/// A change counts from the next block that is decoded, so it is heard when the device has played what it
/// holds, and never clicks; what is set before the first block, or the first after a seek, counts from its
/// first frame. Values out of range are cut. Thread: any, while the chain works.
class TrackEffects {
 public:
  virtual void Set(const EffectSettings& settings) = 0;
  /// What the track's loudness was measured to be: only after all of it was decoded from its start to its end
  /// without a seek. Thread: any.
  virtual std::optional<TrackGain> ScannedGain() const = 0;

 protected:
  ~TrackEffects() = default;
};

}  // namespace melorin
