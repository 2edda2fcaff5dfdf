// SPDX-License-Identifier: MIT
//
// The gain that the tags of an opened track carry.
#pragma once

#include <optional>

#include "playback/effects/track_gain.h"
#include "sound/interfaces.h"

namespace melorin {

/// None when the source has no tags, or they no gain that makes sense. Thread: the UI thread.
std::optional<TrackGain> ReadTrackGain(SoundSource& source);
/// Puts the gain into the tags of the opened track, as if the file had it; the file stays as it is. Nothing
/// happens for a source without tags. Thread: the UI thread.
void WriteTrackGain(SoundSource& source, const TrackGain& gain);

}  // namespace melorin
