// SPDX-License-Identifier: MIT
#include "app/options/folder_list_edit.h"

#include <algorithm>
#include <cstddef>

#include "doc/settings.h"
#include "platform/text.h"

namespace melorin {
namespace {

size_t PlaceOf(const std::vector<std::string>& folders_gbk, const std::string& folder_gbk) {
  const auto found = std::find_if(folders_gbk.begin(), folders_gbk.end(), [&](const std::string& folder) {
    return EqualNoCaseGbk(folder, folder_gbk);
  });
  return static_cast<size_t>(found - folders_gbk.begin());
}

}  // namespace

size_t AddFolder(std::vector<std::string>& folders_gbk, const std::string& folder_gbk) {
  const size_t place = PlaceOf(folders_gbk, folder_gbk);
  if (place == folders_gbk.size()) folders_gbk.push_back(folder_gbk);
  return place;
}

bool HasReservedFolders(const std::vector<std::string>& folders_gbk) {
  return PlaceOf(folders_gbk, kSongFolderEntryGbk) < folders_gbk.size() &&
         PlaceOf(folders_gbk, kDownloadFolderEntryGbk) < folders_gbk.size();
}

void AddReservedFolders(std::vector<std::string>& folders_gbk) {
  size_t song = PlaceOf(folders_gbk, kSongFolderEntryGbk);
  if (song == folders_gbk.size()) {
    song = 0;
    folders_gbk.insert(folders_gbk.begin(), kSongFolderEntryGbk);
  }
  if (PlaceOf(folders_gbk, kDownloadFolderEntryGbk) == folders_gbk.size())
    folders_gbk.insert(folders_gbk.begin() + static_cast<ptrdiff_t>(song) + 1, kDownloadFolderEntryGbk);
}

}  // namespace melorin
