// SPDX-License-Identifier: MIT
//
// The settings that opening and playing a track read. The field names are those of the settings file.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "doc/settings_types.h"
#include "platform/com.h"
#include "playback/effects/track_gain.h"

namespace melorin {

struct PlaybackSettings {
  /// Packed device identifier (index in the word at byte 0, kind in the word at byte 2, the rest zero) or a
  /// DirectSound device's own identifier. Default: DirectSound, the system's default device.
  GUID device_type = {0x00010000, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
  uint32_t output_bits = 0;         ///< 8, 16, 24, 32; 0: the source's own width.
  uint32_t buffer_duration = 1000;  ///< ms; below 100 counts as 100.
  bool hardware_buffer = false;
  bool create_primary = false;
  /// 0 off; 1 triangular dither; 2 with first-order error feedback; 3 noise shaping for the rate; 4 the
  /// alternative shapers at 44100 and 48000 Hz.
  int32_t dither = 0;
  int32_t volume = 100;  ///< 0 to 100.
  int32_t balance = 0;   ///< -100 to 100.
  bool mute = false;
  int32_t thread_priority = 2;
  int32_t sound_fade_mode = 15;                                  ///< 1 play, 2 pause, 4 seek, 8 stop.
  std::array<uint32_t, 4> fade_duration = {300, 500, 800, 800};  ///< ms: play, pause, seek, stop.
  uint32_t resample_rate = 0;                                    ///< Hz; 0: the source's own.
  bool hq_resample = true;
  EqualizerBands equalizer;
  int32_t surround = 0;  ///< 0 off, to 100.
  bool auto_gain = false;
  bool auto_scan_gain = false;
  bool skip_scan_gain = true;
  /// What the list knows of the gain of the track that is opened, for a file whose tags say nothing of it.
  std::optional<TrackGain> listed_gain;
};

}  // namespace melorin
