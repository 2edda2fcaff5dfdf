// SPDX-License-Identifier: MIT
//
// The numbers of the player's commands. They stand in settings files ("KeyMap"), so a number that was ever
// given is never changed and never given again.
#pragma once

#include <cstdint>

namespace melorin {

enum class CommandId : int32_t {
  kPlayPause = 1001,
  kStop = 1002,
  kPrevious = 1003,
  kNext = 1004,
  kSeekForward = 1005,
  kSeekBackward = 1006,
  kVolumeUp = 1007,
  kVolumeDown = 1008,
  kMute = 1009,
  kOpenFile = 1010,
  kOpenFolder = 1011,
  kShowPlayList = 1012,
  kShowLyric = 1013,
  kShowEqualizer = 1014,
  kMiniMode = 1015,
  kTopMost = 1016,
  kOptions = 1017,
  kFileProperties = 1018,
  kLocateInList = 1019,
  kFindInList = 1020,
  kShowHide = 1021,
  kExit = 1022,
};

}  // namespace melorin
