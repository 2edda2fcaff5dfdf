// SPDX-License-Identifier: MIT
//
// The numbers of the player's commands. They stand in settings files ("KeyMap"), so a number that was ever
// given is never changed and never given again.
#pragma once

#include <cstdint>

namespace melorin {

enum class CommandId : int32_t {
  kNone = 0,
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
  kPlay = 1023,
  kPause = 1024,
  kMinimize = 1025,
  kAbout = 1026,
  kElapsedTime = 1027,  ///< The digits show the time played; else what is left.
  kMainMenu = 1028,

  kModeSingle = 1031,  ///< This and the next four: in the order of PlayMode.
  kModeRepeatOne = 1032,
  kModeInOrder = 1033,
  kModeRepeatAll = 1034,
  kModeRandom = 1035,
  kModeNext = 1036,  ///< The next of the five.

  // Lists and their entries; of the list that is shown.
  kAddFiles = 1101,
  kAddFolder = 1102,
  kAddList = 1103,  ///< Entries of a list file.
  kNewList = 1104,
  kRenameList = 1105,
  kDeleteList = 1106,
  kSaveList = 1107,  ///< Into a list file.
  kOpenList = 1108,  ///< A list file as a list of its own.
  kPlaySelected = 1111,
  kRemoveSelected = 1112,
  kRemoveAll = 1113,
  kRemoveDuplicates = 1114,
  kRemoveMissing = 1115,
  kDeleteFiles = 1116,  ///< Of the selected entries, from the disk.
  kCut = 1117,
  kCopy = 1118,
  kPaste = 1119,
  kSelectAll = 1120,
  kSelectInverse = 1121,
  kUndo = 1122,
  kRedo = 1123,
  kSelectNone = 1124,
  kMoveSelectedUp = 1125,
  kMoveSelectedDown = 1126,
  kSortTitle = 1131,
  kSortArtist = 1132,
  kSortAlbum = 1133,
  kSortPath = 1134,
  kSortDuration = 1135,
  kSortTrackNumber = 1136,
  kReverseList = 1137,
  kShuffleList = 1138,
  kFindNext = 1141,
  kOpenFileFolder = 1142,
  kReloadInfo = 1143,
  kNextList = 1144,  ///< Shows the list of the next tab.
  kPreviousList = 1145,

  kLyricAssociate = 1201,
  kLyricDissociate = 1202,
  kLyricReload = 1203,
  kLyricEdit = 1204,
  kLyricEarlier = 1205,  ///< All lines half a second.
  kLyricLater = 1206,
  kLyricSave = 1207,
  kLyricCopy = 1208,
  kLyricOpenFolder = 1209,
  kLyricVertical = 1211,
  kLyricHorizontal = 1212,
  kLyricAlignLeft = 1213,
  kLyricAlignCentre = 1214,
  kLyricAlignRight = 1215,
  kLyricKaraoke = 1216,
  kLyricTopMost = 1217,

  kEqualizerOn = 1301,
  kEqualizerReset = 1302,
  kEqualizerSaveProfile = 1303,
  kEqualizerLoadProfile = 1304,

  kVisualNone = 1401,  ///< This and the next three: in the order of the setting "Type".
  kVisualSpectrum = 1402,
  kVisualScope = 1403,
  kVisualBlurredScope = 1404,
  kVisualNext = 1405,

  // The first of commands that differ by a number that is added: entries of menus, not for keys.
  kOpacityFirst = 1500,          ///< Plus 10 to 100: percent.
  kEqualizerPresetFirst = 1700,  ///< Plus the setting "Profile".
  kShowListFirst = 2000,         ///< Plus the list's index.
  kCopyToListFirst = 3000,
  kSkinFirst = 4000,  ///< Plus the place in the list of skins.
  kDynamicEnd = 5000,
};

/// The number behind a command of those above; -1 when it is none of them.
constexpr int32_t OffsetFrom(CommandId command, CommandId first, int32_t count) {
  const int32_t offset = static_cast<int32_t>(command) - static_cast<int32_t>(first);
  return offset >= 0 && offset < count ? offset : -1;
}
constexpr CommandId Plus(CommandId first, int32_t offset) {
  return static_cast<CommandId>(static_cast<int32_t>(first) + offset);
}

}  // namespace melorin
