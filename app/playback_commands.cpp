// SPDX-License-Identifier: MIT
#include "app/playback_commands.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "app/dialogs/open_dialogs.h"
#include "app/options/file_types.h"

namespace melorin {
namespace {

constexpr int kVolumeStep = 5;

constexpr CommandId kCommands[] = {
    CommandId::kPlayPause,   CommandId::kStop,         CommandId::kPrevious,      CommandId::kNext,
    CommandId::kSeekForward, CommandId::kSeekBackward, CommandId::kVolumeUp,      CommandId::kVolumeDown,
    CommandId::kMute,        CommandId::kOpenFile,     CommandId::kOpenFolder,    CommandId::kElapsedTime,
    CommandId::kExit,        CommandId::kPlay,         CommandId::kPause,         CommandId::kMainMenu,
    CommandId::kModeSingle,  CommandId::kModeInOrder,  CommandId::kModeRepeatOne, CommandId::kModeRepeatAll,
    CommandId::kModeRandom,  CommandId::kModeNext};

/// The play mode that a command sets, or -1.
int32_t ModeOf(CommandId command) {
  return OffsetFrom(command, CommandId::kModeSingle, 5);
}

/// "*.mp3;*.wav;…;*.m3u8".
std::u16string PlayablePatterns(const SoundLibrary& library) {
  std::u16string patterns;
  for (const FileType& type : PlayableFileTypes(library))
    patterns += (patterns.empty() ? u"*." : u";*.") + type.extension;
  return patterns;
}

}  // namespace

bool PlaybackCommands::Handles(CommandId command) const {
  return std::find(std::begin(kCommands), std::end(kCommands), command) != std::end(kCommands);
}

bool PlaybackCommands::IsEnabled(CommandId command) const {
  const PlayerControl& control = player_.Control();
  const ComPtr<Playlist>& list = control.PlayingList();
  const bool has_entries = control.HasTrack() || (list && !list->IsEmpty());
  switch (command) {
    case CommandId::kStop:
    case CommandId::kSeekForward:
    case CommandId::kSeekBackward:
      return control.State() != PlayState::kStopped;
    case CommandId::kPause:
      return control.State() == PlayState::kPlaying;
    case CommandId::kPlay:
    case CommandId::kPlayPause:
    case CommandId::kPrevious:
    case CommandId::kNext:
      return has_entries;
    default:
      return true;
  }
}

bool PlaybackCommands::IsChecked(CommandId command) const {
  if (command == CommandId::kMute) return player_.Data().Values().player.mute != 0;
  if (command == CommandId::kElapsedTime) return player_.Data().Values().player.show_elapsed_time != 0;
  const int32_t mode = ModeOf(command);
  return mode >= 0 && mode == static_cast<int32_t>(player_.Control().Mode());
}

void PlaybackCommands::Execute(CommandId command) {
  PlayerControl& control = player_.Control();
  if (const int32_t mode = ModeOf(command); mode >= 0) {
    player_.SetMode(PlayModeFrom(mode));
    TellMode();
    return;
  }
  switch (command) {
    case CommandId::kPlayPause:
      control.TogglePause();
      break;
    case CommandId::kPlay:
      control.Play();
      break;
    case CommandId::kPause:
      control.Pause();
      break;
    case CommandId::kStop:
      control.Stop();
      break;
    case CommandId::kPrevious:
      control.Previous();
      break;
    case CommandId::kNext:
      control.Next();
      break;
    case CommandId::kSeekForward:
      player_.StepPosition(1);
      break;
    case CommandId::kSeekBackward:
      player_.StepPosition(-1);
      break;
    case CommandId::kVolumeUp:
      player_.ChangeVolume(kVolumeStep);
      break;
    case CommandId::kVolumeDown:
      player_.ChangeVolume(-kVolumeStep);
      break;
    case CommandId::kMute:
      player_.ToggleMute();
      break;
    case CommandId::kModeNext:
      player_.CycleMode();
      TellMode();
      break;
    case CommandId::kOpenFile:
      Open(AskForFiles(windows_.DialogOwner(), PlayablePatterns(library_)));
      break;
    case CommandId::kOpenFolder:
      if (std::u16string folder = AskForFolder(windows_.DialogOwner()); !folder.empty())
        Open({std::move(folder)});
      break;
    case CommandId::kElapsedTime: {
      int32_t& elapsed = player_.Values().player.show_elapsed_time;
      elapsed = !elapsed;
      player_.SaveSoon();
      break;
    }
    case CommandId::kMainMenu:
      windows_.ShowMainMenu();
      break;
    case CommandId::kExit:
      windows_.ExitPlayer();
      break;
    default:
      break;
  }
}

void PlaybackCommands::TellMode() {
  const auto mode = static_cast<int32_t>(player_.Control().Mode());
  player_.Tell(PlainCommandText(FindCommand(Plus(CommandId::kModeSingle, mode))->text));
}

void PlaybackCommands::Open(std::vector<std::u16string> paths) {
  if (paths.empty()) return;
  CommandLine line;
  line.dropped = true;
  line.paths = std::move(paths);
  player_.Execute(std::move(line));
}

}  // namespace melorin
