// SPDX-License-Identifier: MIT
//
// Choice of the data folder.
#include "doc/settings_location.h"

#include "platform/file.h"
#include "platform/folders.h"

namespace melorin {
namespace {

constexpr char kUserFolderName[] = "Melorin";
constexpr char kLyricFolderName[] = "Lyrics";

}  // namespace

std::string DataFolder() {
  return DataFolder(ProgramFolder(), UserDataFolder());
}

std::string DataFolder(const std::string& program_folder_gbk, const std::string& user_folder_gbk) {
  if (user_folder_gbk.empty() || IsWritableFolder(program_folder_gbk)) return program_folder_gbk;
  // The user's folder itself is the system's, but a home without one exists.
  MakeDirectory(user_folder_gbk);
  std::string folder = JoinPath(user_folder_gbk, kUserFolderName);
  MakeDirectory(folder);
  return folder;
}

std::string SettingsPath(const std::string& data_folder_gbk) {
  return JoinPath(data_folder_gbk, kSettingsFileName);
}

void FillFolders(Settings& settings, const std::string& data_folder_gbk) {
  std::string& folder = settings.lyric.down_load_folder_gbk;
  if (folder.empty()) folder = JoinPath(data_folder_gbk, kLyricFolderName);
}

}  // namespace melorin
