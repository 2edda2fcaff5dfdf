// SPDX-License-Identifier: MIT
//
// The types of file that the player can be asked to open. Thread: any, once the library has been started.
#pragma once

#include <string>
#include <vector>

#include "sound/sound_library.h"

namespace melorin {

struct FileType {
  std::u16string extension;    ///< Without the dot, lower case.
  std::u16string description;  ///< "MPEG 音频文件".
};

/// What the library's readers play, in their order, then the playlists; each extension once. Extensions that
/// hold anything but letters, digits, "_" and "-" are left out: they become names of registry keys.
std::vector<FileType> PlayableFileTypes(const SoundLibrary& library);
std::vector<FileType> FileTypesOf(const std::vector<FileFilter>& filters);

}  // namespace melorin
