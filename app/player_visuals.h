// SPDX-License-Identifier: MIT
//
// The visual effects' way to the music, and the commands that choose the effect.
#pragma once

#include <functional>

#include "app/player.h"
#include "playback/visual_data.h"
#include "ui/command_handler.h"
#include "visual/visual_frame.h"

namespace melorin {

/// Thread: the UI thread.
class PlayerVisuals final : public VisualSource, public CommandHandler {
 public:
  /// The player must outlive this. `changed`: the settings of the effects are other ones.
  explicit PlayerVisuals(Player& player, std::function<void()> changed = {});

  bool Read(VisualFrame* frame, bool wave, bool spectrum) override;

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId) const override { return true; }
  bool IsChecked(CommandId command) const override;

 private:
  Player& player_;
  std::function<void()> changed_;
  VisualData data_;
};

}  // namespace melorin
