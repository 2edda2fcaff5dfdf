// SPDX-License-Identifier: MIT
//
// How the commands read a list: a playlist file of any form, or a CUE sheet.
#pragma once

#include <string>

#include "cli/commands.h"
#include "playlist/playlist.h"
#include "sound/sound_library.h"

namespace melorin {

/// Reads the file into `list`; kExitFailed after a message when it is no list at all, or when it is damaged
/// (what was read before the damage is in `list` then). `name_utf8` is the path as the user gave it.
int ReadListInput(const CommandContext& context, const SoundLibrary& library, const std::string& name_utf8,
                  bool ignore_bad_files, Playlist& list);

}  // namespace melorin
