// SPDX-License-Identifier: MIT
//
// The equalizer's curves that everybody knows, and what the settings "Profile" and "ProfileLast" mean.
#pragma once

#include <span>

#include "doc/settings.h"

namespace melorin {

/// Values of the setting "Profile". From kEqualizerFirstPreset on: the presets in their order.
inline constexpr int32_t kEqualizerOff = 0;
inline constexpr int32_t kEqualizerCustom = 1;  ///< The user's own curve.
inline constexpr int32_t kEqualizerFirstPreset = 2;

/// dB that bands and preamplifier go up and down.
inline constexpr int32_t kEqualizerLimit = 12;

struct EqualizerPreset {
  const char16_t* name;
  EqualizerBands bands;
};
std::span<const EqualizerPreset> EqualizerPresets();
/// Off, the own curve and the presets.
int32_t EqualizerProfileCount();
/// "关闭", "自定义", "流行"; empty for a number that is none.
const char16_t* EqualizerProfileName(int32_t profile);

// What the user does to the settings; each keeps "Current", what sounds, in step. A "Profile" of the settings
// file that is none counts as off.

int32_t EqualizerProfileOf(const EqualizerSettings& settings);
/// The curve of the profile in use; of the last one while the equalizer is off.
const EqualizerBands& EqualizerShownBands(const EqualizerSettings& settings);
/// Off remembers the profile, which SwitchEqualizer(…, true) returns to.
void ChooseEqualizerProfile(EqualizerSettings& settings, int32_t profile);
void SwitchEqualizer(EqualizerSettings& settings, bool on);
/// Moves a band (or EqualizerBands::kPreamp) of the shown curve, which so becomes the user's own and sounds.
void MoveEqualizerBand(EqualizerSettings& settings, size_t band, int32_t db);
/// The user's own curve is that from now on, and it sounds.
void SetEqualizerCurve(EqualizerSettings& settings, const EqualizerBands& bands);
/// The user's own curve is flat and in use; off stays off.
void ResetEqualizer(EqualizerSettings& settings);
/// For settings that come from outside: where "Current" is not what "Profile" says, what sounds counts, as
/// the user's own curve.
void AdoptSoundingCurve(EqualizerSettings& settings);

}  // namespace melorin
