// SPDX-License-Identifier: MIT
//
// Where the player keeps what it writes: beside the program when that folder can be written (a player on a
// memory stick takes everything along), else in the user's own folder.
#pragma once

#include <string>

#include "doc/settings.h"

namespace melorin {

inline constexpr char kSettingsFileName[] = "melorin.xml";

/// The folder of settings, lists and profiles, without a separator at the end. It is made when it is not
/// there; a folder that cannot be made or written is named all the same, and saving will say so.
std::string DataFolder();
/// The same for given folders of the program and the user; the latter may be empty.
std::string DataFolder(const std::string& program_folder_gbk, const std::string& user_folder_gbk);

/// melorin.xml in the data folder.
std::string SettingsPath(const std::string& data_folder_gbk);

/// Gives folders that are still empty their place in the data folder: lyric.down_load_folder, "Lyrics".
void FillFolders(Settings& settings, const std::string& data_folder_gbk);

}  // namespace melorin
