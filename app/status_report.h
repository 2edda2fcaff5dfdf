// SPDX-License-Identifier: MIT
//
// The answer to "/status", for scripts and tests: what the player does, as one line of JSON in UTF-8:
//
//   {"state":"playing"|"paused"|"stopped","list":…,"index":…|null,"file":…,"title":…,"position_ms":…,
//    "duration_ms":…,"volume":…,"mute":true|false,"lyric":…,"windows":["player",…],"lists":[…],"entries":…,
//    "mode":…,"skin":…}
//   {"state":"not_running"}     there is no player
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ui/player_status.h"

namespace melorin {

struct PlayerStatusReport {
  ShownState state = ShownState::kStopped;
  std::u16string list;          ///< The list that plays.
  std::optional<size_t> index;  ///< Of the playing entry in it; none without one.
  std::u16string file;
  std::u16string title;
  uint32_t position_ms = 0;
  uint32_t duration_ms = 0;  ///< 0: not known.
  int32_t volume = 0;        ///< 0 to 100.
  bool mute = false;
  std::u16string lyric;              ///< The current line; empty without one.
  std::vector<std::string> windows;  ///< That are shown: "player", "mini", "playlist", "equalizer", "lyric".
  std::vector<std::u16string> lists;
  size_t entries = 0;   ///< Of the list that is shown.
  int32_t mode = 0;     ///< A PlayMode.
  std::u16string skin;  ///< Its package's name; empty: the built-in one.
};

/// Without a line end.
std::string FormatStatus(const PlayerStatusReport& report);
std::string FormatNotRunning();

}  // namespace melorin
