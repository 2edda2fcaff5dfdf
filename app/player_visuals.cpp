// SPDX-License-Identifier: MIT
#include "app/player_visuals.h"

#include <algorithm>
#include <utility>

#include "playback/playback_stream.h"

namespace melorin {
namespace {

constexpr int32_t kEffects = 4;

int32_t EffectOf(CommandId command) {
  return OffsetFrom(command, CommandId::kVisualNone, kEffects);
}

}  // namespace

static_assert(VisualFrame::kSamples == kVisualFrames && VisualFrame::kBins == kVisualBins);

PlayerVisuals::PlayerVisuals(Player& player, std::function<void()> changed)
    : player_(player), changed_(std::move(changed)) {}

bool PlayerVisuals::Read(VisualFrame* frame, bool wave, bool spectrum) {
  const PlayerControl& control = player_.Control();
  PlaybackStream* stream = control.Stream();
  if (!stream || control.State() != PlayState::kPlaying) return false;
  if (stream->GetVisualData(&data_, spectrum ? kVisualStereo : kVisualNone,
                            wave ? kVisualStereo : kVisualNone) != S_OK)
    return false;
  frame->sample_rate = stream->Format().nSamplesPerSec;
  if (wave) frame->wave = data_.wave;
  if (spectrum) {
    // What one side plays alone is as loud as it is there.
    std::transform(data_.spectrum[0].begin(), data_.spectrum[0].end(), data_.spectrum[1].begin(),
                   frame->spectrum.begin(), [](float left, float right) { return std::max(left, right); });
  }
  return true;
}

bool PlayerVisuals::Handles(CommandId command) const {
  return EffectOf(command) >= 0 || command == CommandId::kVisualNext;
}

bool PlayerVisuals::IsChecked(CommandId command) const {
  return EffectOf(command) >= 0 && EffectOf(command) == player_.Data().Values().visual.type;
}

void PlayerVisuals::Execute(CommandId command) {
  int32_t& type = player_.Values().visual.type;
  type = command == CommandId::kVisualNext ? (std::clamp(type, 0, kEffects - 1) + 1) % kEffects
                                           : EffectOf(command);
  player_.OnSettingsChanged();
  if (changed_) changed_();
}

}  // namespace melorin
